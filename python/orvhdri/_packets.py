"""What the workers of a farm do: they paint packets of jobs. Packets are JSON, and name no code; a process of each
worker's own paints them, so that a job that ends its process ends no worker.
"""

from __future__ import annotations

import contextlib
import hashlib
import json
import os
import threading
import time
import zlib
from dataclasses import dataclass, field
from typing import Any, Dict, Iterator, List, Optional, Sequence

import numpy as np
from distributed import get_worker

from . import _core
from .errors import Error, FileError, PainterError
from .workers import MOST_TRIES, Call, Outcome, _Died, _given_up, _Process

VERSION = _core.__version__

INPUT = "orvhdri-input:"
"""Begins the path of a picture that comes with a packet; the name of its file follows."""

_KEYWORDS = {"half", "layout", "compression", "clamp", "exposure", "allow_fallback"}


@dataclass
class _Settings:
    """How this worker was started."""

    roots: List[str] = field(default_factory=list)
    threads: int = 1


settings = _Settings()


def pack(packet: Dict[str, Any]) -> bytes:
    """Neighboring jobs mostly say the same."""
    return zlib.compress(json.dumps(packet).encode(), 1)


def refusal(version: str) -> str:
    """Why this worker can paint nothing for a client of a version; empty when it can."""
    if version != VERSION:
        return f"has orvhdri {VERSION}, the client {version}; install the same version on both"
    try:
        _core.PaintSession(1, "", 1, False).close()
    except PainterError as error:
        return str(error)
    return ""


def identity(path: str) -> Optional[List[int]]:
    """Tells a file from one that replaces it; None where none is."""
    try:
        found = os.stat(path)
    except OSError:
        return None
    return [found.st_ino, found.st_mtime_ns, found.st_size]


def picture(data: bytes) -> bytes:
    """A picture's bytes, as a task that workers hand on to each other."""
    return data


def paint_packet(packed: bytes, *pictures: bytes) -> Dict[str, Any]:
    """Paints a packet: ``version``, ``batch``, ``keywords``, ``measure``, ``folder``, the names of ``pictures``,
    ``jobs``, and the most ``seconds`` that it may take.

    Each job is a line and the identities that its outputs had before: where they have others, a worker painted it that
    died before it could tell, and it is not painted again.

    :return: ``worker``, and ``outcomes`` of as many jobs as there was time for, one at least, with the ``seconds`` that
        they took; why this worker ``refused`` it; or what was ``broken`` here, which no job is to blame for.
    """
    packet = json.loads(zlib.decompress(packed))
    worker = get_worker()
    try:
        refused = "" if packet["version"] == VERSION else refusal(packet["version"])
        if refused:
            return {"worker": worker.address, "refused": refused}
        inputs = os.path.join(worker.local_directory, "orvhdri-inputs")
        for name, data in zip(packet["pictures"], pictures):
            _keep(os.path.join(inputs, name), data)
        with _painter(packet, inputs) as painter:
            outcomes: List[Outcome] = []
            begun = time.monotonic()
            for line, before in packet["jobs"]:
                outcomes.append(painter.paint(line.replace(INPUT, json.dumps(inputs)[1:-1] + "/"), before))
                if time.monotonic() - begun > packet["seconds"]:
                    break
            return {"worker": worker.address, "outcomes": outcomes, "seconds": time.monotonic() - begun}
    except PainterError as error:
        return {"worker": worker.address, "refused": str(error)}
    except Exception as error:  # what an engine makes of exceptions is its own; text always arrives
        return {"worker": worker.address, "broken": f"{type(error).__name__}: {error}"}


