# SPDX-License-Identifier: BSD-3-Clause
"""Tables of peaks and start files in process: their windows, noise windows, patterns, mistakes."""

from __future__ import annotations

from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import (
    PEAKS,
    SIDECAR,
    TRUE_AREAS,
    TRUE_GAUSS_HZ,
    TRUE_HZ,
    TRUE_LORENTZ_HZ,
    TRUE_PHASE,
    two_line_fid,
    two_line_spectrum as spectrum,
    two_lines,
)
from varokel import ExactOptions, FitFailed, FitOptions, Quantity


def test_windows_of_a_table_hold() -> None:
    sidecar = replace(SIDECAR, noise_window=(8, 120))
    table = "interval: 190 to 400 points\n" + PEAKS
    free = varokel.fit(spectrum(), table, sidecar=sidecar)
    assert free.verdict == "optimum" and free.areas[0] > 4.9
    for window, edge in (("4 [0, 4.5]", 4.5), ("4 < 4.25", 4.25), ("4 +- 0.5", 4.5)):
        windowed = table.replace("4     2.20", window + "  2.20")
        fit = varokel.fit(spectrum(), windowed, sidecar=sidecar)
        assert fit.areas[0] == pytest.approx(edge, rel=1e-12) and fit.area_sd[0] == 0.0
        assert ["sharp"] == [e for r in fit.reasons if r.what == "at_bound" for e in r.entries]
        # a window of the options takes the place of the table's
        wider = ExactOptions(windows={("sharp", Quantity.AREA): (0.0, 10.0)})
        assert varokel.fit(spectrum(), windowed, wider, sidecar=sidecar).verdict == "optimum"
    inside = varokel.fit(spectrum(), table.replace("4     2.20", "4 > 0  2.20"), sidecar=sidecar)
    np.testing.assert_allclose(inside.values, free.values, atol=2e-3 * float(free.errors.max()))


def test_the_noise_window_of_a_table_counts_for_more_than_that_of_the_sidecar() -> None:
    table = "noise: 20 to 99 points\ninterval: 190 to 400 points\n" + PEAKS
    for sidecar in (SIDECAR, replace(SIDECAR, noise_window=(8, 120))):
        fit = varokel.fit(spectrum(), table, sidecar=sidecar)
        assert fit.noise_window == (20, 100) and fit.notes == ()
        assert fit.noise_sd == pytest.approx(float(spectrum()[20:100].real.std()), rel=1e-12)


def test_a_reference_of_the_table_sets_its_axis() -> None:
    noise = "noise: 8 to 120 points\ninterval: 190 to 400 points\n"
    peaks = PEAKS.replace("2.20 ", "2.20 +- 0.1  ")  # holds on the right axis only
    right = varokel.fit(spectrum(), noise + peaks, sidecar=SIDECAR)
    off = replace(SIDECAR, ppm_at_carrier=3.4)  # the sharp line stands at 2.18, not 2.58 ppm
    assert varokel.fit(spectrum(), noise + peaks, sidecar=off).verdict != "optimum"
    moved = varokel.fit(spectrum(), noise + "reference: 2.18 +- 0.6 ppm\n" + peaks, sidecar=off)
    assert moved.verdict == "optimum"
    np.testing.assert_allclose(moved.values, right.values, atol=2e-3 * float(right.errors.max()))
    with pytest.raises(FitFailed, match="ppm"):
        no_axis = replace(SIDECAR, spectrometer_mhz=None)
        varokel.fit(spectrum(), "reference: 2.18 ppm\n" + PEAKS, sidecar=no_axis)


@pytest.mark.parametrize(
    "wrong, said",
    [
        ("sharp   lorentz", "peaks.txt:1:1: "),
        (PEAKS.replace("2.20 ", "2.2x "), "peaks.txt:2:37: found .x."),
        (PEAKS.replace("=sharp", "=dull"), "peaks.txt:3:74: tied to dull"),
        (PEAKS.replace("4     2.20", "4 [9, 8 2.20"), "peaks.txt:2:"),
        (PEAKS.replace("broad  gauss ", "broad  square"), "peaks.txt:3:.*square"),
        (PEAKS + "\n# \0", "zero byte"),
        ("", "no rows"),
        ("noise: 500 to 600 points\n" + PEAKS, "peaks.txt:1:8: .* 0 to 511"),
        (PEAKS.replace("4     2.20", "nan   2.20"), 'peaks.txt:2:28: found "nan"'),
        (PEAKS.replace("4     2.20", "1e999   2.20"), 'peaks.txt:2:28: found "1e999'),
    ],
)
def test_a_mistake_of_a_table_is_told_with_its_place(wrong: str, said: str) -> None:
    with pytest.raises((FitFailed, ValueError), match=said):
        varokel.fit(spectrum(), varokel.PeakTable(wrong), sidecar=SIDECAR)


