"""The guide's pictures: what its own commands write, run one after the other as a reader would."""

import functools
import os
import subprocess
import tempfile
from pathlib import Path

from PIL import Image

import drawing
from drawing import ROOT, picture, sheet

FOLDER = tempfile.TemporaryDirectory(prefix="orvhdri_guide_")


def commands():
    """The lines of the guide's shell blocks."""
    lines, inside = [], False
    for line in (ROOT / "docs/guide.md").read_text().splitlines():
        if line.startswith("```"):
            inside = line == "```sh"
        elif inside:
            lines.append(line)
    return "\n".join(lines)


@functools.cache
def walked():
    """A folder in which all of the guide has been done."""
    folder = Path(FOLDER.name)
    (folder / "examples").symlink_to(ROOT / "examples")
    (folder / "build/release").mkdir(parents=True)
    (folder / "build/release/bin").symlink_to(Path(drawing.program).parent)
    (folder / "dev").write_text('#!/bin/sh\nexec build/release/bin/orvpaint "$@"\n')
    (folder / "dev").chmod(0o755)
    subprocess.run(["bash", "-euc", commands()], cwd=folder, check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "LC_ALL": "C.UTF-8"})
    return folder / "out"


def written(name, width):
    image = Image.open(walked() / name).convert("RGB")
    return image.resize((width, width * image.height // image.width), Image.Resampling.BOX)


def written_sheet(pattern, labels):
    names = sorted(path.relative_to(walked()) for path in walked().glob(pattern))
    return sheet([written(name, 290) for name in names], labels, 3)


@picture("guide-quay.jpg")
def quay():
    return written("quay.png", 900)


@picture("guide-dusk.jpg")
def dusk():
    return written("dusk.png", 900)


@picture("guide-lit.jpg")
def lit():
    return written("lit.png", 900)


@picture("guide-balls.jpg")
def balls():
    return written("balls.png", 800)


@picture("guide-balls-softer.jpg")
def balls_softer():
    return written("balls-softer.png", 800)


@picture("guide-key.jpg")
def key():
    return written_sheet("key/*.png", [f"azimuth {azimuth}" for azimuth in range(-135, 136, 54)])


@picture("guide-day.jpg")
def day():
    return written_sheet("day/*.png", [f"hours {hours}" for hours in range(6, 22, 3)])


@picture("guide-walk.jpg")
def walk():
    return written_sheet("walk/*.png", [f"frame {frame}" for frame in range(1, 48, 8)])


@picture("guide-thousand.jpg")
def thousand():
    names = sorted((walked() / "maps").glob("[0-9]*.png"))
    tiles = [Image.open(name).convert("RGB").resize((22, 11), Image.Resampling.BOX) for name in names]
    return sheet(tiles, None, 40, 1)
