"""Jobs: the job lines of docs/jobs.md as dicts."""

from __future__ import annotations

import os
import tempfile
from typing import Any, Dict, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

from . import _core
from .errors import SceneError
from .scene import PathLike, Scene

Job = Mapping[str, Any]
"""A job line: ``{"scene": ..., "set": {...}, "frame": ..., "size": [w, h], "output": ..., "values": {...}}``. The scene
is the path of a file, a Scene or a dict."""

Values = Union[str, Iterable[Any]]
"""What a place takes one after another: values, or text as of ``--sweep``: ``"-90:90:15"``, ``"0.5,1,2"``."""

_MOST_ERRORS = 200


def sweep(
    scene: Union[Scene, Mapping[str, Any], PathLike],
    values: Optional[Mapping[str, Values]] = None,
    *,
    frames: Union[None, str, Iterable[float]] = None,
    size: Optional[Tuple[int, int]] = None,
) -> List[Dict[str, Any]]:
    """Variations of a scene: a job for every combination of values and frames. Frames change fastest, then the last
    of the values, as in ``orvpaint paint --sweep``.

    :param scene: the path of a scene file, a Scene or a dict; the jobs share it.
    :param values: for paths such as ``pins.key.azimuth`` the values that they take.
    :param frames: numbers, or text as of ``--frames``: ``"1-240x2"``.
    :return: job lines without outputs; ``set`` holds the values.
    :raises SettingError: for text that can not be read, and for more than a million maps.
    """
    if isinstance(scene, (str, os.PathLike)):
        scene = os.fspath(scene)
    elif not isinstance(scene, Scene):
        scene = Scene(scene, check=False)  # its arrays are copied once
    jobs = []
    for settings, frame in _core.combine(dict(values or {}), frames):
        job: Dict[str, Any] = {"scene": scene}
        if settings:
            job["set"] = settings
        if frame is not None:
            job["frame"] = frame
        if size is not None:
            job["size"] = list(size)
        jobs.append(job)
    return jobs


class JobReader:
    """Turns jobs into those of the library, which know nothing of Python. Arrays that scenes show are written into
    files of a folder of its own, which goes with the reader.
    """

    def __init__(self, size: Optional[Tuple[int, int]] = None):
        self._size = size
        self._folder: Optional[tempfile.TemporaryDirectory] = None
        self._files: Dict[str, str] = {}

    @property
    def folder(self) -> Optional[str]:
        """Of the files; None while there are none."""
        return None if self._folder is None else self._folder.name

    def read(self, job: Union[str, Scene, Job], where: str) -> _core.Job:
        """:raises SceneError: with everything that is wrong in the job but in its scene."""
        if isinstance(job, str):
            return _core.Job(job, where)
        if isinstance(job, Scene):
            job = {"scene": job}
        if not isinstance(job, Mapping):
            return _core.Job(job, where)
        line = dict(job)
        scene = line.get("scene")
        if isinstance(scene, (Mapping, os.PathLike)):
            line["scene"] = self._portable(scene) if isinstance(scene, Mapping) else os.fspath(scene)
        if "set" in line and isinstance(line["set"], Mapping):
            line["set"] = {path: self._plain(value, "") for path, value in line["set"].items()}
        if self._size is not None:
            line.setdefault("size", self._size)
        return _core.Job(line, where)

    def read_all(self, jobs: Union[PathLike, Iterable[Union[str, Scene, Job]]]) -> List[_core.Job]:
        """:raises SceneError: with everything that is wrong in any of them."""
        read, wrong = [], []
        for where, job in _numbered(jobs):
            try:
                read.append(self.read(job, where))
            except SceneError as error:
                wrong.append(error)
                if len(wrong) == _MOST_ERRORS:
                    break
        if wrong:
            raise SceneError.joined(wrong)
        return read

    def close(self) -> None:
        if self._folder is not None:
            self._folder.cleanup()

    def __enter__(self) -> "JobReader":
        return self

    def __exit__(self, *_) -> None:
        self.close()

    def _portable(self, scene: Mapping[str, Any]) -> Dict[str, Any]:
        """The document of a scene for a process that knows neither its folder nor its arrays."""
        scene = scene if isinstance(scene, Scene) else Scene(scene, check=False)
        return self._plain(scene, scene._folder)

    def _plain(self, value: Any, folder: str) -> Any:
        if isinstance(value, (list, tuple)):
            return [self._plain(each, folder) for each in value]
        if not isinstance(value, Mapping):
            return value
        plain = {}
        for key, each in value.items():
            if key == "image" and isinstance(each, _core.Picture):
                plain["path"] = self._file_of(each)
            elif key in ("path", "sizeFromImage") and isinstance(each, (str, os.PathLike)):
                plain[key] = os.path.join(folder, each)
            else:
                plain[key] = self._plain(each, folder)
        return plain

    def _file_of(self, picture: _core.Picture) -> str:
        if picture.name not in self._files:
            if self._folder is None:
                self._folder = tempfile.TemporaryDirectory(prefix="orvhdri-")
            path = os.path.join(self._folder.name, f"array{len(self._files)}.exr")
            _core.write(picture.array(), path, {"compression": "none"})
            self._files[picture.name] = path
        return self._files[picture.name]


def _numbered(jobs: Union[PathLike, Iterable[Any]]) -> Iterator[Tuple[str, Any]]:
    """Each job and what messages call it; of a file each line."""
    if isinstance(jobs, (str, os.PathLike)):
        name = os.fspath(jobs)
        with open(name, encoding="utf-8", errors="surrogateescape") as file:
            for number, line in enumerate(file, 1):
                if line.strip():
                    yield f"{name}:{number}", line
        return
    if isinstance(jobs, Mapping):
        raise TypeError(f"jobs: {type(jobs).__name__} found; allowed: a list of jobs, such as [{{'scene': scene}}]")
    for i, job in enumerate(jobs):
        yield f"jobs[{i}]", job


def name_outputs(jobs: Sequence[_core.Job], out: Union[None, PathLike, Sequence[PathLike]]) -> None:
    """Names the outputs of jobs that have none, and checks all.

    :raises SceneError, SettingError, ValueError: for names that are missing, wrong or given twice.
    """
    if out is None:
        out = []
    names = [os.fspath(out)] if isinstance(out, (str, os.PathLike)) else [os.fspath(name) for name in out]
    for i, job in enumerate(jobs):
        if not job.outputs and not names:
            text = "missing; give it in the job, or names for all with out="
            raise SceneError([("output", 0, 0, text, f"jobs[{i}]: output: {text}")])
    _core.name_outputs(list(jobs), names)