EDGE = ("sharp", Quantity.AREA)


@pytest.mark.parametrize(
    "options, sidecar, said",
    [
        (ExactOptions(noise_sd=np.nan), SIDECAR, "noise standard deviation"),
        (ExactOptions(noise_sd=-1.0), SIDECAR, "noise standard deviation"),
        (ExactOptions(noise_sd=1e-300), SIDECAR, "not finite where the fit begins"),
        (ExactOptions(noise_window=(0, 1)), SIDECAR, "noise window from point 0 to 0"),
        (ExactOptions(noise_window=(500, 600)), SIDECAR, "noise window from point 500 to 599"),
        (ExactOptions(noise_window=(-5, 60)), SIDECAR, "noise_window.first"),
        (ExactOptions(windows={EDGE: (np.nan, 2.0)}), SIDECAR, "sharp: area has an empty window"),
        (ExactOptions(windows={EDGE: (9.0, 2.0)}), SIDECAR, "sharp: area has an empty window"),
        (ExactOptions(starts=-1), SIDECAR, "-1 starts"),
        (ExactOptions(most_linearizations=0), SIDECAR, "0 linearizations"),
        (ExactOptions(), replace(SIDECAR, hz_per_point=0.0), "hz_per_point"),
        (ExactOptions(), replace(SIDECAR, spectrometer_mhz=np.nan), "no valid JSON"),
        (ExactOptions(), replace(SIDECAR, points=1024), "512 points, but the sidecar has 1024"),
    ],
)
def test_bad_values_beside_the_table_are_refused_with_a_reason(
    options: ExactOptions, sidecar: varokel.Sidecar, said: str
) -> None:
    with pytest.raises((FitFailed, ValueError), match=said):
        varokel.fit(spectrum(), PEAKS, options, sidecar=sidecar)


@pytest.mark.parametrize("factor", [0.0, 1e-300, 1e-30, 1e30, 1e300])
def test_spectra_of_any_size_give_a_fit_or_a_reason(factor: float) -> None:
    open_areas = PEAKS.replace("4     2.20", "?     2.20").replace("2     4.38", "?     4.38")
    if factor in (1e-30, 1e30):
        fit = varokel.fit(factor * spectrum(), open_areas, sidecar=SIDECAR)
        assert fit.verdict == "optimum"
        assert np.all(np.abs(fit.areas / factor - TRUE_AREAS) < 4.0 * fit.area_sd / factor)
        return
    with pytest.raises((FitFailed, ValueError), match="noise|within single|is 0 in"):
        varokel.fit(factor * spectrum(), open_areas, sidecar=SIDECAR)


def test_a_mistake_of_a_start_file_is_told_with_its_line(tmp_path: Path) -> None:
    file = tmp_path / "mine.par"
    text = two_lines().to_text()
    file.write_text(text.replace("nLines 2", "nLines two"))
    with pytest.raises(FitFailed, match='mine.par:5: found "two"; expected'):
        varokel.fit(spectrum(), file)
    with pytest.raises(FitFailed, match='start file:5: found "two"; expected'):
        varokel.fit(spectrum(), file.read_text())
    file.write_bytes(text.encode() + b"\xff\xfe")  # behind the end nobody reads
    assert varokel.fit(spectrum(), file).verdict == "optimum"
    with pytest.raises(FileNotFoundError):
        varokel.fit(spectrum(), tmp_path / "nothing.par")


def test_a_thousand_entries_and_none() -> None:
    rows = [f"l{k}  lorentz  =l0  fixed {0.5 + 0.005 * k:.3f}  -  =l0  =l0" for k in range(1, 1000)]
    head = "name  type  area  frequency[ppm]  gauss[Hz]  lorentz[Hz]  phase[deg]\n"
    first = "l0  lorentz  0.1  fixed 0.5  -  8  0\n"
    table = "noise: 8 to 120 points\n" + head + first + "\n".join(rows)
    fit = varokel.fit(spectrum(), table, sidecar=SIDECAR)
    assert fit.names[999] == "l999" and fit.values.shape == (1000, 5)
    assert fit.verdict == "misfit" and np.all(np.isfinite(fit.values))
    np.testing.assert_array_equal(fit.areas, fit.areas[0])
    with pytest.raises(FitFailed, match="no rows"):
        varokel.fit(spectrum(), head, sidecar=SIDECAR)
    with pytest.raises(FitFailed, match="no lines and no patterns"):
        varokel.fit(spectrum(), replace(two_lines(), entries=()))