class _Painter:
    """One process that paints jobs of a batch."""

    def __init__(self, call: Call, batch: str, folder: str):
        """:param folder: that the paths of jobs are relative to."""
        self.batch = batch
        self._folder = folder
        self._call = call
        self._process: Optional[_Process] = None

    def paint(self, line: str, before: Sequence[Optional[List[int]]]) -> Outcome:
        try:
            job = _core.Job(line, "job")
            self._check_folder(job)
            if job.outputs and self._is_painted(job.outputs, before):
                return {"status": "painted", "seconds": 0.0, "messages": [], **self._light_of(line)}
        except (Error, ValueError) as error:
            return {"status": "failed", "error": str(error), "seconds": 0.0, "messages": []}
        deaths: List[str] = []
        while len(deaths) < MOST_TRIES:
            try:
                if self._process is None or not self._process.is_alive():
                    self.close()
                    self._process = _Process(self._call, settings.threads, self._place())
                outcome = self._process.paint(line)
                if "map" in outcome:
                    outcome["map"] = outcome["map"].view(np.ndarray)
                return outcome
            except _Died as death:
                deaths.append(str(death))
        return _given_up(deaths)

    def close(self) -> None:
        if self._process is not None:
            self._process.close()

    def _place(self) -> str:
        return self._folder if os.path.isdir(self._folder) else os.sep

    def _check_folder(self, job: _core.Job) -> None:
        relative = [path for path in [job.scene, *job.outputs] if path and not os.path.isabs(path)]
        if relative and not os.path.isdir(self._folder):
            raise FileError(
                f"{relative[0]}: is relative to {self._folder}, which this worker does not have; "
                "share that folder, or give absolute paths"
            )

    def _is_painted(self, outputs: Sequence[str], before: Sequence[Optional[List[int]]]) -> bool:
        now = [identity(os.path.join(self._folder, output)) for output in outputs]
        return all(there is not None and there != was for there, was in zip(now, before))

    def _light_of(self, line: str) -> Dict[str, Any]:
        if not self._call.measure:
            return {}
        job = json.loads(line)
        outputs = [job["output"]] if isinstance(job["output"], str) else job["output"]
        job["output"] = [os.path.join(self._folder, output) for output in outputs]
        light = _core.light_of_file(_core.Job(json.dumps(job), "job"), self._call.keywords.get("layout", "native"))
        return {"mean": light[0], "peak": light[1]} if light else {}


_lock = threading.Lock()
_idle: List[_Painter] = []


@contextlib.contextmanager
def _painter(packet: Dict[str, Any], inputs: str) -> Iterator[_Painter]:
    """A painter that nobody else has. It stays for the next packet of the batch; what files another batch has seen may
    have changed.
    """
    with _lock:
        others = [painter for painter in _idle if painter.batch != packet["batch"]]
        _idle[:] = [painter for painter in _idle if painter.batch == packet["batch"]]
        painter = _idle.pop() if _idle else None
    for other in others:
        other.close()
    if painter is None:
        unknown = set(packet["keywords"]) - _KEYWORDS
        if unknown:
            raise ValueError(f"{', '.join(sorted(unknown))}: not allowed in a packet")
        roots = [*settings.roots, inputs] if settings.roots else []
        call = Call(packet["keywords"], packet["measure"], roots=roots)
        painter = _Painter(call, packet["batch"], packet["folder"])
    try:
        yield painter
    except BaseException:
        painter.close()
        raise
    with _lock:
        _idle.append(painter)


def _keep(path: str, data: bytes) -> None:
    if os.path.exists(path):
        return
    name, _ = os.path.splitext(os.path.basename(path))
    if hashlib.sha256(data).hexdigest() != name:
        raise ValueError(f"{path}: not the picture of that name")
    os.makedirs(os.path.dirname(path), exist_ok=True)
    beside = f"{path}.{os.getpid()}.{threading.get_ident()}"
    with open(beside, "wb") as file:
        file.write(data)
    os.replace(beside, path)


def forget() -> None:
    """Ends the processes that wait for packets."""
    with _lock:
        painters, _idle[:] = list(_idle), []
    for painter in painters:
        painter.close()
