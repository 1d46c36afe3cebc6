"""The wheel carries the library, the presets and the licence: the library that $SONX_LIBRARY names, or one that is
built for it here. SONX_LIBRARY=system leaves both out, for a system that has them installed."""

import os
import re
import shutil
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
TOP = HERE.parent
LIBRARY = "libsonx_rack.so.1"
CHOSEN = os.environ.get("SONX_LIBRARY", "")


def version() -> str:
    text = (TOP / "src/version.h").read_text()
    return ".".join(re.findall(r"^#define SONX_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$", text, re.MULTILINE))


def build_library(folder: Path) -> Path:
    """With the C++ library inside, so that the system's may be older."""
    subprocess.run(
        ["cmake", "-S", TOP, "-B", folder, "-DCMAKE_BUILD_TYPE=Release",
         *(f"-DSONX_{part}=OFF" for part in ("TESTS", "TOOLS", "BENCHMARKS", "LV2")),
         "-DCMAKE_SHARED_LINKER_FLAGS=-static-libstdc++ -static-libgcc -s"], check=True)
    subprocess.run(["cmake", "--build", folder, "--parallel", "--target", "sonx_rack"], check=True)
    return folder


class BuildWithLibrary(build_py):
    def run(self) -> None:
        super().run()
        if CHOSEN == "system":
            return
        found = Path(CHOSEN) if CHOSEN else build_library(Path(self.build_lib, "../library").resolve())
        package = Path(self.build_lib, "sonx")
        shutil.copy(found / LIBRARY if found.is_dir() else found, package / LIBRARY)
        (package / "presets").mkdir(exist_ok=True)
        for preset in TOP.glob("presets/*.toml"):
            shutil.copy(preset, package / "presets")


class Binary(Distribution):
    def has_ext_modules(self) -> bool:
        return CHOSEN != "system"


class Wheel(bdist_wheel):
    """For any Python on this kind of machine."""

    def get_tag(self) -> tuple[str, str, str]:
        return ("py3", "none", super().get_tag()[2])

    def egg2dist(self, egginfo_path: str, distinfo_path: str) -> None:
        super().egg2dist(egginfo_path, distinfo_path)
        shutil.copy(TOP / "LICENSE", distinfo_path)


setup(
    version=version(),
    distclass=Binary,
    packages=["sonx"],
    package_data={"sonx": ["py.typed", "*.pyi"]},
    cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": Wheel},
)
