"""Builds the package with what the headers say in it; the rest is in pyproject.toml.

With ORVEX_BUILD_DIR, which names a build of the tree, the wheel has its library and software camera
too, and is for systems like this one alone.
"""

import os
import pathlib
import re
import runpy
import shutil
import subprocess
import tempfile

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from setuptools.command.sdist import sdist

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent
INTERFACE = pathlib.Path("orvex", "_interface.py")  # which a source distribution has already
BUILD = os.environ.get("ORVEX_BUILD_DIR")
LIBRARY = pathlib.Path("lib", "liborvex.so.1")  # in the package


def write_interface(folder, library=None):
    if (HERE / INTERFACE).is_file():
        return
    # The package itself can't be imported where there is no library.
    headers = runpy.run_path(str(HERE / "orvex" / "headers.py"))
    headers["write"](TREE / "include" / "orvex", pathlib.Path(folder) / INTERFACE, library)


def copy_library(folder):
    """The library, and beside it what it looks for there, as they are installed."""
    with tempfile.TemporaryDirectory() as prefix:
        subprocess.run(["cmake", "--install", BUILD, "--strip", "--prefix", prefix], check=True,
                       stdout=subprocess.DEVNULL)
        installed = next(pathlib.Path(prefix).rglob(LIBRARY.name)).parent
        for file in (LIBRARY.name, "orvex.ini", "orvex/orvexDDI.so"):
            target = folder / LIBRARY.parent / file
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(installed / file, target)


class BuildWithInterface(build_py):
    def run(self):
        super().run()
        if BUILD:
            copy_library(pathlib.Path(self.build_lib) / "orvex")
        write_interface(self.build_lib, str(LIBRARY) if BUILD else None)


class DistributionWithInterface(sdist):
    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, files)
        write_interface(base_dir)


def version():
    project = TREE / "CMakeLists.txt"
    if (HERE / "PKG-INFO").is_file():  # a source distribution
        return re.search(r"^Version: (\S+)", (HERE / "PKG-INFO").read_text(), re.M).group(1)
    return re.search(r"project\(orvex VERSION (\S+)", project.read_text()).group(1)


commands = {"build_py": BuildWithInterface, "sdist": DistributionWithInterface}
if BUILD:
    from wheel.bdist_wheel import bdist_wheel

    class PlatformWheel(bdist_wheel):
        """For any Python, as the library is no extension module, but for one kind of system."""

        def get_tag(self):
            return "py3", "none", super().get_tag()[2]

    class PlatformDistribution(Distribution):
        def has_ext_modules(self):
            return True

    commands["bdist_wheel"] = PlatformWheel

setup(version=version(), cmdclass=commands,
      distclass=PlatformDistribution if BUILD else Distribution)