def start_of_pattern(file: str) -> varokel.StartFile:
    """Start values of one pattern, a little off in area, place and phase."""
    entry = varokel.Entry(
        varokel.EntryType.PATTERN,
        area=varokel.Parameter(0.4),
        frequency=varokel.Parameter(1.0),
        gauss_width=varokel.Parameter(0.0, 1),
        phase=varokel.Parameter(2.0),
        lorentz_width=varokel.Parameter(0.0, 1),
        pattern_file=file,
    )
    return replace(two_lines(), entries=(entry,))


def test_patterns_have_the_areas_of_the_program() -> None:
    fid = two_line_fid(seed=None)
    noisy = two_line_fid()
    pattern = 2.0 * varokel.pattern_of_fid(fid)  # a stored decay need not begin with 1
    start = start_of_pattern("both.bin")
    points = varokel.spectrum_of_fid(noisy)
    patterns = {"both.bin": pattern}
    classic = varokel.fit(points, start, FitOptions(patterns=patterns), method="classic")
    exact = varokel.fit(points, start, ExactOptions(patterns=patterns))
    assert exact.verdict == "optimum"
    assert exact.areas[0] == pytest.approx(0.5, abs=4.0 * exact.area_sd[0])
    assert abs(exact.areas[0] - classic.areas[0]) < 0.2 * exact.area_sd[0]
    np.testing.assert_allclose(exact.area_sd, classic.area_sd, rtol=5e-3)
    assert exact.frequencies_hz[0] == pytest.approx(0.0, abs=4.0 * exact.errors[0, 1])
    with pytest.raises(ValueError, match="no contents given for pattern both.bin"):
        varokel.fit(points, start)


def test_text_patterns_are_those_of_their_lines(tmp_path: Path) -> None:
    start = start_of_pattern("both.pat")
    text = f"""start_pattern
number_of_lines 2
parameters name line_type area frequency gauss_width zero_phase lorentz_width
sharp lorentz {TRUE_AREAS[0]} {TRUE_HZ[0]} {TRUE_PHASE} {TRUE_LORENTZ_HZ}
broad gauss {TRUE_AREAS[1]} {TRUE_HZ[1]} {TRUE_GAUSS_HZ} {TRUE_PHASE}
comment
end_of_pattern
"""
    file = tmp_path / "any.pat"
    file.write_text(text)
    points = varokel.spectrum_of_fid(two_line_fid())
    stored = varokel.pattern_of_fid(two_line_fid(seed=None))
    as_points = replace(start, entries=(replace(start.entries[0], pattern_file="both.bin"),))
    wanted = varokel.fit(points, as_points, ExactOptions(patterns={"both.bin": stored}))
    contents: tuple[str | Path, ...] = (text, file)
    for content in contents:
        fit = varokel.fit(points, start, ExactOptions(patterns={"both.pat": content}))
        # numbers of a text have single precision
        assert np.all(np.abs(fit.values - wanted.values)[wanted.errors > 0] < 1e-4)
        np.testing.assert_allclose(fit.errors, wanted.errors, rtol=1e-4)
    for wrong, said in (
        (text.replace("broad gauss", "broad square"), "expected voigt, lorentz or gauss"),
        (text.replace("number_of_lines 2", "number_of_lines 3"), "expected voigt"),
        (text.replace("number_of_lines 2", "number_of_lines 5000"), "0 to 4096"),
        (text.replace(str(TRUE_HZ[0]), "x"), 'both.pat: found "x"; expected a number'),
    ):
        with pytest.raises(FitFailed, match=said):
            varokel.fit(points, start, ExactOptions(patterns={"both.pat": wrong}))
    nothing = "start_pattern number_of_lines 0 p n t a f g z lorentz_width comment end_of_pattern"
    with pytest.raises(FitFailed, match="both.pat: the pattern's first point of time is 0"):
        varokel.fit(points, start, ExactOptions(patterns={"both.pat": nothing}))
