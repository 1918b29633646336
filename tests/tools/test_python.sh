#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The Python package, by its own tests, with the system's Python. Ends with status 77 (skipped) where
# python3-numpy or python3-pytest is not installed.
. "$(dirname "$0")/harness.sh"
python=/usr/bin/python3

for module in numpy pytest; do
    if ! "$python" -c "import $module" 2>/dev/null; then
        echo "skipped: $python has no $module; install python3-$module"
        exit 77
    fi
done

export VAROKEL_PROGRAMS=$programs PYTHONDONTWRITEBYTECODE=1 OPENBLAS_NUM_THREADS=1
expectations=$((expectations + 1))
"$python" -m pytest -q --rootdir "$tree/python" -c "$tree/python/pyproject.toml" \
    --basetemp "$folder/pytest" -rs "$tree/python/tests" || failed "a test of the Python package"
finish
