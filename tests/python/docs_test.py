"""The examples in Python of the documents, one after another."""

import re
import shutil

import pytest
from conftest import ROOT


@pytest.mark.parametrize("name, folder", [("docs/python.md", "."), ("README.md", "examples")])
def test_the_examples_of_the_page_run(here, name, folder):
    (here / folder).mkdir(exist_ok=True)
    for path in (ROOT / "examples").iterdir():
        if path.is_file():
            shutil.copy(path, here / folder)
    page = ROOT / name
    blocks = list(re.finditer(r"^```python\n(.*?)^```$", page.read_text(), re.DOTALL | re.MULTILINE))
    assert blocks
    names = {"__name__": "page"}
    for block in blocks:
        line = page.read_text()[: block.start(1)].count("\n")
        exec(compile("\n" * line + block[1], str(page), "exec"), names)
