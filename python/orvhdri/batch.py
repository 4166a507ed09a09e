"""Many maps: files of them, and arrays one after another."""

from __future__ import annotations

import json
import os
import warnings
from dataclasses import dataclass, field
from typing import Any, Callable, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from .errors import JobError, PaintWarning
from .jobs import Job, JobReader, _numbered, name_outputs
from .maps import Map
from .scene import PathLike, Scene
from .session import is_watched
from .workers import Call, Workers

Jobs = Union[PathLike, Iterable[Union[str, Scene, Job]]]


@dataclass
class Result:
    """What became of a job."""

    line: str
    """The job, as a job line."""
    status: str
    """``painted``, ``skipped`` or ``failed``."""
    error: str = ""
    """Why it failed."""
    seconds: float = 0.0
    """Of painting and writing."""
    mean: Optional[Tuple[float, float, float]] = None
    """Of red, green and blue over the sphere, by solid angle; None where it was not asked for."""
    peak: Optional[float] = None
    """The largest luminance."""
    messages: List[str] = field(default_factory=list)
    """What is to be known of the map, line by line."""

    @property
    def job(self) -> Dict[str, Any]:
        return json.loads(self.line)

    @property
    def outputs(self) -> List[str]:
        output = self.job.get("output", [])
        return [output] if isinstance(output, str) else output


class Results(List[Result]):
    """What became of the jobs of a batch, in their order."""

    @property
    def failed(self) -> List[Result]:
        return [result for result in self if result.status == "failed"]

    def __repr__(self) -> str:
        counts = {status: sum(result.status == status for result in self) for status in ("painted", "skipped", "failed")}
        return f"<Results: {', '.join(f'{count} {status}' for status, count in counts.items())}>"


def batch(
    jobs: Jobs,
    out: Union[None, PathLike, Sequence[PathLike]] = None,
    *,
    workers: Optional[int] = None,
    manifest: Optional[PathLike] = None,
    skip_existing: bool = False,
    size: Optional[Tuple[int, int]] = None,
    half: bool = False,
    layout: str = "native",
    compression: Optional[str] = None,
    clamp: Optional[float] = None,
    exposure: Union[float, str] = 0,
    allow_fallback: bool = False,
    progress: Union[None, bool, Callable[[int, int], Any]] = None,
) -> Results:
    """Paints jobs into files, in processes of their own.

    A map's files are there whole or not at all. What can not be painted is a result, and the others are painted; a
    worker that is killed loses nothing, and a job of which three workers die is given up. The files are those that
    ``orvpaint batch`` writes, whatever the number of workers.

    :param jobs: job lines as dicts, scenes, or the path of a file of job lines.
    :param out: names of the outputs of jobs that have none, with ``{name}``, ``{index}``, ``{frame}`` and ``{size}``.
    :param workers: how many processes; None: one for each processor.
    :param manifest: a file that gets a line of JSON for each map as soon as it is done.
    :param skip_existing: paint no map whose files are all there; a batch that was ended is finished so.
    :param size: (width, height) of jobs that have none.
    :param progress: a function of how many jobs are done and how many there are; None or True: a bar of tqdm, where that
        is installed and somebody looks.
    :raises SceneError, SettingError, ValueError: when jobs or names are wrong; nothing is painted then.
    :raises FileError: when the manifest can not be written. :raises PainterError: when no painter can run here.
    """
    keywords = {
        "half": half,
        "layout": layout,
        "compression": compression,
        "clamp": clamp,
        "exposure": exposure,
        "allow_fallback": allow_fallback,
    }
    _core.check_write_options(keywords)
    with JobReader(size) as reader:
        read = reader.read_all(jobs)
        name_outputs(read, out)
        engine = Workers(Call(keywords, measure=manifest is not None), workers)
        return run_batch(read, engine, manifest=manifest, skip_existing=skip_existing, layout=layout, progress=progress)


