"""Builds the Python package by CMake. RECTILINE_BUILD_DIR names a build folder that is complete."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def version() -> str:
    match = re.search(r"project\(rectiline VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())
    assert match, "CMakeLists.txt names the version"
    return match[1]


class CMakeBuild(build_ext):
    """The extension module, librectiline.so and the package's sources, as CMake installs them."""

    def run(self) -> None:
        given = os.environ.get("RECTILINE_BUILD_DIR")
        build = Path(given or self.build_temp).resolve()
        if not given:
            self.build_with_cmake(build)
        package = Path(self.get_ext_fullpath("rectiline._core")).resolve().parent
        for component in ("python", "wheel"):
            place = build / "wheel"
            subprocess.run(
                ["cmake", "--install", build, "--component", component, "--prefix", place],
                check=True,
            )
        self.copy_tree(str(place / self.folder(build) / "rectiline"), str(package))

    def build_with_cmake(self, build: Path) -> None:
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            "-DRECTILINE_BUILD_PYTHON=ON",
            "-DRECTILINE_BUILD_TESTS=OFF",
            "-DRECTILINE_BUILD_TOOL=OFF",
            f"-DPython_EXECUTABLE={sys.executable}",
        ]
        subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", build, *options], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "rectiline_python"], check=True)

    def folder(self, build: Path) -> str:
        """Where CMake installs packages below the prefix."""
        match = re.search(
            r"RECTILINE_PYTHON_DIR:STRING=(.*)", (build / "CMakeCache.txt").read_text()
        )
        assert match, "python/CMakeLists.txt names the folder"
        return match[1]


setup(
    version=version(),
    packages=["rectiline"],
    package_dir={"": "python"},
    ext_modules=[Extension("rectiline._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
