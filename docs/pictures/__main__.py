"""Paints the pictures of the documents into docs/images: ./dev pictures [--check] [NAME...]"""

import argparse
import sys
import tempfile
from pathlib import Path

import numpy
from PIL import Image

import drawing
import brushes  # noqa: F401
import guide  # noqa: F401
import light  # noqa: F401
import pins  # noqa: F401

IMAGES = drawing.ROOT / "docs/images"



def differ(old, new):
    """Whether a person would see it: other versions of the libraries that draw may round a pixel differently."""
    with Image.open(old) as before, Image.open(new) as after:
        if before.size != after.size:
            return True
        change = numpy.asarray(before.convert("RGB"), float) - numpy.asarray(after.convert("RGB"), float)
    return numpy.sqrt(numpy.mean(change**2)) > 1


parser = argparse.ArgumentParser(prog="./dev pictures", description="paint the pictures of the documents")
parser.add_argument("--check", action="store_true", help="compare with those that are there instead of writing them")
parser.add_argument("names", nargs="*", metavar="NAME", help="such as modes.png; all by default")
wanted = parser.parse_args()

unknown = [name for name in wanted.names if name not in drawing.pictures]
if unknown:
    sys.exit(f"pictures: no picture {unknown[0]}; there are {', '.join(sorted(drawing.pictures))}")

changed = []
with tempfile.TemporaryDirectory() as folder:
    for name in wanted.names or sorted(drawing.pictures):
        new, old = Path(folder) / name, IMAGES / name
        drawing.save(drawing.pictures[name](), new)
        if wanted.check and (not old.exists() or differ(old, new)):
            changed.append(name)
        elif not wanted.check and (not old.exists() or old.read_bytes() != new.read_bytes()):
            changed.append(name)
            old.write_bytes(new.read_bytes())

print(f"pictures: {len(wanted.names or drawing.pictures)} painted, {len(changed)} changed", *changed, file=sys.stderr)
if wanted.check and changed:
    sys.exit("pictures: look at what has changed and run ./dev pictures")
