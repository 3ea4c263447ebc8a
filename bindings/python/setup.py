"""Builds the wheel: the modules and the native library beside them.

There is no extension module: ctypes loads the library, so one wheel serves every Python 3 of a platform. The library is
the one that the environment variable SKEWCORRECTION_LIBRARY names; without it CMake builds one from the tree around.
Everything made on the way lies in a temporary folder, and the tree stays as it was.
"""
import atexit
import os
import pathlib
import re
import shutil
import subprocess
import sysconfig
import tempfile

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

ROOT = pathlib.Path(__file__).resolve().parents[2]
NAME = "libSkewCorrection_Lib.so"
work = pathlib.Path(tempfile.mkdtemp(prefix="skewcorrection-wheel-"))
atexit.register(shutil.rmtree, work, ignore_errors=True)


def version():
    header = (ROOT / "include/skewcorrection/version.h").read_text()
    return ".".join(re.search(rf"define SKEW_VERSION_{part} (\d+)", header)[1] for part in ("MAJOR", "MINOR", "PATCH"))


def library():
    given = os.environ.get("SKEWCORRECTION_LIBRARY")
    if given:
        return pathlib.Path(given)
    build = work / "cmake"
    if not (build / NAME).exists():
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-DCMAKE_BUILD_TYPE=Release"], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "skewcorrection", "--parallel"], check=True)
    return build / NAME


def platform_tag():
    """The oldest C library that has every symbol the library asks for, as manylinux_2_34_x86_64 says it."""
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    wanted = [tuple(map(int, found)) for found in re.findall(rb"GLIBC_(\d+)\.(\d+)", library().read_bytes())]
    if not wanted:
        return platform
    major, minor = max(wanted + [(2, 17)])
    return platform.replace("linux_", f"manylinux_{major}_{minor}_")


class WithLibrary(build_py):
    def run(self):
        super().run()
        shutil.copyfile(library(), pathlib.Path(self.build_lib) / "skewcorrection" / NAME)


class OneForAll(bdist_wheel):
    def get_tag(self):
        return "py3", "none", platform_tag()


class Native(Distribution):
    def has_ext_modules(self):
        return True


setup(version=version(), distclass=Native, cmdclass={"build_py": WithLibrary, "bdist_wheel": OneForAll},
      options={"build": {"build_base": str(work)}, "egg_info": {"egg_base": str(work)}})
