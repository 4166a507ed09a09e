"""examples/farm.sbatch as a job array, on a Slurm cluster of one machine that the test starts; a long test (./dev soak)."""

import json
import os
import shutil
import socket
import subprocess
import time

import orvhdri as orv
import pytest
from conftest import ROOT

pytestmark = [
    pytest.mark.skipif(os.environ.get("ORVHDRI_SOAK") != "1", reason="a long test, of ./dev soak"),
    pytest.mark.skipif(os.geteuid() != 0, reason="Slurm's daemons run as root"),
]

CONFIGURATION = """
ClusterName=farm
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={controller}
SlurmdPort={node}
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/controller.pid
SlurmdPidFile={folder}/node.pid
ProctrackType=proctrack/pgid
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
MpiDefault=none
SchedulerParameters=sched_interval=1,batch_sched_delay=0
NodeName={host} NodeAddr=127.0.0.1 CPUs=4 RealMemory=8000 State=UNKNOWN
PartitionName=all Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def free_port():
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        return taken.getsockname()[1]


@pytest.fixture
def slurm(tmp_path_factory, monkeypatch):
    """A cluster of this machine, with four processors whether it has them or not."""
    folder = tmp_path_factory.mktemp("slurm")
    folder.chmod(0o755)
    for parent in folder.parents[:2]:
        parent.chmod(0o755)
    for name in ("munge", "state", "spool"):
        (folder / name).mkdir(mode=0o755)
    (folder / "key").write_bytes(os.urandom(128))
    (folder / "key").chmod(0o600)
    host = socket.gethostname().split(".")[0]
    (folder / "slurm.conf").write_text(
        CONFIGURATION.format(host=host, folder=folder, controller=free_port(), node=free_port())
    )
    monkeypatch.setenv("SLURM_CONF", str(folder / "slurm.conf"))
    calls = [
        ["munged", "--foreground", f"--key-file={folder}/key", f"--socket={folder}/munge/socket",
         f"--pid-file={folder}/munge/pid", f"--log-file={folder}/munge/log", f"--seed-file={folder}/munge/seed"],
        ["slurmctld", "-D"],
        ["slurmd", "-D"],
    ]
    started = []
    with open(folder / "log", "wb") as log:
        for call in calls:
            started.append(subprocess.Popen(call, stdout=log, stderr=log))
            time.sleep(1)
    until = time.monotonic() + 30
    while "idle" not in subprocess.run(["sinfo", "-h"], capture_output=True, text=True).stdout:
        assert time.monotonic() < until, (folder / "log").read_text()
        time.sleep(0.2)
    yield
    for process in reversed(started):
        process.terminate()
        process.wait()


def submit(orvpaint, *arguments):
    subprocess.run(
        ["sbatch", "--wait", "--array=3-6", "-o", "task-%a.log", ROOT / "examples" / "farm.sbatch", *arguments],
        env={**os.environ, "ORVPAINT": str(orvpaint)}, check=True, timeout=300,
    )


def test_an_array_of_four_tasks_paints_the_files_of_one_process(here, examples, orvpaint, slurm):
    shutil.copy(examples / "studio.json", here)
    jobs = orv.sweep("studio.json", {"pins.key.azimuth": "-90:90:5"}, size=(128, 64))
    (here / "jobs.jsonl").write_text("".join(json.dumps(job) + "\n" for job in jobs))
    for name in ("alone", "array"):
        (here / name).mkdir()
    subprocess.run([orvpaint, "batch", "jobs.jsonl", "-o", "alone/{index}.exr"], check=True)
    submit(orvpaint, "jobs.jsonl", "-o", "array/{index}.exr")
    whole = {path.name: path.read_bytes() for path in (here / "alone").iterdir()}
    assert len(whole) == 37
    assert {path.name: path.read_bytes() for path in (here / "array").iterdir()} == whole
    assert len(list((here / "manifests").iterdir())) == 4

    # What is missing is painted by the same call again, and each part's manifest has each of its maps once.
    before = {path.name: path.stat().st_mtime_ns for path in (here / "array").iterdir()}
    for name in ("0000.exr", "0017.exr", "0036.exr"):
        (here / "array" / name).unlink()
    submit(orvpaint, "jobs.jsonl", "-o", "array/{index}.exr")
    assert {path.name: path.read_bytes() for path in (here / "array").iterdir()} == whole
    changed = [path.name for path in (here / "array").iterdir() if path.stat().st_mtime_ns != before[path.name]]
    assert sorted(changed) == ["0000.exr", "0017.exr", "0036.exr"]
    lines = [json.loads(line) for path in (here / "manifests").iterdir() for line in path.read_text().splitlines()]
    assert sorted(line["job"]["output"] for line in lines) == sorted(f"array/{name}" for name in whole)
