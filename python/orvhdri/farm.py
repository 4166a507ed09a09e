"""A farm: the workers of a Dask scheduler paint jobs.

    python3 -m orvhdri.farm JOBS.jsonl --scheduler tcp://scheduler:8786 [-o NAME] [--manifest FILE] ...
    python3 -m orvhdri.farm worker --root FOLDER tcp://scheduler:8786

and ``orvhdri.batch(jobs, client=Client("tcp://scheduler:8786"))``. docs/farm.md tells how it scales and what it stands.
"""

from __future__ import annotations

import argparse
import collections
import hashlib
import json
import math
import operator
import os
import sys
import time
import uuid
import warnings
from dataclasses import dataclass, field
from typing import Any, Deque, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple

from . import _core, _packets
from .errors import Error, FileError, PaintWarning, SceneError
from .jobs import JobReader
from .maps import Map

try:
    import click
    import distributed
except ImportError as error:
    raise Error(f"a farm needs Dask distributed (Debian's python3-distributed): {error}") from None

from .workers import Call, Outcome

_MOST_JOBS = 2000  # of a packet
_MOST_BYTES = 1 << 20  # of its job lines
_PACKETS_OF_A_THREAD = 2  # one is painted, the next one waits at the worker
_REFRESH_SECONDS = 5.0
_WAIT_SECONDS = 30.0  # for workers
_MOST_ERRORS = 3  # of a packet, that are not the jobs' own


@dataclass
class _Packet:
    jobs: List[Tuple[int, str]]
    errors: int = 0
    alone: bool = False  # nothing else is painted meanwhile


class Packer:
    """Cuts jobs into packets of about the same time, by what the jobs before took."""

    def __init__(self, lines: Iterable[Tuple[int, str]], seconds: float):
        self._left = operator.length_hint(lines, 0) or math.inf
        self._lines = iter(lines)
        self._again: Deque[_Packet] = collections.deque()
        self._suspects: Deque[_Packet] = collections.deque()
        self._seconds = seconds
        self._jobs_done = 0.0
        self._seconds_taken = 0.0
        self._largest = 1

    def learn(self, jobs: int, seconds: float) -> None:
        """Hears what a packet took. The last packets count most."""
        self._jobs_done = 0.9 * self._jobs_done + jobs
        self._seconds_taken = 0.9 * self._seconds_taken + seconds

    def again(self, packet: _Packet) -> None:
        """Takes jobs back, to be given out first."""
        if packet.jobs:
            self._again.append(packet)

    def suspect(self, packet: _Packet) -> None:
        """Takes back a job that workers may have died of, or another one that they had as well."""
        packet.alone = True
        self._suspects.append(packet)

    def next_suspect(self) -> Optional[_Packet]:
        return self._suspects.popleft() if self._suspects else None

    def size(self, threads: int) -> int:
        """How many jobs the next packet has for a number of threads: twice those of the last one at most, and so few
        that in the end all threads have work.
        """
        if self._jobs_done == 0:
            return 1
        wanted = self._seconds * self._jobs_done / max(self._seconds_taken, 1e-6)
        wanted = min(wanted, 2 * self._largest, _MOST_JOBS, self._left / (2 * threads))
        return max(1, round(wanted))

    def next(self, threads: int, room: float = math.inf) -> Optional[_Packet]:
        """The next packet, of no more jobs than there is room for; None when there is none."""
        if self._again:
            return self._again.popleft()
        jobs: List[Tuple[int, str]] = []
        size = min(self.size(threads), room)
        taken = 0
        while len(jobs) < size and taken < _MOST_BYTES:
            job = next(self._lines, None)
            if job is None:
                break
            jobs.append(job)
            taken += len(job[1])
        self._left -= len(jobs)
        self._largest = max(self._largest, len(jobs))
        return _Packet(jobs) if jobs else None


