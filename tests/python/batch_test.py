"""Many maps: jobs, worker processes, what is left of workers that die."""

import itertools
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import orvhdri as orv
import pytest
from orvhdri import workers as local


def around(lamp, step=30, **keywords):
    return orv.sweep(lamp, {"pins.key.azimuth": range(-180, 180, step)}, size=(64, 32), **keywords)


def files(folder="."):
    return {path.name: path.read_bytes() for path in sorted(pathlib.Path(folder).iterdir()) if path.is_file()}


def children():
    found = []
    for task in os.listdir("/proc/self/task"):
        try:
            found += map(int, pathlib.Path(f"/proc/self/task/{task}/children").read_text().split())
        except FileNotFoundError:
            pass  # a thread that has ended
    return found


def test_a_sweep_has_every_combination_the_last_one_fastest(lamp):
    jobs = orv.sweep(lamp, {"pins.key.azimuth": "-10:10:10", "pins.key.radius": [5, 6]}, frames="1-2", size=(8, 4))
    assert len(jobs) == 12
    assert jobs[0] == {
        "scene": lamp, "set": {"pins.key.azimuth": -10, "pins.key.radius": 5}, "frame": 1, "size": [8, 4]
    }
    assert [job["frame"] for job in jobs[:4]] == [1, 2, 1, 2]
    assert [job["set"]["pins.key.radius"] for job in jobs[:4]] == [5, 5, 6, 6]


def test_a_sweep_that_can_not_be_read_is_refused(lamp):
    with pytest.raises(orv.SettingError, match="pins.key.azimuth"):
        orv.sweep(lamp, {"pins.key.azimuth": "1:2:0"})


def test_the_files_are_those_of_the_command_line(here, lamp, orvpaint):
    jobs = around(lamp)
    (here / "a").mkdir()
    (here / "b").mkdir()
    orv.batch(jobs, "a/{index}.pfm", workers=2)
    (here / "jobs.jsonl").write_text("".join(json.dumps(job) + "\n" for job in jobs))
    subprocess.run([orvpaint, "batch", "jobs.jsonl", "-o", "b/{index}.pfm"], check=True)
    assert len(files("a")) == 12 and files("a") == files("b")


def test_a_file_of_job_lines_is_a_batch(here, lamp):
    lines = [json.dumps(dict(job, output=f"{i}.exr")) for i, job in enumerate(around(lamp, 120))]
    (here / "jobs.jsonl").write_text("\n\n".join(lines))
    assert [result.status for result in orv.batch("jobs.jsonl", workers=1)] == ["painted"] * 3


def test_results_come_in_the_order_of_the_jobs(here, lamp):
    results = orv.batch(around(lamp), "{index}.exr", workers=3)
    assert [result.outputs for result in results] == [[f"{i:04}.exr"] for i in range(12)]
    assert repr(results) == "<Results: 12 painted, 0 skipped, 0 failed>"


def test_failures_are_results_and_the_others_are_painted(here, lamp):
    jobs = around(lamp, 90)
    jobs[1]["set"] = {"pins.key.radius": -1}
    jobs[2]["scene"] = "missing.json"
    jobs[2].pop("set")
    results = orv.batch(jobs, "{index}.exr", workers=2)
    assert [result.status for result in results] == ["painted", "failed", "failed", "painted"]
    assert 'pins[0] "key": radius' in results[1].error and "missing.json: cannot be read" in results[2].error
    assert sorted(files()) == ["0000.exr", "0003.exr"]
    assert results.failed == [results[1], results[2]]


@pytest.mark.parametrize(
    "jobs, out, text",
    [
        ([{"scene": "a.json", "sise": [1, 2]}], "x.exr", 'jobs[0]: sise: not a key of a job (did you mean "size"?)'),
        ([{"scene": "a.json"}, {}], "{index}.exr", "jobs[1]: scene: missing; required: the path of a scene"),
        ([3], "x.exr", "jobs[0]: job: 3 found; allowed: an object, a job"),
        ([{"scene": "a.json"}], None, "jobs[0]: output: missing"),
        ([{"scene": "a.json"}] * 2, "x.exr", "x.exr"),
        ([{"scene": "a.json"}], "x.xyz", '"x.xyz" has no ending that names a format'),
        ([{"scene": "a.json"}], "{word}.exr", "{word}"),
        (["{"], "x.exr", "jobs[0]:2: "),
    ],
)
def test_wrong_jobs_are_refused_before_anything_is_painted(here, jobs, out, text):
    with pytest.raises(ValueError) as error:
        orv.batch(jobs, out)
    assert text in str(error.value)
    assert list(here.iterdir()) == []


