"""The examples of docs/python.md, one after another."""

import re
import shutil

from conftest import ROOT


def test_the_examples_of_the_page_run(here):
    for path in (ROOT / "examples").iterdir():
        if path.is_file():
            shutil.copy(path, here)
    page = ROOT / "docs" / "python.md"
    blocks = list(re.finditer(r"^```python\n(.*?)^```$", page.read_text(), re.DOTALL | re.MULTILINE))
    assert blocks
    names = {"__name__": "page"}
    for block in blocks:
        line = page.read_text()[: block.start(1)].count("\n")
        exec(compile("\n" * line + block[1], str(page), "exec"), names)
