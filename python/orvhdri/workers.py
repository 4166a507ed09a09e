"""Processes of this machine that paint jobs.

An engine paints jobs somewhere: it has ``run(lines)``, which takes pairs of a number and a job line and gives pairs of
that number and an outcome, in the order in which they are done. ``Workers`` is the one of this machine.
"""

from __future__ import annotations

import collections
import mmap
import os
import queue
import signal
import socket
import subprocess
import sys
import threading
from dataclasses import dataclass, field
from typing import Any, Dict, Iterable, Iterator, Optional, Tuple

import numpy as np

from . import _core, errors
from ._worker import receive, send
from .maps import Map

Outcome = Dict[str, Any]
"""``status`` (``painted`` or ``failed``), ``error``, ``seconds``, ``mean``, ``peak``, ``messages``; ``map`` of jobs that
have no outputs."""

MOST_TRIES = 3
"""So many workers a job may take with it."""

_MOST_STARTS = 20


@dataclass
class Call:
    """What is the same for all jobs of a call."""

    keywords: Dict[str, Any] = field(default_factory=dict)  # how maps are written
    measure: bool = False  # whether the light of written maps is wanted
    painter: str = ""
    max_image_pixels: int = _core.MAX_IMAGE_PIXELS


class _Died(Exception):
    """A worker is gone; says how."""

    def __init__(self, how: str, by_signal: bool):
        super().__init__(how)
        self.by_signal = by_signal


