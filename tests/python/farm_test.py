"""The farm: packets, faults of workers and schedulers, roots, and what does not see the client's files."""

import contextlib
import ctypes
import itertools
import json
import os
import pathlib
import random
import shutil
import socket
import struct
import subprocess
import sys
import threading
import time

import dask
import numpy as np
import orvhdri as orv
import pytest
from conftest import ROOT, environment, run_examples_of
from distributed import Client, LocalCluster
from orvhdri.farm import Farm, Packer
from orvhdri.roots import Roots
from orvhdri.workers import Call

SOAK = os.environ.get("ORVHDRI_SOAK") == "1"


def around(scene, count, size=(64, 32)):
    return orv.sweep(scene, {"pins.key.azimuth": [360 * i / count - 180 for i in range(count)]}, size=size)


def files(folder="."):
    return {path.name: path.read_bytes() for path in sorted(pathlib.Path(folder).iterdir()) if path.is_file()}


def cluster(workers, **keywords):
    if os.environ.get("ORVHDRI_SANITIZED"):
        pytest.skip("what is compiled is that of batches")
    return LocalCluster(
        n_workers=workers, threads_per_worker=1, dashboard_address="127.0.0.1:0", memory_limit=None, silence_logs=50, **keywords
    )


@pytest.fixture(scope="module")
def client(tmp_path_factory):
    folder = str(tmp_path_factory.mktemp("cluster"))
    with cluster(2, local_directory=folder) as workers, Client(workers, set_as_default=False) as client:
        yield client


class Arrivals:
    """Counts how often a file of each name appears in a folder, as the system tells."""

    def __init__(self, folder):
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._queue = self._libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        created, moved_to = 0x100, 0x80
        assert self._libc.inotify_add_watch(self._queue, os.fsencode(folder), created | moved_to) >= 0
        self.counts = {}

    def look(self):
        try:
            events = os.read(self._queue, 1 << 20)
        except BlockingIOError:
            return
        while events:
            _, mask, _, length = struct.unpack_from("iIII", events)
            assert not mask & 0x4000, "events were lost"
            name = events[16 : 16 + length].rstrip(b"\0").decode()
            self.counts[name] = self.counts.get(name, 0) + 1
            events = events[16 + length :]


# Packets


def numbered(count):
    return [(i, "{}") for i in range(count)]


def test_the_first_packets_have_one_job():
    packer = Packer(numbered(1000), 10)
    assert [len(packer.next(4).jobs) for _ in range(3)] == [1, 1, 1]


def test_packets_grow_to_the_wanted_seconds():
    packer = Packer(numbered(100_000), 10)
    sizes = []
    for _ in range(12):
        packet = packer.next(4)
        sizes.append(len(packet.jobs))
        packer.learn(len(packet.jobs), 0.05 * len(packet.jobs))
    # 10 s of jobs of 0.05 s each
    assert sizes == [1, 2, 4, 8, 16, 32, 64, 128, 200, 200, 200, 200]


def test_packets_shrink_when_jobs_take_longer():
    packer = Packer(numbered(1_000_000), 10)
    for _ in range(12):
        packet = packer.next(1)
        packer.learn(len(packet.jobs), 0.01 * len(packet.jobs))
    assert len(packer.next(1).jobs) == 1000
    packer.learn(1000, 2000)
    # By then 0.9 (1000 + 0.9 (1000 + ...)) jobs of 0.01 s and 1000 of 2 s: far more than 0.2 s each
    assert len(packer.next(1).jobs) < 50


def test_the_last_packets_leave_work_for_all():
    packer = Packer(numbered(64), 10)
    packer.learn(1000, 1)
    packer._largest = 1000
    assert [len(packer.next(4).jobs) for _ in range(3)] == [8, 7, 6]


def test_every_job_is_in_one_packet():
    packer = Packer(numbered(999), 10)
    seen = []
    for i in itertools.count():
        packet = packer.next(3)
        if packet is None:
            break
        packer.learn(len(packet.jobs), 0.01)
        if i % 7 == 3:
            packer.again(packet)
        else:
            seen += [index for index, _ in packet.jobs]
    assert sorted(seen) == list(range(999))