def test_a_manifest_has_a_line_for_each_job(here, lamp):
    jobs = around(lamp, 90)
    jobs[1]["set"] = {"pins.key.radius": -1}
    for i, job in enumerate(jobs):
        job["values"] = {"number": i}
    orv.batch(jobs, "{index}.exr", workers=2, manifest="manifest.jsonl")
    lines = [json.loads(line) for line in (here / "manifest.jsonl").read_text().splitlines()]
    told = {line["job"]["values"]["number"]: line for line in lines}
    assert len(lines) == 4 and [told[i]["status"] for i in range(4)] == ["painted", "failed", "painted", "painted"]
    assert told[0]["peak"] == pytest.approx(1) and told[0]["mean"][0] == pytest.approx(0.067, abs=0.003)


def test_a_batch_that_was_ended_is_finished(here, lamp):
    jobs = around(lamp)
    wanted = dict(zip((f"{i:04}.exr" for i in range(12)), range(12)))
    orv.batch(jobs, "{index}.exr", manifest="manifest.jsonl", workers=2)
    whole = files()
    for name in ("0003.exr", "0008.exr"):
        (here / name).unlink()
    results = orv.batch(jobs, "{index}.exr", manifest="manifest.jsonl", workers=2, skip_existing=True)
    assert [i for i, result in enumerate(results) if result.status == "painted"] == [3, 8]
    again = files()
    assert {name: again[name] for name in wanted} == {name: whole[name] for name in wanted}
    lines = [json.loads(line)["job"]["output"] for line in (here / "manifest.jsonl").read_text().splitlines()]
    assert sorted(lines) == sorted(wanted)


def test_scenes_know_their_folders_in_other_processes(here, lamp):
    (here / "scenes").mkdir()
    orv.write(orv.paint(lamp, size=(64, 32)), "scenes/sky.pfm")
    (here / "scenes" / "sky.json").write_text(
        '{"version": 1, "background": {"type": "image", "path": "sky.pfm"}}'
    )
    scene = orv.Scene.load("scenes/sky.json")
    assert orv.batch([scene], "map.pfm", size=(64, 32), workers=1)[0].status == "painted"
    assert np.array_equal(orv.read("map.pfm"), orv.paint(scene, size=(64, 32)))


def test_workers_that_are_killed_lose_nothing(here, lamp):
    jobs = around(lamp, 4)
    (here / "alone").mkdir()
    orv.batch(jobs, "alone/{index}.exr", workers=1)
    (here / "hunted").mkdir()
    killed = []
    over = threading.Event()

    def hunt():
        choose = random.Random(1)
        wanted = 1
        while not over.wait(0.005):
            workers = children()
            if workers and len(files("hunted")) >= wanted:
                killed.append(choose.choice(workers))
                os.kill(killed[-1], signal.SIGKILL)
                wanted += 15

    hunter = threading.Thread(target=hunt)
    hunter.start()
    try:
        results = orv.batch(jobs, "hunted/{index}.exr", workers=3, manifest="manifest.jsonl")
    finally:
        over.set()
        hunter.join()
    assert killed
    done = [result for result in results if result.status == "painted"]
    # Three kills in a row of one job's workers would give it up.
    assert len(done) == len(jobs)
    assert files("hunted") == files("alone")
    assert len((here / "manifest.jsonl").read_text().splitlines()) == len(jobs)


def test_a_job_that_kills_its_workers_is_given_up_and_named(here, lamp, monkeypatch):
    paint = local._Process.paint
    deaths = []

    def poisoned(self, line):
        if '"poison"' in line:
            deaths.append(self.process.pid)
            self.process.kill()
        return paint(self, line)

    monkeypatch.setattr(local._Process, "paint", poisoned)
    jobs = around(lamp, 60)
    jobs[2]["values"] = {"poison": True}
    results = orv.batch(jobs, "{index}.exr", workers=2, manifest="manifest.jsonl")
    assert [result.status for result in results] == ["painted"] * 2 + ["failed"] + ["painted"] * 3
    assert results[2].error == "given up: each of 3 workers died of it; the last one was ended by signal SIGKILL"
    assert len(deaths) == 3
    assert "given up" in (here / "manifest.jsonl").read_text()


def test_a_painter_that_can_not_be_loaded_ends_the_batch(here, lamp, monkeypatch):
    monkeypatch.setenv("ORVHDRI_PAINTER", "/nowhere/painter.so")
    with pytest.raises(orv.PainterError, match="the painter cannot be loaded"):
        orv.batch(around(lamp), "{index}.exr", workers=2)
    assert files() == {}


def test_an_interpreter_that_can_not_be_started_ends_the_batch(here, lamp, monkeypatch):
    monkeypatch.setattr(sys, "executable", "/bin/false")
    with pytest.raises(orv.Error, match="no worker can be started: /bin/false ended with status 1"):
        orv.batch(around(lamp), "{index}.exr", workers=2)


@pytest.mark.parametrize("count", [0, -1, 1.5, True])
def test_a_wrong_number_of_workers_is_refused(here, lamp, count):
    with pytest.raises(ValueError, match="workers: "):
        orv.batch(around(lamp), "{index}.exr", workers=count)


def test_progress_hears_of_each_job(here, lamp):
    heard = []
    orv.batch(around(lamp, 90), "{index}.exr", workers=2, progress=lambda *counts: heard.append(counts))
    assert heard == [(1, 4), (2, 4), (3, 4), (4, 4)]