class _Process:
    """One worker."""

    def __init__(self, call: Call, threads: int, folder: str):
        ours, theirs = socket.socketpair()
        self._channel = ours
        environment = dict(os.environ)
        here = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
        environment["PYTHONPATH"] = os.pathsep.join(filter(None, [here, environment.get("PYTHONPATH")]))
        environment["PYTHONSAFEPATH"] = "1"
        with theirs:
            self.process = subprocess.Popen(
                [sys.executable or "python3", "-c", "from orvhdri._worker import main; main()", str(theirs.fileno())],
                stdin=subprocess.DEVNULL,
                pass_fds=[theirs.fileno()],
                env=environment,
                cwd=folder,
                start_new_session=True,  # Ctrl-C is for who started it
            )
        try:
            answer, _ = self._ask(
                {
                    "threads": threads,
                    "painter": call.painter,
                    "max_image_pixels": call.max_image_pixels,
                    "keywords": call.keywords,
                    "measure": call.measure,
                }
            )
            if "cannot_start" in answer:
                raise getattr(errors, answer["kind"], MemoryError)(answer["cannot_start"])
        except BaseException:
            self.close()
            raise

    def paint(self, line: str) -> Outcome:
        outcome, files = self._ask(line)
        if files:
            shape = outcome.pop("shape")
            try:
                memory = mmap.mmap(files[0], 0)
            finally:
                os.close(files[0])
            outcome["map"] = np.frombuffer(memory, np.float32).reshape(shape).view(Map)
        return outcome

    def is_alive(self) -> bool:
        return self.process.poll() is None

    def kill(self) -> None:
        self.process.kill()

    def close(self) -> None:
        """Ends the worker: at once when it waits, else now."""
        self._channel.close()
        try:
            self.process.wait(0.5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()

    def _ask(self, message: Any) -> Tuple[Any, Any]:
        try:
            send(self._channel, message)
            answer, files = receive(self._channel)
        except OSError:
            answer, files = None, []
        if answer is not None:
            return answer, files
        for file in files:
            os.close(file)
        status = self.process.wait()
        if status >= 0:
            raise _Died(f"ended with status {status}", False)
        try:
            name = signal.Signals(-status).name
        except ValueError:
            name = str(-status)
        raise _Died(f"was ended by signal {name}", True)


class Workers:
    """Worker processes of this machine. A worker that is killed takes nothing with it: its job is painted by another,
    and given up when it was the last of ``MOST_TRIES`` workers.
    """

    def __init__(self, call: Call, count: Optional[int] = None):
        """:param count: of processes; None: one for each processor that this process may use."""
        if count is not None and (isinstance(count, bool) or not isinstance(count, int) or count < 1):
            raise ValueError(f"workers: {count!r} found; allowed: None, an integer from 1")
        self.count = count or _core.PROCESSORS
        self._call = call
        self._threads = max(1, _core.PROCESSORS // self.count)
        self._folder = os.getcwd()  # that paths of jobs are relative to
        self._tasks: "queue.SimpleQueue[Optional[Tuple[int, str]]]" = queue.SimpleQueue()
        self._done: "queue.SimpleQueue[Tuple[int, Any]]" = queue.SimpleQueue()
        self._lock = threading.Lock()
        self._processes: Dict[int, _Process] = {}
        self._stopping = False

    def run(
        self, lines: Iterable[Tuple[int, str]], *, ordered: bool = False, ahead: Optional[int] = None
    ) -> Iterator[Tuple[int, Outcome]]:
        """Paints jobs.

        :param ordered: in their order; else in the order in which they are done.
        :param ahead: so many jobs at most are begun whose outcomes were not taken yet.
        """
        ahead = max(self.count * 2 if ahead is None else ahead, 1)
        threads = []
        waiting = 0
        lines = iter(lines)
        ended = False
        order: "collections.deque[int]" = collections.deque()
        early: Dict[int, Outcome] = {}
        try:
            while True:
                while not ended and waiting < ahead:
                    task = next(lines, None)
                    if task is None:
                        ended = True
                        break
                    self._tasks.put(task)
                    waiting += 1
                    if ordered:
                        order.append(task[0])
                    if len(threads) < min(self.count, waiting):
                        threads.append(threading.Thread(target=self._serve, args=(len(threads),), daemon=True))
                        threads[-1].start()
                if waiting == 0:
                    return
                index, outcome = self._done.get()
                if isinstance(outcome, BaseException):
                    raise outcome
                if not ordered:
                    yield index, outcome
                    waiting -= 1
                    continue
                early[index] = outcome
                while order and order[0] in early:
                    index = order.popleft()
                    yield index, early.pop(index)
                    waiting -= 1
        finally:
            self._stop(threads)

    def _serve(self, slot: int) -> None:
        """Has one worker after another paint the jobs of the queue."""
        process = None
        try:
            while True:
                task = self._tasks.get()
                if task is None or self._stopping:
                    return
                index, line = task
                deaths = []
                outcome = None
                while outcome is None and not self._stopping:
                    try:
                        if process is None or not process.is_alive():
                            process = self._start(slot, process)
                        outcome = process.paint(line)
                    except _Died as death:
                        deaths.append(str(death))
                        if len(deaths) == MOST_TRIES:
                            outcome = _given_up(deaths)
                self._done.put((index, outcome))
        except BaseException as error:
            self._done.put((-1, error))
        finally:
            if process is not None:
                process.close()

    def _start(self, slot: int, old: Optional[_Process]) -> _Process:
        if old is not None:
            old.close()
        for start in range(_MOST_STARTS):
            try:
                process = _Process(self._call, self._threads, self._folder)
                break
            except _Died as death:
                # Who kills workers may hit one that starts; what ends by itself does so again.
                last = start == _MOST_STARTS - 1 or not death.by_signal
                if self._stopping or last:
                    raise errors.Error(f"no worker can be started: {sys.executable} {death}") from None
        with self._lock:
            self._processes[slot] = process
            if self._stopping:
                process.kill()
        return process

    def _stop(self, threads) -> None:
        with self._lock:
            self._stopping = True
            processes = dict(self._processes)
        for _ in threads:
            self._tasks.put(None)
        # Who waits for a task ends by itself; what is amid a job is not wanted any more.
        for thread in threads:
            thread.join(0.2)
        for slot, process in processes.items():
            if threads[slot].is_alive():
                process.kill()
        for thread in threads:
            thread.join(5)


def _given_up(deaths) -> Outcome:
    return {
        "status": "failed",
        "error": f"given up: each of {MOST_TRIES} workers died of it; the last one {deaths[-1]}",
        "seconds": 0.0,
        "messages": [],
    }
