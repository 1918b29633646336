# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import TREE

PACKAGE = TREE / "python"


def run_example(script: str, picture: Path) -> list[str]:
    pytest.importorskip("matplotlib", reason="python3-matplotlib is not installed")
    environment = {**os.environ, "PYTHONPATH": str(PACKAGE), "PYTHONDONTWRITEBYTECODE": "1"}
    done = subprocess.run(
        [sys.executable, PACKAGE / "examples" / script, picture],
        cwd=picture.parent,
        env=environment,
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode == 0, done.stderr
    assert picture.read_bytes().startswith(b"\x89PNG")
    assert os.listdir(picture.parent) == [picture.name]
    return done.stdout.splitlines()


def test_the_31p_example_draws_its_fit(tmp_path: Path) -> None:
    lines = run_example("p31_brain.py", tmp_path / "p31.png")
    creatine = next(line for line in lines if line.startswith("PCr")).split()
    # area of the published fit of these data, and its error
    assert float(creatine[1]) == pytest.approx(4.4349, abs=2 * 0.035)
    assert len(lines) == 19


def test_the_13c_example_draws_four_time_courses(tmp_path: Path) -> None:
    lines = run_example("c13_series/c13_series.py", tmp_path / "c13.png")
    rows = [line.split("\t") for line in lines[1:] if not line.startswith("#")]
    table = np.array(rows, dtype=float)
    assert table.shape == (64, 10)
    time, pyruvate, pyruvate_sd, lactate = table[:, 0], table[:, 1], table[:, 2], table[:, 7]
    np.testing.assert_array_equal(time, 3.0 * np.arange(64))
    # the substrate comes first, its product later and weaker
    assert time[pyruvate.argmax()] < time[lactate.argmax()]
    assert pyruvate.max() > 10.0 * lactate.max() > 100.0
    # before the injection, and at the end, there is nothing: within four error bars
    assert abs(pyruvate[0]) < 4.0 * pyruvate_sd[0]
    assert np.all(np.abs(pyruvate[-8:]) < 4.0 * pyruvate_sd[-8:])
    # the error bars are those of the scatter: 60 differences, known to a tenth; twice that is left
    said = re.findall(r"points ([0-9.]+), error bar ([0-9.]+) ", "\n".join(lines))
    scatter, bars = np.array(said, dtype=float).T
    assert scatter.size == 4
    assert np.sqrt(np.mean(scatter**2) / np.mean(bars**2)) == pytest.approx(1.0, abs=0.2)
