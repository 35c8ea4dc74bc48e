"""Adds to pyproject.toml what only a build knows: the version, which stands in the
library's CMakeLists.txt, and the files that make the wheel complete in itself.

VXMKIT_WHEEL_FILES names them, parted as in PATH: the built library and, for
vxmkit.draw, the program vxm-explain. They come to lie beside the modules, and the
wheel is marked as one for their system, VXMKIT_WHEEL_PLATFORM. Without any, a source
distribution builds the library from the sources that it has (with CMake and a C++
compiler), and from the tree comes a wheel that holds Python alone and looks for an
installed library.
"""
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
SOURCES = HERE / "library"  # in a source distribution
FILES = [Path(name) for name in os.environ.get("VXMKIT_WHEEL_FILES", "").split(os.pathsep) if name]
COMPLETE = bool(FILES) or SOURCES.exists()


def version() -> str:
    tree = SOURCES if SOURCES.exists() else HERE.parents[1]
    text = (tree / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"project\(vxmkit VERSION ([\d.]+)", text)
    assert found, "no version in CMakeLists.txt"
    return found.group(1)


def build_libraries(folder: Path) -> list[Path]:
    """The libraries, built from the sources in a source distribution."""
    subprocess.run(["cmake", "-S", SOURCES, "-B", folder, "-DCMAKE_BUILD_TYPE=Release",
                    "-DVXM_BUILD_APPS=OFF", "-DVXM_BUILD_TESTS=OFF", "-DVXM_POSTGRES=OFF"],
                   check=True)
    subprocess.run(["cmake", "--build", folder, "--config", "Release", "--parallel",
                    "--target", "vxmkit", "vxmrecords"], check=True)
    return [file for file in folder.rglob("*")
            if re.fullmatch(r"libvxm\w+\.so\.\d+|vxm\w+\.dll", file.name)]


class BuildWithFiles(build_py):
    def run(self) -> None:
        super().run()
        package = Path(self.build_lib, "vxmkit")
        with tempfile.TemporaryDirectory() as folder:
            for file in FILES or (build_libraries(Path(folder)) if COMPLETE else []):
                shutil.copy(file, package / file.name)


class SystemWheel(bdist_wheel):
    """Of one system, and any Python 3 there: nothing is compiled against it."""

    def get_tag(self) -> tuple[str, str, str]:
        tag = super().get_tag()
        platform = os.environ.get("VXMKIT_WHEEL_PLATFORM", tag[2])
        return ("py3", "none", platform) if COMPLETE else tag


class SystemDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return COMPLETE


setup(version=version(), distclass=SystemDistribution,
      cmdclass={"build_py": BuildWithFiles, "bdist_wheel": SystemWheel})
