"""The Python package as a wheel: pip install . --no-build-isolation

CMake builds it (CMAKE_ARGS holds options for it), or it is taken from a build directory that has it
already, QELVM_PYTHON_BUILD_DIR.
"""
import os
import pathlib
import re
import shlex
import subprocess
import sys

import numpy
from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

source = pathlib.Path(__file__).resolve().parent
header = (source / "include/qelvm.h").read_text()
version = ".".join(re.findall(r"#define QELVM_(?:VERSION|BUILD)_(?:MAJOR|MINOR|NUMBER) +(\d+)", header))
# What is built with one major version of NumPy's headers runs with that one (and 2 also with 1).
numpys = "numpy>=1.23,<2" if int(numpy.__version__.split(".")[0]) < 2 else "numpy>=1.23"


class CMakeBuild(build_ext):
    def run(self):
        given = os.environ.get("QELVM_PYTHON_BUILD_DIR")
        tree = given or os.path.join(self.build_temp, "cmake")
        if not given:
            options = ["-DQELVM_PYTHON=ON", f"-DQELVM_PYTHON_INTERPRETER={sys.executable}"]
            options += [f"-DQELVM_{part}=OFF" for part in ("TESTS", "BENCH", "TOOL", "EXAMPLES")]
            options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
            subprocess.run(["cmake", "-S", source, "-B", tree, *options], check=True)
            subprocess.run(["cmake", "--build", tree, "--parallel", str(os.cpu_count())], check=True)
        target = source / "python" if self.inplace else pathlib.Path(self.build_lib)
        subprocess.run(["cmake", "--install", tree, "--component", "wheel", "--prefix", target.resolve()],
                       check=True)


setup(
    name="qelvm",
    version=version,
    description="NumPy ufuncs with the same bits on every platform and processor",
    long_description=(source / "docs/python.md").read_text(),
    long_description_content_type="text/markdown",
    license_files=["LICENSE"],
    python_requires=">=3.9",
    install_requires=[numpys],
    packages=["qelvm"],
    package_dir={"": "python"},
    ext_modules=[Extension("qelvm._ufuncs", ["python/ufuncs.cpp"], py_limited_api=True)],
    cmdclass={"build_ext": CMakeBuild},
    options={"build": {"build_base": "build/wheel"}, "bdist_wheel": {"py_limited_api": "cp39"}},
    zip_safe=False,
)