def test_packets_hold_about_a_megabyte_of_lines_at_most():
    packer = Packer([(i, "x" * 100_000) for i in range(100)], 10)
    packer.learn(1000, 0.001)
    packer._largest = 1000
    assert len(packer.next(1).jobs) == 11


# Painting


def test_the_files_are_those_of_the_command_line(here, lamp, orvpaint, client):
    jobs = around(lamp, 20)
    (here / "a").mkdir()
    (here / "b").mkdir()
    results = orv.batch(jobs, "a/{index}.pfm", client=client, manifest="manifest.jsonl")
    (here / "jobs.jsonl").write_text("".join(json.dumps(job) + "\n" for job in jobs))
    subprocess.run([orvpaint, "batch", "jobs.jsonl", "-o", "b/{index}.pfm"], check=True)
    assert len(files("a")) == 20 and files("a") == files("b")
    assert [result.status for result in results] == ["painted"] * 20
    lines = [json.loads(line) for line in (here / "manifest.jsonl").read_text().splitlines()]
    assert sorted(line["job"]["output"] for line in lines) == sorted(f"a/{i:04}.pfm" for i in range(20))
    assert all(line["peak"] == pytest.approx(1) for line in lines)


def test_arrays_are_those_of_this_process_in_order(lamp, client):
    jobs = around(lamp, 9)
    for (light, values), job in itertools.zip_longest(orv.generate(jobs, client=client), jobs):
        scene = orv.Scene(lamp)
        scene.set("pins.key.azimuth", job["set"]["pins.key.azimuth"])
        assert values == job["set"] and type(light) is orv.Map
        assert light.tobytes() == orv.paint(scene, size=(64, 32)).tobytes()


def test_jobs_without_an_end_are_read_as_far_as_asked(lamp, client):
    read = []

    def endless():
        for i in itertools.count():
            read.append(i)
            yield {"scene": lamp, "size": [16, 8], "values": {"label": i}}

    maps = orv.generate(endless(), client=client, prefetch=5)
    assert [next(maps)[1]["label"] for _ in range(12)] == list(range(12))
    assert len(read) <= 12 + 5
    maps.close()


def test_few_packets_are_at_the_scheduler(here, lamp, client):
    most = []
    orv.batch(around(lamp, 60, (8, 4)), "{index}.pfm", client=client, progress=lambda *_: most.append(
        sum(state.status == "pending" for state in list(client.futures.values()))))
    assert 1 <= max(most) <= 4  # two for each of two threads


def test_a_packet_that_takes_too_long_hands_jobs_back(here, lamp, client):
    engine = Farm(client, Call(), seconds=1e-6)
    packer = Packer([(i, orv._core.Job(dict(job, output=f"{i}.pfm"), "job").text)
                     for i, job in enumerate(around(lamp, 12))], 1)
    packer.learn(1000, 1)
    packer._largest = 1000
    done = [index for index, outcome in engine._run(packer, lambda: 6) if outcome["status"] == "painted"]
    assert sorted(done) == list(range(12))
    assert engine.packets >= 12  # each came back after its first job


def test_what_fails_is_a_result_with_its_reason(here, lamp, client):
    jobs = around(lamp, 4)
    jobs[1]["set"] = {"pins.key.radius": -1}
    jobs[2]["scene"] = "missing.json"
    results = orv.batch(jobs, "{index}.exr", client=client)
    assert [result.status for result in results] == ["painted", "failed", "failed", "painted"]
    alone = orv.batch(jobs, "{index}.exr", workers=1)
    assert [result.error for result in results] == [result.error for result in alone]


def test_workers_and_a_client_are_not_both_allowed(here, lamp, client):
    with pytest.raises(ValueError, match="workers: allowed without a client"):
        orv.batch(around(lamp, 2), "{index}.exr", client=client, workers=2)


def test_arrays_that_scenes_show_come_along(here, client):
    sky = np.linspace(0, 1, 32 * 16 * 3, dtype=np.float32).reshape(16, 32, 3)
    scene = orv.Scene({"version": 1, "background": {"type": "image", "image": sky}})
    assert orv.batch([scene], "map.pfm", size=(64, 32), client=client)[0].status == "painted"
    orv.write(sky, "sky.pfm")
    of_file = {"version": 1, "background": {"type": "image", "path": "sky.pfm"}}
    assert orv.read("map.pfm").tobytes() == orv.paint(of_file, size=(64, 32)).tobytes()


