"""Adds to pyproject.toml what only a build knows: the version, which stands in the
tree's CMakeLists.txt, and the files that make the wheel complete in itself.

VXMKIT_WHEEL_FILES names them, parted as in PATH: the built library and, for
vxmkit.draw, the program vxm-explain. They come to lie beside the modules, and the
wheel is marked as one for this system. Without any, the wheel holds Python alone
and looks for an installed library.
"""
import os
import re
import shutil
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution
from wheel.bdist_wheel import bdist_wheel

TREE = Path(__file__).resolve().parents[2]
FILES = [Path(name) for name in os.environ.get("VXMKIT_WHEEL_FILES", "").split(os.pathsep) if name]


def version() -> str:
    text = (TREE / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"project\(vxmkit VERSION ([\d.]+)", text)
    assert found, "no version in CMakeLists.txt"
    return found.group(1)


class BuildWithFiles(build_py):
    def run(self) -> None:
        super().run()
        for file in FILES:
            shutil.copy(file, Path(self.build_lib, "vxmkit", file.name))


class SystemWheel(bdist_wheel):
    """Of one system, and any Python 3 there: nothing is compiled against it."""

    def get_tag(self) -> tuple[str, str, str]:
        tag = super().get_tag()
        return ("py3", "none", tag[2]) if FILES else tag


class SystemDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return bool(FILES)


setup(version=version(), distclass=SystemDistribution,
      cmdclass={"build_py": BuildWithFiles, "bdist_wheel": SystemWheel})