def test_generated_maps_are_those_of_a_session_in_order(here, lamp):
    jobs = around(lamp)
    for count in (1, 3):
        generated = list(orv.generate(jobs, workers=count))
        assert [values for _, values in generated] == [job["set"] for job in jobs]
        for (light, _), job in zip(generated, jobs):
            scene = orv.Scene(lamp)
            scene.set("pins.key.azimuth", job["set"]["pins.key.azimuth"])
            assert type(light) is orv.Map and light.flags.writeable
            assert light.tobytes() == orv.paint(scene, size=(64, 32)).tobytes()


def test_values_of_a_job_come_with_its_map(lamp):
    jobs = [{"scene": lamp, "size": [16, 8], "values": {"label": i}} for i in range(5)]
    assert [values for _, values in orv.generate(jobs, workers=2)] == [{"label": i} for i in range(5)]


def test_a_seed_draws_one_order_for_any_number_of_workers(lamp):
    jobs = [{"scene": lamp, "size": [16, 8], "values": {"label": i}} for i in range(20)]

    def labels(**keywords):
        return [values["label"] for _, values in orv.generate(jobs, **keywords)]

    assert labels(seed=3, workers=1) == labels(seed=3, workers=4) != labels(seed=4, workers=2)
    assert sorted(labels(seed=3, workers=2)) == list(range(20))


def test_as_they_come_every_map_comes_once(lamp):
    jobs = [{"scene": lamp, "size": [16, 8], "values": {"label": i}} for i in range(20)]
    labels = [values["label"] for _, values in orv.generate(jobs, workers=3, ordered=False)]
    assert sorted(labels) == list(range(20))


def test_jobs_without_an_end_are_read_as_far_as_maps_are_prefetched(lamp):
    read = []

    def endless():
        for i in itertools.count():
            read.append(i)
            yield {"scene": lamp, "size": [16, 8], "values": {"label": i}}

    maps = orv.generate(endless(), workers=2, prefetch=3)
    assert [next(maps)[1]["label"] for _ in range(10)] == list(range(10))
    time.sleep(0.3)
    assert len(read) <= 10 + 3
    maps.close()


def test_no_process_is_left(lamp):
    before = set(children())
    maps = orv.generate(around(lamp, 10), workers=2)
    next(maps)
    assert set(children()) - before
    maps.close()
    assert set(children()) == before


def test_a_job_that_fails_ends_the_maps_or_is_skipped(lamp):
    jobs = around(lamp, 90)
    jobs[1]["set"] = {"pins.key.radius": -1}
    with pytest.raises(orv.JobError, match=r'jobs\[1\]: not painted: .*pins\[0\] "key": radius'):
        list(orv.generate(jobs, workers=2))
    with pytest.warns(orv.PaintWarning, match=r"jobs\[1\]: not painted"):
        assert len(list(orv.generate(jobs, workers=2, failures="skip"))) == 3


def test_arrays_outlive_their_workers(lamp):
    maps = [light for light, _ in orv.generate(around(lamp, 90), workers=2)]
    assert all(light.sum() > 0 for light in maps)


def test_arrays_of_scenes_reach_the_workers(here, lamp):
    sky = orv.paint(lamp, size=(64, 32))
    jobs = orv.sweep({"version": 1, "background": {"type": "image", "image": sky}}, {"background.brightness": [1, 2]},
                     size=(64, 32))
    for (light, _), factor in zip(orv.generate(jobs, workers=2), (1, 2)):
        assert np.array_equal(light, factor * sky)


def test_one_job_alone_is_no_list_of_jobs(lamp):
    with pytest.raises(TypeError, match="jobs: dict found; allowed: a list of jobs"):
        orv.batch({"scene": lamp}, "x.exr")


def test_ctrl_c_ends_a_batch_and_its_workers(here, lamp):
    script = f"""
import os, signal, sys, threading, time, orvhdri as orv
jobs = orv.sweep({lamp!r}, {{"pins.key.azimuth": range(-180, 180)}}, size=(2048, 1024))
def interrupt():
    while not any(name.endswith("exr") for name in os.listdir()):
        time.sleep(0.02)
    os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=interrupt).start()
try:
    orv.batch(jobs * 1, "{{index}}.exr", workers=2)
except KeyboardInterrupt:
    left = open(f"/proc/self/task/{{os.getpid()}}/children").read().split()
    print("interrupted", len(left))
"""
    said = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=120)
    assert (said.stdout, said.stderr) == ("interrupted 0\n", "")
    for name in files():
        assert name.endswith(".exr") and orv.read(name).shape == (1024, 2048, 3)


def test_workers_stay_in_the_folder_of_the_call(here, lamp, monkeypatch):
    (here / "other").mkdir()
    maps = orv.generate([dict(job, scene=lamp) for job in around(lamp, 90)], workers=1)
    next(maps)
    monkeypatch.chdir("other")
    assert len(list(maps)) == 3
