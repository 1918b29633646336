# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import os
import time
from collections.abc import Callable, Iterator
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import two_line_fid, two_lines
from varokel import ComplexArray, Fit, FitFailed, FitOptions, Start


def spectra(count: int) -> list[ComplexArray]:
    return [varokel.spectrum_of_fid(two_line_fid(seed=seed)) for seed in range(count)]


def test_results_come_in_order_and_do_not_depend_on_the_workers() -> None:
    data = spectra(6)
    alone = [varokel.fit_spectrum(points, two_lines()).values for points in data]
    for workers in (1, 3):
        fits = list(varokel.fit_many(data, two_lines(), method="classic", workers=workers))
        assert len(fits) == 6
        for fit, expected in zip(fits, alone):
            assert isinstance(fit, Fit)
            np.testing.assert_array_equal(fit.values, expected)
            assert fit.log == ""


def test_a_faulty_spectrum_is_told_and_the_rest_goes_on() -> None:
    data = spectra(4)
    data[1] = data[1].copy()
    data[1][7] = np.inf
    data[2] = data[2][:100]

    def start_of(number: int) -> Start:
        return two_lines() if number < 3 else two_lines().to_text().replace("nLines 2", "nLines -2")

    results = list(varokel.fit_many(data, start_of, method="classic", workers=2))
    assert isinstance(results[0], Fit)
    for number, reason in ((1, "point 7"), (2, "100 points"), (3, "nLines")):
        failure = results[number]
        assert isinstance(failure, FitFailed) and reason in failure.reason
        assert failure.name == f"spectrum {number}"


def test_memory_stays_flat_spectra_are_read_as_the_work_goes_on() -> None:
    taken = 0

    def endless() -> Iterator[ComplexArray]:
        nonlocal taken
        points = varokel.spectrum_of_fid(two_line_fid())
        while True:
            taken += 1
            yield points

    fits = varokel.fit_many(endless(), two_lines(), FitOptions(with_signals=False), method="classic", workers=2)
    first = next(iter(fits))
    assert isinstance(first, Fit) and first.signals is None
    assert taken <= 10


def test_leaving_early_ends_the_programs(
    tmp_path: Path, stand_in: Callable[[str, str], Path]
) -> None:
    pids = tmp_path / "pids"
    folder = stand_in("varokel", f'echo $$ >>"{pids}"; [ -e ../first ] || exec sleep 60')
    fits = varokel.fit_many(
        iter(spectra(2) * 5), two_lines(), FitOptions(programs=folder, timeout=1.0),
        method="classic",
        workers=2,
    )
    failure = next(iter(fits))  # the first two take their second, then others begin
    assert isinstance(failure, FitFailed) and "longer" in failure.reason
    close = getattr(fits, "close")
    began = time.monotonic()
    close()
    assert time.monotonic() - began < 0.9
    started = [int(word) for word in pids.read_text().split()]
    assert len(started) >= 2
    for pid in started:
        with pytest.raises(ProcessLookupError):
            os.kill(pid, 0)


def test_a_folder_keeps_a_run_folder_for_each(tmp_path: Path) -> None:
    fits = list(varokel.fit_many(spectra(2), two_lines(), FitOptions(folder=tmp_path / "runs"), method="classic"))
    assert sorted(os.listdir(tmp_path / "runs")) == ["000000", "000001"]
    again = varokel.read_fit(tmp_path / "runs" / "000001")
    last = fits[1]
    assert isinstance(last, Fit)
    np.testing.assert_array_equal(again.values, last.values)


def test_wrong_counts_and_missing_programs_are_said_at_once(tmp_path: Path) -> None:
    with pytest.raises(ValueError, match="0 workers"):
        varokel.fit_many([], two_lines(), workers=0)
    with pytest.raises(varokel.ProgramMissing):
        varokel.fit_many([], two_lines(), FitOptions(programs=tmp_path), method="classic")
    assert list(varokel.fit_many([], two_lines(), method="classic")) == []