def run_batch(
    jobs: Sequence[_core.Job],
    engine: Any,
    *,
    manifest: Optional[PathLike],
    skip_existing: bool,
    layout: str,
    progress: Union[None, bool, Callable[[int, int], Any]],
) -> Results:
    """Has an engine paint jobs, and is the only one that writes the manifest."""
    there = [skip_existing and all(map(os.path.isfile, job.outputs)) for job in jobs]
    wanted = [i for i, skipped in enumerate(there) if not skipped]
    results = Results(Result(job.text, "skipped") for job in jobs)
    written = None
    if manifest is not None:
        written = _core.Manifest(os.fspath(manifest), bool(skip_existing), [jobs[i] for i in wanted])
        for job, skipped in zip(jobs, there):
            if skipped and not written.has(job):
                light = _core.light_of_file(job, layout)
                written.add(job, {"status": "skipped", **({"mean": light[0], "peak": light[1]} if light else {})})
    with _Progress(progress, len(wanted)) as tell:
        for i, outcome in engine.run((i, results[i].line) for i in wanted):
            if written is not None:
                written.add(jobs[i], outcome)
            results[i] = Result(results[i].line, **outcome)
            tell()
    return results


def generate(
    jobs: Jobs,
    *,
    workers: Optional[int] = None,
    size: Optional[Tuple[int, int]] = None,
    seed: Optional[int] = None,
    ordered: bool = True,
    prefetch: Optional[int] = None,
    failures: str = "raise",
    allow_fallback: bool = False,
) -> Iterator[Tuple[Map, Dict[str, Any]]]:
    """Paints jobs into arrays, one after another, while the next are painted in processes of their own.

    Jobs may be an iterator without an end, which is read as far as maps are prefetched. Maps and values are the same on
    any number of workers.

    :param size: (width, height) of jobs that have none.
    :param seed: has the jobs come in an order that is drawn by it; they are read to their end first.
    :param ordered: in the order of the jobs; else as they come, which never waits for a slow one.
    :param prefetch: so many maps at most wait or are painted; None: two for each worker.
    :param failures: ``"raise"`` a JobError, or ``"skip"`` the job with a warning.
    :return: pairs of the map, float32 (height, width, 3), and the job's ``values``; where it has none, its ``set``.
    :raises SceneError: when a job is wrong.
    """
    if failures not in ("raise", "skip"):
        raise ValueError(f"failures: {failures!r} found; allowed: raise, skip")
    if prefetch is not None and (isinstance(prefetch, bool) or not isinstance(prefetch, int) or prefetch < 1):
        raise ValueError(f"prefetch: {prefetch!r} found; allowed: None, an integer from 1")
    engine = Workers(Call({"allow_fallback": bool(allow_fallback)}), workers)
    return _generate(jobs, engine, size, seed, ordered, prefetch, failures)


def _generate(jobs, engine, size, seed, ordered, prefetch, failures):
    with JobReader(size) as reader:
        if seed is not None:
            known = list(_numbered(jobs))
            numbered = (known[i] for i in np.random.default_rng(seed).permutation(len(known)))
        else:
            numbered = _numbered(jobs)
        values: Dict[int, Tuple[str, Dict[str, Any]]] = {}

        def lines():
            for i, (where, job) in enumerate(numbered):
                read = reader.read(job, where)
                if read.outputs:
                    raise JobError(f"{where}: output: allowed in batch; generate writes no files")
                values[i] = where, json.loads(read.values) if read.values else read.set
                yield i, read.text

        ahead = 2 * engine.count if prefetch is None else prefetch
        outcomes = engine.run(lines(), ordered=ordered, ahead=ahead)
        try:
            for i, outcome in outcomes:
                where, of_job = values.pop(i)
                for line in outcome["messages"]:
                    warnings.warn(f"{where}: {line}", PaintWarning, stacklevel=2)
                if outcome["status"] == "painted":
                    yield outcome["map"], of_job
                elif failures == "raise":
                    raise JobError(f"{where}: not painted: {outcome['error']}")
                else:
                    warnings.warn(f"{where}: not painted: {outcome['error']}", PaintWarning, stacklevel=2)
        finally:
            outcomes.close()


class _Progress:
    """Tells how many of a batch's jobs are done."""

    def __init__(self, progress, total: int):
        self._total = total
        self._done = 0
        self._function = progress if callable(progress) else None
        self._bar = None
        if (progress is None or progress is True) and is_watched():
            try:
                from tqdm.auto import tqdm
            except ImportError:
                return
            self._bar = tqdm(total=total, unit="map")

    def __call__(self) -> None:
        self._done += 1
        if self._function is not None:
            self._function(self._done, self._total)
        if self._bar is not None:
            self._bar.update()

    def __enter__(self) -> "_Progress":
        return self

    def __exit__(self, *_) -> None:
        if self._bar is not None:
            self._bar.close()
