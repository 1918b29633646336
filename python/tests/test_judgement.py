# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import two_line_fid, two_lines
from varokel import FitOptions, Sidecar

NAMES = FitOptions(names=("sharp", "broad"))


def test_a_fit_comes_with_the_judgement_of_its_report(tmp_path: Path) -> None:
    folder = tmp_path / "run"
    fit = varokel.fit_fid(two_line_fid(), two_lines(), replace(NAMES, folder=folder))
    assert fit.judgement is not None
    assert fit.judgement == varokel.read_judgement(folder, "spectrum")
    assert fit.judgement.status == "converged"
    assert fit.judgement.level in ("none", "note", "amber", "red")
    assert fit.judgement.has("no_ppm")  # arrays have no axis
    assert len(fit.judgement.warnings) == len(fit.judgement.findings)


def test_a_noise_window_on_a_line_is_red() -> None:
    start = two_lines()
    at = round(start.entries[0].frequency.value / start.hz_per_point)
    wrong = replace(start, noise_window=(at - 20, at + 20))
    fit = varokel.fit_fid(two_line_fid(), wrong, NAMES)
    assert fit.judgement is not None
    assert fit.judgement.level == "red" and fit.judgement.has("noise_wrong")
    assert fit.summary.quality < 0.7


def test_errors_are_widened_where_zeros_were_filled_in() -> None:
    start = two_lines()
    plain = varokel.fit_fid(two_line_fid(), start, NAMES)
    sidecar = Sidecar(start.points, start.hz_per_point, measured_points=start.points // 2)
    filled = varokel.fit_fid(two_line_fid(), start, NAMES, sidecar=sidecar)
    assert sidecar.error_factor == pytest.approx(np.sqrt(2.0))
    np.testing.assert_allclose(filled.errors, np.sqrt(2.0) * plain.errors, rtol=1e-12)
    np.testing.assert_array_equal(filled.values, plain.values)
    assert filled.judgement is not None and filled.judgement.has("filled")
    assert plain.judgement is not None and not plain.judgement.has("filled")


@pytest.mark.parametrize(
    "measured, factor", [(1, 512**0.5), (128, 2.0), (511, (512 / 511) ** 0.5), (512, 1.0), (513, 1.0)]
)
def test_the_factor_of_errors_is_that_of_the_programs(measured: int, factor: float) -> None:
    sidecar = Sidecar(512, 2.0, measured_points=measured)
    assert sidecar.error_factor == pytest.approx(factor, rel=1e-15)
    assert Sidecar(512, 2.0).error_factor == 1.0
    with pytest.raises(varokel.VarokelError, match="measured_points"):
        Sidecar(512, 2.0, measured_points=-measured).error_factor


def test_without_the_report_there_is_no_judgement(tmp_path: Path) -> None:
    folder = tmp_path / "run"
    varokel.fit_fid(two_line_fid(), two_lines(), replace(NAMES, folder=folder))
    fit = varokel.read_fit(folder, programs=tmp_path)
    assert fit.judgement is None