class Processes:
    """A scheduler and workers that are started as users start them."""

    def __init__(self, folder):
        self._folder = folder
        self._logs = itertools.count()
        self._workers = []
        self.scheduler = self._start(
            ["-m", "distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard",
             "--dashboard-address", "127.0.0.1:0", "--scheduler-file", str(folder / "scheduler.json")]
        )
        file = folder / "scheduler.json"
        while not file.exists():
            assert self.scheduler.poll() is None
            time.sleep(0.05)
        self.address = json.loads(file.read_text())["address"]

    def work(self, *arguments, **variables):
        worker = self._start(
            ["-m", "orvhdri.farm", "worker", self.address, "--workers", "1", "--no-nanny", "--no-dashboard",
             "--local-directory", str(self._folder), *map(str, arguments)],
            variables,
        )
        self._workers.append(worker)
        return worker

    def _start(self, arguments, variables={}):
        if os.environ.get("ORVHDRI_SANITIZED"):
            pytest.skip("what is compiled is that of batches")
        with open(self._folder / f"log{next(self._logs)}", "wb") as log:
            return subprocess.Popen([sys.executable, *arguments], env={**environment(), **variables},
                                    stdout=log, stderr=log, cwd=self._folder)

    def rest(self):
        """Ends the workers; the scheduler sees them go before it takes another one."""
        for worker in self._workers:
            worker.kill()
            worker.wait()
        self._workers.clear()

    def end(self):
        self.rest()
        self.scheduler.kill()
        self.scheduler.wait()


@pytest.fixture(scope="module")
def shared_processes(tmp_path_factory):
    started = Processes(tmp_path_factory.mktemp("processes"))
    yield started
    started.end()


@pytest.fixture
def processes(shared_processes):
    yield shared_processes
    shared_processes.rest()


# Faults


COUNTER = """
import os
from orvhdri import _packets, workers


class Counted(workers._Process):
    def paint(self, line):
        with open(os.environ["ORVHDRI_TEST_LOG"], "ab") as log:
            log.write(b".")
        return super().paint(line)


_packets._Process = Counted
"""


@pytest.mark.parametrize("maps, kills, workers", [(2000, 20, 4)] if SOAK else [(60, 3, 2)])
def test_workers_that_are_killed_lose_nothing_and_paint_nothing_twice(
    here, examples, processes, maps, kills, workers
):
    shutil.copy(examples / "studio.json", here)
    jobs = around("studio.json", maps, (512, 256) if SOAK else (64, 32))
    (here / "alone").mkdir()
    (here / "hunted").mkdir()
    orv.batch(jobs, "alone/{index}.exr", workers=1)
    arrivals = Arrivals("hunted")
    killed = []
    choose = random.Random(1)
    (here / "counter.py").write_text(COUNTER)

    def start():
        return processes.work("--root", here, "--preload", here / "counter.py", ORVHDRI_TEST_LOG=str(here / "begun"))

    alive = [start() for _ in range(workers)]

    def kill():
        victim = choose.randrange(workers)
        alive[victim].kill()
        alive[victim] = start()
        killed.append(victim)

    over = threading.Event()

    def hunt():
        while not over.wait(0.02):
            arrivals.look()
            if len(killed) < kills and len(arrivals.counts) > (len(killed) + 0.3) * maps / kills:
                time.sleep(choose.uniform(0, 0.1))  # any moment of a worker's
                kill()

    hunter = threading.Thread(target=hunt)
    hunter.start()
    try:
        with Client(processes.address, set_as_default=False) as client:
            results = orv.batch(jobs, "hunted/{index}.exr", client=client, manifest="manifest.jsonl")
    finally:
        over.set()
        hunter.join()
    arrivals.look()
    assert len(killed) == kills if SOAK else killed
    assert [result.error for result in results.failed] == []
    assert files("hunted") == files("alone")
    assert arrivals.counts == {f"{i:04}.exr": 1 for i in range(maps)}
    lines = [json.loads(line)["job"]["output"] for line in (here / "manifest.jsonl").read_text().splitlines()]
    assert sorted(lines) == sorted(f"hunted/{i:04}.exr" for i in range(maps))
    begun = (here / "begun").stat().st_size
    # What is lost of a worker with one thread is the map that it was amid.
    assert maps <= begun <= maps + kills
    painted = sum(result.seconds for result in results)
    print(f"{maps} maps, {kills} kills: {begun - maps} begun twice; {painted:.1f} s of painting")


