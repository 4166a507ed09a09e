"""The examples in Python of the documents one after another, and those of examples/."""

import re
import subprocess
import sys

import numpy as np
import orvhdri as orv
import pytest
from conftest import ROOT, run_examples_of


@pytest.mark.parametrize("name, folder", [("docs/python.md", "."), ("README.md", "examples")])
def test_the_examples_of_the_page_run(here, name, folder):
    run_examples_of(name, here / folder)


def test_the_dataset_of_the_examples_is_made(here):
    said = subprocess.run(
        [sys.executable, ROOT / "examples" / "dataset.py", here], capture_output=True, text=True, check=True
    ).stdout
    assert "skies (24, 128, 256, 3) float32 directions (24, 3) float32" in said
    # Half the diagonal of a pixel of 360 / 256 degrees.
    angle = float(re.search(r"brightest pixel: ([0-9.]+) degrees", said)[1])
    assert angle < 1.0
    data = np.load(here / "dataset.npz")
    assert data["skies"].shape == (24, 128, 256, 3)
    sheet = orv.info(here / "contact_sheet.png")
    assert (sheet["width"], sheet["height"]) == (1024, 768)
