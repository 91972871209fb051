#!/usr/bin/env bash
# The wheel in a virtual environment: made from the build, or from the sources alone where no build is
# given (the plain library then, which is built in a minute).
# usage: package_test.sh SOURCE_DIRECTORY INTERPRETER [BUILD_DIRECTORY]
set -euo pipefail
source=$1 interpreter=$2 build=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ -n "$build" ]; then
  export QELVM_PYTHON_BUILD_DIR=$build
else
  export CMAKE_ARGS="-DQELVM_WIDE=OFF -G Ninja"
fi
unset PYTHONPATH
"$interpreter" -m venv --system-site-packages --without-pip "$work/venv"
python=$work/venv/bin/python
# A copy, for setuptools writes beside the sources.
mkdir "$work/source" && cd "$source"
cp -R setup.py pyproject.toml CMakeLists.txt LICENSE cmake docs families include loader peers python src \
  "$work/source"
cd "$work"
"$python" -m pip wheel -q --no-build-isolation --no-index --no-deps -w wheels ./source
ls wheels/qelvm-*-cp39-abi3-*.whl
"$python" -m pip install -q --no-index --no-deps wheels/*.whl
# What is in the wheel is all it needs, but for NumPy.
"$python" -c "import qelvm, sys; path = qelvm.library().path; print(path); sys.exit(sys.prefix not in path)"
"$python" "$source/tests/python/python_test.py" "$source" 2>&1
"$python" -m pip uninstall -q -y qelvm
left=$(find "$work/venv" -path '*qelvm*')
[ -z "$left" ] || { echo "left behind: $left" && false; }