POISON = """
import os
import resource
from orvhdri import _packets, workers

resource.setrlimit(resource.RLIMIT_FSIZE, (40_000, resource.RLIM_INFINITY))


class Poisoned(workers._Process):
    def paint(self, line):
        if '"kills its process"' in line:
            self.process.kill()
        if '"kills its worker"' in line:
            os.kill(os.getpid(), 9)
        if '"is no outcome"' in line:
            raise RecursionError("too deep")
        return super().paint(line)


_packets._Process = Poisoned
"""


@pytest.fixture(scope="module")
def poisoned(tmp_path_factory):
    folder = tmp_path_factory.mktemp("poisoned")
    (folder / "poison.py").write_text(POISON)
    with dask.config.set({"distributed.scheduler.allowed-failures": 0}):
        with cluster(2, local_directory=str(folder), preload=[str(folder / "poison.py")]) as workers:
            with Client(workers, set_as_default=False) as client:
                yield client


def test_a_job_that_kills_its_process_is_given_up_after_three_tries(here, lamp, poisoned):
    jobs = around(lamp, 6)
    jobs[2]["values"] = {"it": "kills its process"}
    results = orv.batch(jobs, "{index}.exr", client=poisoned)
    assert [result.status for result in results] == ["painted"] * 2 + ["failed"] + ["painted"] * 3
    assert results[2].error == "given up: each of 3 workers died of it; the last one was ended by signal SIGKILL"


def test_a_job_that_kills_workers_is_found_among_those_of_its_packet(here, lamp, poisoned):
    jobs = [dict(job, output=f"{i}.pfm") for i, job in enumerate(around(lamp, 4))]
    jobs[1]["values"] = {"it": "kills its worker"}
    packer = Packer([(i, orv._core.Job(job, "job").text) for i, job in enumerate(jobs)], 10)
    packer.learn(1000, 1)
    packer._largest = 1000
    packer._left = 1000
    arrivals = Arrivals(".")
    outcomes = dict(Farm(poisoned, Call())._run(packer, lambda: 4))
    arrivals.look()
    # What a worker painted before it died is not painted again in the half that it comes back in.
    assert arrivals.counts == {"0.pfm": 1, "2.pfm": 1, "3.pfm": 1}
    assert [outcomes[i]["status"] for i in range(4)] == ["painted", "failed", "painted", "painted"]
    assert outcomes[1]["error"] == "given up: 1 worker died of it that had nothing else"


def test_a_worker_that_is_broken_ends_the_batch_and_says_how(here, lamp, poisoned):
    jobs = [dict(around(lamp, 1)[0], values={"it": "is no outcome"})]
    with pytest.raises(orv.Error, match="a worker can not paint: tcp://.*: RecursionError: too deep"):
        orv.batch(jobs, "{index}.pfm", client=poisoned)


def test_a_full_disk_is_a_failure_of_the_jobs_that_need_it(here, lamp, poisoned):
    jobs = around(lamp, 3)
    jobs[1]["size"] = [256, 128]  # 393 kB of floats; the workers may write files of 40 kB
    results = orv.batch(jobs, "{index}.pfm", client=poisoned)
    assert [result.status for result in results] == ["painted", "failed", "painted"]
    assert "0001.pfm" in results[1].error and "File too large" in results[1].error
    assert sorted(files()) == ["0000.pfm", "0002.pfm"]