class Pictures:
    """Which files of scenes are sent to workers, which else find them where the client does."""

    def __init__(self, reader: Optional[JobReader] = None, everything: bool = False):
        """:param reader: whose files are always sent: nobody else has them. :param everything: scenes and pictures."""
        self._reader = reader
        self._everything = everything
        self._names: Dict[str, str] = {}
        self._scenes: Dict[str, Dict[str, Any]] = {}

    def replace(self, line: str, pictures: Dict[str, str]) -> str:
        """The job line for a worker that is sent the pictures, which are added by the names that they get there."""
        own = self._reader.folder if self._reader is not None else None
        if not self._everything and (own is None or own not in line):
            return line
        job = json.loads(line)
        folder = ""
        if self._everything and isinstance(job["scene"], str):
            folder = os.path.dirname(job["scene"])
            try:
                job["scene"] = self._scene(job["scene"])
            except Error:
                return line  # the worker says so
        job["scene"] = self._sent(job["scene"], folder, own, pictures)
        if "set" in job:
            job["set"] = {
                path: self._sent({path.rpartition(".")[2]: value}, folder, own, pictures)[path.rpartition(".")[2]]
                for path, value in job["set"].items()
            }
        return json.dumps(job)

    def _scene(self, path: str) -> Dict[str, Any]:
        if path not in self._scenes:
            self._scenes[path] = _core.load(path)
        return self._scenes[path]

    def _sent(self, value: Any, folder: str, own: Optional[str], pictures: Dict[str, str]) -> Any:
        if isinstance(value, list):
            return [self._sent(each, folder, own, pictures) for each in value]
        if not isinstance(value, dict):
            return value
        return {
            key: self._name(os.path.join(folder, each), own, pictures)
            if key in ("path", "sizeFromImage") and isinstance(each, str)
            else self._sent(each, folder, own, pictures)
            for key, each in value.items()
        }

    def _name(self, path: str, own: Optional[str], pictures: Dict[str, str]) -> str:
        if not os.path.isfile(path) or not self._everything and os.path.dirname(path) != own:
            return path
        if path not in self._names:
            digest = hashlib.sha256()
            with open(path, "rb") as file:
                while data := file.read(1 << 20):
                    digest.update(data)
            self._names[path] = digest.hexdigest() + os.path.splitext(path)[1]
        pictures[self._names[path]] = path
        return _packets.INPUT + self._names[path]


