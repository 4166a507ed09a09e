"""The stubs of the compiled module name what it has."""

import ast
import inspect

import orvhdri as orv
from conftest import ROOT
from orvhdri import _core


def named(body):
    """The public names of a module or a class in a stub."""
    names = set()
    for node in body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            names.add(node.name)
        elif isinstance(node, ast.AnnAssign):
            names.add(node.target.id)
    return names


def test_the_stub_names_what_the_module_has():
    stub = ast.parse((ROOT / "python" / "orvhdri" / "_core.pyi").read_text())
    modules = {name for name in vars(_core) if not name.startswith("_") or name == "__version__"}
    assert named(stub.body) == modules
    for node in stub.body:
        if isinstance(node, ast.ClassDef):
            public = {name for name in vars(getattr(_core, node.name)) if not name.startswith("_")}
            assert named(node.body) - {"__init__"} == public, node.name


def test_everything_public_is_described():
    for name in orv.__all__:
        value = getattr(orv, name)
        if inspect.isclass(value) or inspect.isfunction(value):
            assert inspect.getdoc(value), name


def test_the_package_is_typed():
    assert (ROOT / "python" / "orvhdri" / "py.typed").exists()