def test_workers_that_can_not_paint_get_no_jobs(here, lamp, processes):
    (here / "old.py").write_text("from orvhdri import _packets\n_packets.VERSION = '0.0.1'\n")
    processes.work("--root", here, "--preload", here / "old.py")
    processes.work("--root", here, ORVHDRI_PAINTER="/nowhere/painter.so")
    with Client(processes.address, set_as_default=False) as client:
        client.wait_for_workers(2)
        with pytest.warns(orv.PaintWarning), pytest.raises(orv.Error) as error:
            orv.batch(around(lamp, 4), "{index}.exr", client=client)
        assert f"has orvhdri 0.0.1, the client {orv.__version__}; install the same version on both" in str(error.value)
        assert "the painter cannot be loaded" in str(error.value)
        assert not list(here.glob("*.exr"))
        processes.work("--root", here)
        client.wait_for_workers(3)
        with pytest.warns(orv.PaintWarning, match="it gets no jobs"):
            results = orv.batch(around(lamp, 4), "{index}.exr", client=client)
        assert [result.status for result in results] == ["painted"] * 4


def test_a_worker_stays_under_its_root_and_is_sent_what_it_does_not_see(here, lamp, processes):
    (here / "shared").mkdir()
    (here / "own").mkdir()
    sky = orv.paint(lamp, size=(64, 32))
    orv.write(sky, "own/sky.pfm")
    (here / "own" / "sky.json").write_text('{"version": 1, "background": {"type": "image", "path": "sky.pfm"}}')
    processes.work("--root", here / "shared")
    jobs = [{"scene": "own/sky.json", "size": [64, 32]}]
    with Client(processes.address, set_as_default=False) as client:
        refused = orv.batch(jobs, "shared/map.pfm", client=client)[0]
        assert refused.error.startswith(
            f"own/sky.json: {here}/own/sky.json is not under a root of this worker; allowed: {here}/shared")
        outside = orv.batch(jobs, "own/map.pfm", client=client, send_inputs=True)[0]
        assert "own/map.pfm is not under a root" in outside.error
        sent = orv.batch(jobs, "shared/map.pfm", client=client, send_inputs=True)[0]
        assert sent.status == "painted"
    assert files("own").keys() == {"sky.pfm", "sky.json"}
    assert orv.read("shared/map.pfm").tobytes() == orv.paint("own/sky.json", size=(64, 32)).tobytes()


def test_a_scheduler_that_dies_leaves_whole_files_and_the_rest_is_painted_later(here, lamp, tmp_path_factory):
    processes = Processes(tmp_path_factory.mktemp("mortal"))
    processes.work("--root", here)
    jobs = around(lamp, 40)
    (here / "alone").mkdir()
    (here / "farm").mkdir()
    orv.batch(jobs, "alone/{index}.exr", workers=1)
    with Client(processes.address, set_as_default=False) as client:
        with pytest.raises(orv.Error, match="the scheduler is gone .*skip_existing paints the others"):
            orv.batch(jobs, "farm/{index}.exr", client=client, manifest="manifest.jsonl",
                      progress=lambda done, _: processes.scheduler.kill() if done == 3 else None)
    processes.end()
    whole = files("alone")
    left = files("farm")
    assert 3 <= len(left) and all(whole[name] == data for name, data in left.items())
    orv.batch(jobs, "farm/{index}.exr", workers=2, manifest="manifest.jsonl", skip_existing=True)
    assert files("farm") == whole
    assert len((here / "manifest.jsonl").read_text().splitlines()) == 40


# Roots


@pytest.fixture
def roots(here):
    for folder in ("shared/out", "own"):
        (here / folder).mkdir(parents=True)
    (here / "shared" / "scene.json").write_text('{"version": 1, "background": {"type": "color", "color": [1, 1, 1]}}')
    (here / "own" / "scene.json").write_text("not to be read")
    (here / "shared" / "link.json").symlink_to(here / "own" / "scene.json")
    (here / "shared" / "away").symlink_to(here / "own")
    (here / "shared" / "within").symlink_to(here / "shared" / "out")
    return Roots([str(here / "shared")])


def check(roots, **job):
    roots.check(orv._core.Job({"scene": "shared/scene.json", **job}, "job"))


@pytest.mark.parametrize("job", [
    {"output": "shared/out/a.exr"},
    {"output": "shared/within/a.exr"},
    {"set": {"background": {"type": "image", "path": "sky.exr"}}},
])
def test_paths_under_the_root_are_allowed(roots, job):
    check(roots, **job)