class Farm:
    """An engine (``workers``) that has the workers of a scheduler paint jobs."""

    def __init__(
        self, client: distributed.Client, call: Call, pictures: Optional[Pictures] = None, seconds: float = 10
    ):
        """:param seconds: that a packet takes, about."""
        self._client = client
        self._call = call
        self._pictures = pictures or Pictures()
        self._sent: Dict[str, distributed.Future] = {}
        self._seconds = seconds
        self._batch = uuid.uuid4().hex
        self._refused: Dict[str, str] = {}
        self._threads = 0
        self._lonely = False
        self._looked = -math.inf
        self._survey()
        self._before: Dict[int, List[Optional[List[int]]]] = {}  # of jobs that are out: what their outputs were
        self.packets = 0
        """So many were handed in."""

    @property
    def count(self) -> int:
        """Of the jobs that are painted at a time, where maps come back as arrays: four of a thread's packet."""
        return 4 * self._threads

    def run(
        self, lines: Iterable[Tuple[int, str]], *, ordered: bool = False, ahead: Optional[int] = None
    ) -> Iterator[Tuple[int, Outcome]]:
        """Paints jobs, as ``workers.Workers.run``."""
        if ahead is None:
            yield from self._run(Packer(lines, self._seconds), lambda: math.inf)
            return
        begun: Deque[int] = collections.deque()
        taken = 0

        def counted() -> Iterator[Tuple[int, str]]:
            nonlocal taken
            for job in lines:
                taken += 1
                if ordered:
                    begun.append(job[0])
                yield job

        early: Dict[int, Outcome] = {}
        # One that waits for maps wants them soon, and threads share what may be ahead.
        packer = Packer(counted(), min(self._seconds, 1))

        def room() -> float:
            return min(ahead - taken, max(1, ahead // (_PACKETS_OF_A_THREAD * self._threads)))

        outcomes = self._run(packer, room)
        try:
            for index, outcome in outcomes:
                if not ordered:
                    yield index, outcome
                    taken -= 1
                    continue
                early[index] = outcome
                while begun and begun[0] in early:
                    yield begun[0], early.pop(begun.popleft())
                    taken -= 1
        finally:
            outcomes.close()

    def _run(self, packer: Packer, room) -> Iterator[Tuple[int, Outcome]]:
        flying: Dict[str, Tuple[distributed.Future, _Packet]] = {}
        done = distributed.as_completed(with_results=True, raise_errors=False, loop=self._client.loop)
        self._before.clear()
        try:
            while True:
                self._refresh()
                while len(flying) < _PACKETS_OF_A_THREAD * self._threads:
                    packet = packer.next(self._threads, room()) or (None if flying else packer.next_suspect())
                    if packet is None:
                        break
                    future = self._submit(packet)
                    flying[future.key] = future, packet
                    done.add(future)
                    if packet.alone:
                        break
                if not flying:
                    return
                while not done.has_ready():
                    with done.thread_condition:
                        done.thread_condition.wait(0.5)
                    self._refresh()
                for future, result in done.next_batch():
                    _, packet = flying.pop(future.key)
                    for index, outcome in self._take(packer, packet, future, result):
                        del self._before[index]
                        yield index, outcome
        finally:
            if flying and self._client.status == "running":
                self._client.cancel([future for future, _ in flying.values()])

    def _take(self, packer: Packer, packet: _Packet, future, result) -> Iterator[Tuple[int, Outcome]]:
        if future.status == "cancelled":
            raise Error(
                f"{self._address}: the scheduler is gone or dropped the work; files that are there are whole, and the "
                "same call with skip_existing paints the others"
            )
        if future.status == "error":
            error = result[1]
            if isinstance(error, distributed.KilledWorker):
                yield from self._split(packer, packet, error)
            else:
                self._try_again(packer, packet, f"{type(error).__name__}: {error}")
        elif "broken" in result:
            self._try_again(packer, packet, f"{result['worker']}: {result['broken']}")
        elif "refused" in result:
            self._refuse(result["worker"], result["refused"])
            packer.again(packet)
        else:
            outcomes = result["outcomes"]
            packer.learn(len(outcomes), result["seconds"])
            packer.again(_Packet(packet.jobs[len(outcomes) :]))
            for (index, _), outcome in zip(packet.jobs, outcomes):
                if "map" in outcome:
                    outcome["map"] = outcome["map"].view(Map)
                yield index, outcome

    def _split(self, packer: Packer, packet: _Packet, error: Exception) -> Iterator[Tuple[int, Outcome]]:
        """Looks for the job that workers die of in halves of its packet; what is left of it is painted alone."""
        half = len(packet.jobs) // 2
        if half:
            packer.again(_Packet(packet.jobs[:half]))
            packer.again(_Packet(packet.jobs[half:]))
        elif not packet.alone:
            packer.suspect(packet)
        else:
            died = getattr(error, "allowed_failures", 3) + 1
            text = f"given up: {died} worker{'s'[: died != 1]} died of it that had nothing else"
            yield packet.jobs[0][0], {"status": "failed", "error": text, "seconds": 0.0, "messages": []}

    def _try_again(self, packer: Packer, packet: _Packet, error: str) -> None:
        """Something is wrong with a worker, and not with a job: another one may do better."""
        packet.errors += 1
        if packet.errors == _MOST_ERRORS:
            raise Error(f"{self._address}: a worker can not paint: {error}")
        self._survey()
        packer.again(packet)

    def _submit(self, packet: _Packet) -> distributed.Future:
        jobs, pictures = [], {}
        for index, line in packet.jobs:
            if index not in self._before:
                self._before[index] = [_packets.identity(output) for output in _core.Job(line, "job").outputs]
            jobs.append([self._pictures.replace(line, pictures), self._before[index]])
        packed = _packets.pack(
            {
                "version": _packets.VERSION,
                "batch": self._batch,
                "keywords": self._call.keywords,
                "measure": self._call.measure,
                "folder": os.getcwd(),
                "pictures": list(pictures),
                "jobs": jobs,
                "seconds": 3 * self._seconds,
            }
        )
        self.packets += 1
        return self._client.submit(
            _packets.paint_packet,
            packed,
            *(self._send(name, path) for name, path in pictures.items()),
            key=f"orvhdri-{self._batch}-{self.packets}",
            pure=False,
            # Those that were refused may be asked when no other is left, and then say so again.
            workers=self._good() if self._refused else None,
            allow_other_workers=bool(self._refused),
        )

    def _send(self, name: str, path: str) -> distributed.Future:
        if name not in self._sent:
            with open(path, "rb") as file:
                data = file.read()
            with warnings.catch_warnings():
                warnings.filterwarnings("ignore", message="Large object")
                # A task, and no data that is gone with its worker.
                self._sent[name] = self._client.submit(
                    _packets.picture, data, key=f"orvhdri-{self._batch}-{name}", pure=False
                )
        return self._sent[name]

    @property
    def _address(self) -> str:
        return self._client.scheduler.address

    def _good(self) -> List[str]:
        """The workers that paint. :raises Error: when there is none for a while."""
        until = time.monotonic() + _WAIT_SECONDS
        while True:
            threads = self._client.nthreads()
            good = [worker for worker in threads if worker not in self._refused]
            if good:
                self._threads = sum(threads[worker] for worker in good)
                self._looked = time.monotonic()
                return good
            refused = [f"{worker} {text}" for worker, text in self._refused.items() if worker in threads]
            if refused:
                raise Error(f"{self._address}: no worker can paint: {'; '.join(sorted(refused))}")
            if time.monotonic() > until:
                raise Error(
                    f"{self._address}: the scheduler has no workers; "
                    f"start some: python3 -m orvhdri.farm worker {self._address}"
                )
            time.sleep(0.1)

    def _refresh(self) -> None:
        if time.monotonic() - self._looked < _REFRESH_SECONDS or self._client.status != "running":
            return
        self._looked = time.monotonic()
        threads = self._client.nthreads()
        now = sum(count for worker, count in threads.items() if worker not in self._refused)
        if now == 0 and not self._lonely:
            warnings.warn(f"{self._address}: the scheduler has no workers; packets wait for some", PaintWarning, 4)
        self._lonely = now == 0
        self._threads = now or self._threads

    def _survey(self) -> None:
        """Asks all workers whether they can paint, before they get jobs."""
        self._good()
        answers = self._client.run(_packets.refusal, _packets.VERSION, on_error="return")
        for worker, answer in answers.items():
            if isinstance(answer, BaseException):
                answer = f"can not import orvhdri: {type(answer).__name__}: {answer}"
            if answer:
                self._refuse(worker, answer)
        self._good()

    def _refuse(self, worker: str, text: str) -> None:
        if worker not in self._refused:
            warnings.warn(f"{worker}: {text}; it gets no jobs", PaintWarning, stacklevel=4)
        self._refused[worker] = text


def dask_worker_settings(worker, root: Sequence[str], threads: int) -> None:
    missing = [folder for folder in root if not os.path.isdir(folder)]
    if missing:
        raise FileError(f"{missing[0]}: there is no such folder; a root is one that this worker has")
    _packets.settings.roots = [os.path.realpath(folder) for folder in root]
    _packets.settings.threads = threads


@click.command()
@click.option("--root", multiple=True, help="A folder that jobs stay under; may be given several times.")
@click.option("--paint-threads", default=1, type=click.IntRange(1), help="So many paint a map.")
def dask_setup(worker, root, paint_threads):
    """What ``dask worker --preload orvhdri.farm`` starts a worker with."""
    dask_worker_settings(worker, root, paint_threads)


def dask_teardown(worker):
    _packets.forget()


def _size(text: str) -> Tuple[int, int]:
    width, _, height = text.partition("x")
    return int(width), int(height)


def _arguments(arguments: Sequence[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python3 -m orvhdri.farm",
        description="Paints job lines on the workers of a Dask scheduler; without one, in processes of this machine.",
        epilog="python3 -m orvhdri.farm worker --help tells how workers are started.",
    )
    parser.add_argument("jobs", metavar="JOBS.jsonl", help="a file of job lines")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="such as tcp://scheduler:8786")
    parser.add_argument("-o", "--out", action="append", help="names the outputs of jobs that have none")
    parser.add_argument("--manifest", metavar="FILE", help="gets a line of JSON for each map as soon as it is done")
    parser.add_argument("--skip-existing", action="store_true", help="paint no map whose files are all there")
    parser.add_argument("--send-inputs", action="store_true", help="send scenes and pictures to the workers")
    parser.add_argument("--workers", type=int, help="so many processes, without a scheduler")
    parser.add_argument("--size", type=_size, metavar="WIDTHxHEIGHT", help="of jobs that have none")
    parser.add_argument("--half", action="store_true", help="16-bit floats in .exr")
    parser.add_argument("--layout", default="native", help="how a renderer reads the maps")
    parser.add_argument("--compression", help="of .exr and .tif")
    parser.add_argument("--clamp", type=float, metavar="MAX", help="limits all values")
    parser.add_argument("--exposure", type=lambda text: text if text == "auto" else float(text), default=0.0)
    parser.add_argument("--allow-fallback", action="store_true", help="paint although something is missing")
    return parser.parse_args(arguments)


def _worker(arguments: Sequence[str]) -> None:
    parser = argparse.ArgumentParser(
        prog="python3 -m orvhdri.farm worker",
        description="Starts workers of a scheduler. Further options are those of dask worker.",
    )
    parser.add_argument("scheduler", metavar="ADDRESS", help="such as tcp://scheduler:8786")
    parser.add_argument("--root", action="append", required=True, help="a folder that jobs stay under")
    parser.add_argument("--workers", type=int, default=_core.PROCESSORS, help="so many processes; default: processors")
    parser.add_argument("--paint-threads", type=int, default=1, help="so many paint a map; default 1")
    known, more = parser.parse_known_args(arguments)
    call = [sys.executable, "-m", "distributed.cli.dask_worker", known.scheduler, "--nworkers", str(known.workers)]
    call += ["--nthreads", "1", *more, "--preload", "orvhdri.farm", "--paint-threads", str(known.paint_threads)]
    for root in known.root:
        if not os.path.isdir(root):
            raise FileError(f"{root}: there is no such folder; a root is one that this worker has")
        call += ["--root", os.path.realpath(root)]
    os.execv(call[0], call)


def main(arguments: Sequence[str]) -> int:
    """:return: the exit status: 0, 1 where a map could not be painted, 2 where the call or a job is wrong."""
    from .batch import batch

    if arguments[:1] == ["worker"]:
        _worker(arguments[1:])
    options = vars(_arguments(arguments))
    jobs, out, scheduler = options.pop("jobs"), options.pop("out"), options.pop("scheduler")
    client = None
    try:
        if scheduler is not None:
            client = distributed.Client(scheduler, set_as_default=False)
            options.pop("workers")
        with warnings.catch_warnings():
            warnings.simplefilter("always", PaintWarning)
            warnings.showwarning = lambda message, *_: print(f"orvhdri.farm: {message}", file=sys.stderr)
            results = batch(jobs, out, client=client, **options)
    finally:
        if client is not None:
            client.close()
    for result in results.failed:
        print(f"{', '.join(result.outputs)}: not painted: {result.error}", file=sys.stderr)
    print(results)
    return 1 if results.failed else 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (SceneError, ValueError) as error:
        print(f"orvhdri.farm: {error}", file=sys.stderr)
        sys.exit(2)
    except (Error, OSError) as error:
        print(f"orvhdri.farm: {error}", file=sys.stderr)
        sys.exit(1)
