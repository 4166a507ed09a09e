"""Has CMake build the compiled part of the Python package; the rest stands in pyproject.toml."""

import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        built = pathlib.Path(self.build_temp).resolve()
        package = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve().parent
        configure = [
            "cmake", "-S", ROOT, "-B", built, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
            "-DORVHDRI_DEV=OFF", "-DORVHDRI_PYTHON=ON", f"-DPython_EXECUTABLE={sys.executable}",
            # The libraries lie beside the module, each once: a wheel holds no links, and a process one host.
            "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON", "-DCMAKE_PLATFORM_NO_VERSIONED_SONAME=ON",
        ]
        subprocess.run(configure, check=True)
        subprocess.run(["cmake", "--build", built, "--target", "orvhdri_python"], check=True)
        package.mkdir(parents=True, exist_ok=True)
        for library in [*(built / "python" / "orvhdri").glob("_core*.so"), *(built / "lib").glob("liborv*.so")]:
            shutil.copy(library, package)


header = (ROOT / "include" / "hdri" / "version.h").read_text()
version = ".".join(re.findall(r"define ORVHDRI_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header))
setup(version=version, ext_modules=[Extension("orvhdri._core", [])], cmdclass={"build_ext": CMakeBuild})
