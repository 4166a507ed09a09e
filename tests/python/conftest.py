"""What the tests of the Python package share."""

import os
import pathlib
import re
import shutil

import pytest

# Before the engine is imported: its workers begin as copies of a process that has it, which costs half.
os.environ.setdefault("DASK_DISTRIBUTED__WORKER__MULTIPROCESSING_METHOD", "forkserver")

ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def examples():
    return ROOT / "examples"


@pytest.fixture
def here(tmp_path, monkeypatch):
    """An empty working directory."""
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture
def orvpaint():
    """The command line of the build that is tested."""
    import orvhdri

    package = pathlib.Path(orvhdri._core.__file__).parent
    program = package.parents[1] / "bin" / "orvpaint"
    if not program.exists():
        pytest.skip("there is no command line beside the package")
    return program


@pytest.fixture
def lamp():
    """A black map with one hard disc of light, radius 30 degrees, straight ahead."""
    return {
        "version": 1,
        "size": [256, 128],
        "quality": "plain",
        "smoothing": False,
        "background": {"type": "color", "color": [0, 0, 0]},
        "pins": [
            {
                "name": "key",
                "shape": "circle",
                "azimuth": 0,
                "elevation": 0,
                "radius": 30,
                "falloff": "solid",
                "fill": {"type": "color", "color": [1, 1, 1]},
            }
        ],
    }


def environment():
    """The environment of a child process that imports the package under test."""
    return dict(os.environ)


def run_examples_of(name, folder):
    """Runs a document's blocks in Python, one after another, with the scenes of examples/ copied into the folder."""
    folder.mkdir(exist_ok=True)
    for path in (ROOT / "examples").iterdir():
        if path.is_file():
            shutil.copy(path, folder)
    page = ROOT / name
    text = page.read_text()
    blocks = list(re.finditer(r"^```python\n(.*?)^```$", text, re.DOTALL | re.MULTILINE))
    assert blocks
    names = {"__name__": "page"}
    for block in blocks:
        line = text[: block.start(1)].count("\n")
        exec(compile("\n" * line + block[1], str(page), "exec"), names)
