#!/usr/bin/env python3
"""The figures of docs/farm.md: ./dev python bench/measure_farm.py [cost|ways]."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import orvhdri as orv

ROOT = pathlib.Path(__file__).resolve().parents[1]
ORVPAINT = pathlib.Path(orv._core.__file__).parents[2] / "bin" / "orvpaint"


def timed(name, work, count):
    begun, before = time.perf_counter(), os.times()
    work()
    seconds = time.perf_counter() - begun
    after = os.times()
    own = after.user + after.system - before.user - before.system
    children = after.children_user + after.children_system - before.children_user - before.children_system
    print(f"{name:36} {seconds:7.2f} s  {count / seconds:8.1f} /s; of a processor {own:6.2f} s here,"
          f" {children:6.2f} s in its children", flush=True)


def cost():
    """Jobs whose output a worker finds painted, through packing, scheduler and worker; and packets of no work."""
    from distributed import Client, LocalCluster

    from orvhdri import _packets
    from orvhdri.farm import Farm
    from orvhdri.workers import Call

    pathlib.Path("there.exr").write_bytes(b"")
    line = json.dumps({"scene": str(ROOT / "examples" / "studio.json"), "set": {"pins.key.azimuth": 1.5},
                       "size": [512, 256], "output": str(pathlib.Path("there.exr").absolute())})
    there = _packets.identity
    _packets.identity = lambda path: None  # to the client nothing is there; to the workers, all of it
    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address="127.0.0.1:0") as cluster:
        with Client(cluster) as client:
            for seconds, jobs in ((10, 20_000), (1e-9, 2_000)):
                engine = Farm(client, Call(), seconds=seconds)
                timed(f"{jobs} empty jobs", lambda: sum(1 for _ in engine.run([(i, line) for i in range(jobs)])), jobs)
                print(f"    in {engine.packets} packets")
    _packets.identity = there


def ways():
    """500 variations of studio.json at 512 x 256, each way."""
    shutil.copy(ROOT / "examples" / "studio.json", "studio.json")
    values = [-180 + 0.72 * i for i in range(500)]
    jobs = orv.sweep("studio.json", {"pins.key.azimuth": values}, size=(512, 256))
    scene = orv.Scene.load("studio.json")

    def folder(name):
        os.mkdir(name)
        return name + "/{index}.exr"

    def session(write):
        out = folder(f"session{write}")
        with orv.Session(threads=2) as painter:
            for i, value in enumerate(values):
                scene["pins"]["key"]["azimuth"] = value
                light = painter.paint(scene, size=(512, 256))
                if write:
                    orv.write(light, out.format(index=i))

    timed("Python session, arrays", lambda: session(False), 500)
    timed("Python session, files", lambda: session(True), 500)
    timed("orv.generate, two workers, arrays", lambda: sum(1 for _ in orv.generate(jobs, workers=2)), 500)
    timed("orv.batch, two workers", lambda: orv.batch(jobs, folder("batch"), workers=2), 500)
    sweep = "pins.key.azimuth=" + ",".join(map(str, values))
    timed("orvpaint paint --sweep", lambda: subprocess.run(
        [ORVPAINT, "paint", "studio.json", "--set", "size=[512,256]", "--sweep", sweep, "-o", folder("sweep"), "-q"],
        check=True), 500)

    def calls():
        out = folder("calls")
        for i, value in enumerate(values):
            subprocess.run([ORVPAINT, "paint", "studio.json", "--set", "size=[512,256]", "--set",
                            f"pins.key.azimuth={value}", "-o", out.format(index=i), "-q"], check=True)

    timed("500 calls of orvpaint paint", calls, 500)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as place:
        os.chdir(place)
        {"cost": cost, "ways": ways}[sys.argv[1]]()