@pytest.mark.parametrize("job", [
    {"output": "own/a.exr"},
    {"output": "shared/away/a.exr"},
    {"output": ["shared/a.exr", "/dev/shm/a.exr"]},
    {"scene": "own/scene.json"},
    {"scene": "shared/link.json"},
    {"set": {"background": {"type": "image", "path": "/etc/passwd"}}},
    {"set": {"sizeFromImage": "away/sky.exr"}},
    {"set": {"pins": [{"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 5, "enabled": False,
                       "fill": {"type": "image", "path": "away/a.exr"}}]}},
])
def test_paths_that_lead_out_of_the_root_are_refused(roots, job):
    with pytest.raises(orv.FileError, match="is not under a root of this worker"):
        check(roots, **job)


@pytest.mark.parametrize("job", [
    {"output": "shared/out/../a.exr"},
    {"scene": "own/../shared/scene.json"},
    {"set": {"background": {"type": "image", "path": "out/../sky.exr"}}},
])
def test_paths_that_go_up_are_refused_wherever_they_lead(roots, job):
    with pytest.raises(orv.FileError, match='".." found'):
        check(roots, **job)


def test_a_folder_whose_name_begins_like_the_root_is_another(roots, here):
    (here / "shared2").mkdir()
    with pytest.raises(orv.FileError):
        check(roots, output="shared2/a.exr")


# The command


def farm_command(*arguments):
    return subprocess.run([sys.executable, "-m", "orvhdri.farm", *map(str, arguments)], env=environment(),
                          capture_output=True, text=True)


def test_the_command_paints_a_file_of_jobs(here, lamp):
    (here / "jobs.jsonl").write_text("".join(json.dumps(job) + "\n" for job in around(lamp, 4)))
    call = ["jobs.jsonl", "-o", "{index}.exr", "--manifest", "manifest.jsonl", "--workers", "1"]
    done = farm_command(*call)
    assert (done.returncode, done.stdout) == (0, "<Results: 4 painted, 0 skipped, 0 failed>\n")
    assert len((here / "manifest.jsonl").read_text().splitlines()) == 4
    assert "4 skipped" in farm_command(*call, "--skip-existing").stdout


def test_the_commands_of_the_page_are_a_farm(here, lamp):
    if os.environ.get("ORVHDRI_SANITIZED"):
        pytest.skip("what is compiled is that of batches")
    page = (ROOT / "docs" / "farm.md").read_text()
    lines = page.split("```sh\n")[1].split("```")[0].splitlines()
    assert [line.split()[0] for line in lines] == ["dask", "python3", "python3"]
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = str(free.getsockname()[1])
    for word, there in {"8786": port, "//scheduler:": "//127.0.0.1:", "/shared": str(here), "python3": sys.executable}.items():
        lines = [line.replace(word, there) for line in lines]
    (here / "out").mkdir()
    (here / "jobs.jsonl").write_text("".join(json.dumps(job) + "\n" for job in around(lamp, 4)))
    with contextlib.ExitStack() as farm:
        for line in lines[:2]:
            log = farm.enter_context(open(here / "log", "ab"))
            process = subprocess.Popen(line.split(), env=environment(), stdout=log, stderr=log)
            farm.callback(process.wait)
            farm.callback(process.kill)
        done = subprocess.run(lines[2], shell=True, env=environment(), capture_output=True, text=True)
    assert (done.returncode, done.stdout) == (0, "<Results: 4 painted, 0 skipped, 0 failed>\n"), done.stderr
    assert len(files("out")) == 4 and len((here / "out.jsonl").read_text().splitlines()) == 4


def test_the_examples_of_the_page_run(here):
    run_examples_of("docs/farm.md", here)


def test_the_command_says_what_is_wrong_and_ends_with_a_status(here, lamp):
    (here / "jobs.jsonl").write_text('{"scene": "missing.json", "output": "a.exr"}\n')
    failed = farm_command("jobs.jsonl", "--workers", "1")
    assert failed.returncode == 1 and "a.exr: not painted: missing.json: cannot be read" in failed.stderr
    (here / "jobs.jsonl").write_text("{}\n")
    wrong = farm_command("jobs.jsonl")
    assert (wrong.returncode, wrong.stdout) == (2, "") and "jobs.jsonl:1:1: scene: missing" in wrong.stderr
    assert farm_command("no.jsonl").returncode == 1
