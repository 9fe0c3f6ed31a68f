"""Builds the package with what the headers say in it; the rest is in pyproject.toml."""

import pathlib
import re
import runpy

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.command.sdist import sdist

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent
INTERFACE = pathlib.Path("orvex", "_interface.py")  # which a source distribution has already


def write_interface(folder):
    if (HERE / INTERFACE).is_file():
        return
    # The package itself can't be imported where there is no library.
    headers = runpy.run_path(str(HERE / "orvex" / "headers.py"))
    headers["write"](TREE / "include" / "orvex", pathlib.Path(folder) / INTERFACE)


class BuildWithInterface(build_py):
    def run(self):
        super().run()
        write_interface(self.build_lib)


class DistributionWithInterface(sdist):
    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, files)
        write_interface(base_dir)


def version():
    project = TREE / "CMakeLists.txt"
    if (HERE / "PKG-INFO").is_file():  # a source distribution
        return re.search(r"^Version: (\S+)", (HERE / "PKG-INFO").read_text(), re.M).group(1)
    return re.search(r"project\(orvex VERSION (\S+)", project.read_text()).group(1)


setup(version=version(),
      cmdclass={"build_py": BuildWithInterface, "sdist": DistributionWithInterface})
