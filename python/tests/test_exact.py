# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import sys
import types
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import (
    NOISE_SD,
    PEAKS,
    SIDECAR,
    TREE,
    TRUE_AREAS,
    TRUE_GAUSS_HZ,
    TRUE_HZ,
    TRUE_LORENTZ_HZ,
    TRUE_PHASE,
    masked_array,
    two_line_spectrum as spectrum,
    two_lines,
)
from varokel import ExactFit, ExactOptions, FitFailed, FitOptions, Quantity

TRUTH = np.array(
    [
        [TRUE_AREAS[0], TRUE_HZ[0], 0.0, TRUE_PHASE, TRUE_LORENTZ_HZ],
        [TRUE_AREAS[1], TRUE_HZ[1], TRUE_GAUSS_HZ, TRUE_PHASE, 0.0],
    ]
)
def test_values_are_the_truth_within_their_errors() -> None:
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=("sharp", "broad")))
    assert fit.verdict == "optimum" and fit.reasons == () and fit.notes == ()
    assert fit.noise_window == (8, 120)
    assert fit.noise_sd == pytest.approx(NOISE_SD, rel=0.2)  # 112 points: 7 %
    moving = fit.errors > 0.0
    assert moving.sum() == 8  # areas, frequencies, two phases, a width each
    assert np.all(np.abs(fit.values - TRUTH)[moving] < 4.0 * fit.errors[moving])
    np.testing.assert_array_equal(fit.values[~moving], 0.0)
    np.testing.assert_allclose(np.diag(fit.covariance), fit.errors.ravel() ** 2, rtol=1e-12)
    assert np.array_equal(fit.covariance, fit.covariance.T)
    np.testing.assert_allclose(fit.components().sum(axis=0), fit.model(), atol=1e-14)
    squares = np.sum(np.abs(fit.residual()) ** 2) / fit.noise_sd**2
    assert squares == pytest.approx(fit.sum_of_squares, rel=1e-9)
    assert [s.name for s in fit.starts][0] in ("given", "aligned")
    assert fit.entry("broad") == 1
    with pytest.raises(KeyError, match="sharp, broad"):
        fit.entry("Pi")


def test_without_noise_the_values_are_exact() -> None:
    fit = varokel.fit(spectrum(None), two_lines(), ExactOptions(noise_sd=NOISE_SD))
    # a search ends within 1e-3 errors of the optimum, which is the truth
    np.testing.assert_allclose(fit.values, TRUTH, atol=2e-3 * float(fit.errors.max()))
    assert fit.noise_window is None and fit.verdict != "optimum"
    assert [r.number < 0.7 for r in fit.reasons if r.what == "noise_wrong"] == [True]


def test_errors_are_those_of_the_program_at_the_same_place() -> None:
    points = spectrum()
    classic = varokel.fit(points, two_lines(), method="classic")
    exact = varokel.fit(points, two_lines())
    # both one standard deviation; the program writes its bounds with seven digits, in single
    # precision, and ends within a hundredth of a bound here
    np.testing.assert_allclose(exact.area_sd, classic.area_sd, rtol=2e-3)
    np.testing.assert_allclose(exact.frequencies_hz, classic.frequencies_hz, atol=0.02)
    assert np.all(np.abs(exact.areas - classic.areas) < 0.2 * exact.area_sd)


def test_links_keep_ratios_of_areas_and_differences_of_all_else() -> None:
    start = two_lines()  # areas 4 and 2, 432 and 650 Hz
    links = start.links
    links[1, Quantity.AREA] = links[1, Quantity.FREQUENCY] = 1
    fit = varokel.fit(spectrum(), start.with_links(links))
    assert fit.areas[1] == pytest.approx(0.5 * fit.areas[0], rel=1e-14)
    assert fit.area_sd[1] == pytest.approx(0.5 * fit.area_sd[0], rel=1e-14)
    assert fit.frequencies_hz[1] - fit.frequencies_hz[0] == pytest.approx(218.0, abs=1e-9)
    empty = start.values
    empty[0, Quantity.AREA] = 0.0
    with pytest.raises(FitFailed, match="entry 2, area: tied to an area of 0"):
        varokel.fit(spectrum(), start.with_values(empty).with_links(links))


def test_expressions_have_the_error_of_the_covariance() -> None:
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=("sharp", "broad")))
    value, error = fit.derive("broad/sharp")
    a, b = fit.areas
    variance = fit.covariance
    by = np.zeros(10)
    by[0], by[5] = -b / a**2, 1.0 / a
    assert value == pytest.approx(b / a, rel=1e-14)
    assert error == pytest.approx(float(np.sqrt(by @ variance @ by)), rel=1e-9)
    with pytest.raises(ValueError, match='character 1: no entry "Pi"'):
        fit.derive("Pi/sharp")


def test_a_table_of_peaks_and_a_noise_window_that_is_guessed_and_said() -> None:
    fit = varokel.fit(spectrum(), PEAKS, sidecar=SIDECAR)
    assert fit.names == ("sharp", "broad")
    assert fit.noise_window is not None and "guessed" in fit.notes[0]
    first, stop = fit.noise_window
    assert str(first) in fit.notes[0] and fit.notes[0] in str(fit)
    # 64 points: 9 %, and the choice among stretches
    assert fit.noise_sd == pytest.approx(NOISE_SD, rel=0.3)
    real = spectrum()[first:stop].real
    assert fit.noise_sd == pytest.approx(float(real.std()), rel=1e-12)
    np.testing.assert_allclose(fit.areas, TRUE_AREAS, atol=float(4.0 * fit.area_sd.max()))
    np.testing.assert_allclose(fit.ppm, 3.0 + (fit.frequencies_hz - 512.0) / 100.0)
    known = varokel.fit(spectrum(), PEAKS, sidecar=replace(SIDECAR, noise_window=(8, 120)))
    assert known.noise_window == (8, 120)
    assert ["noise" in note for note in known.notes] == [False]  # the interval is guessed
    exact = varokel.PeakTable("interval: 190 to 400 points\n" + PEAKS)
    told = varokel.fit(spectrum(), exact, sidecar=replace(SIDECAR, noise_window=(8, 120)))
    assert told.notes == () and told.verdict == "optimum"
    with pytest.raises(ValueError, match="needs a sidecar"):
        varokel.fit(spectrum(), PEAKS)


def test_a_mask_says_which_points_are_fitted() -> None:
    points = spectrum()
    mask = np.zeros(512, dtype=np.bool_)
    mask[150:400] = True
    spoiled = points.copy()
    spoiled[~mask] += 100.0
    options = ExactOptions(mask=mask, noise_sd=NOISE_SD)
    clean, masked = (varokel.fit(p, two_lines(), options) for p in (points, spoiled))
    assert clean.verdict == "optimum"
    # a search leaves 1e-3 of an error
    assert np.all(np.abs(clean.values - masked.values) <= 2e-3 * clean.errors)
    whole = varokel.fit(spoiled, two_lines(), ExactOptions(noise_sd=NOISE_SD))
    assert whole.verdict != "optimum"
    for wrong in (mask[:100], mask.astype(int), ~np.ones(512, dtype=np.bool_)):
        with pytest.raises(ValueError, match="mask"):
            varokel.fit(points, two_lines(), ExactOptions(mask=wrong))


def test_windows_hold() -> None:
    names = ("sharp", "broad")
    windows = {("sharp", Quantity.LORENTZ_WIDTH): (0.0, 8.0)}
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=names, windows=windows))
    assert fit.values[0, Quantity.LORENTZ_WIDTH] == pytest.approx(8.0, rel=1e-12)
    at_bound = [r for r in fit.reasons if r.what == "at_bound"]
    assert at_bound[0].entries == ("sharp",)
    with pytest.raises(ValueError, match='a window for "Pi"'):
        windows = {("Pi", Quantity.AREA): (0.0, 1.0)}
        varokel.fit(spectrum(), two_lines(), ExactOptions(windows=windows))


def test_masked_arrays_are_refused_and_the_data_of_a_fit_are_its_own() -> None:
    points = spectrum()
    with pytest.raises(ValueError, match="masked"):
        varokel.fit(masked_array(points, 9), two_lines())
    with pytest.raises(ValueError, match="the mask has masked points"):
        mask = masked_array(np.ones(512, dtype=np.bool_), 9)
        varokel.fit(points, two_lines(), ExactOptions(mask=mask, noise_sd=NOISE_SD))
    fit = varokel.fit(points, two_lines())
    points[:] = 0.0
    assert np.all(fit.data[400:] != 0.0)


@pytest.mark.parametrize("bad", [np.nan, np.inf, 1j * np.nan])
def test_points_that_are_not_finite_are_refused(bad: complex) -> None:
    points = spectrum()
    points[7] = bad
    with pytest.raises(ValueError, match="point 7 .* 1 such"):
        varokel.fit(points, two_lines())


def test_what_only_the_programs_do_is_refused_with_their_name() -> None:
    start = two_lines()
    for step in (replace(start.steps[0], part=3), replace(start.steps[0], weighting=7)):
        with pytest.raises(FitFailed, match="--method classic"):
            varokel.fit(spectrum(), replace(start, steps=(step,)))
    with pytest.raises(ValueError, match="does not take"):
        varokel.fit(spectrum(), start, FitOptions())  # type: ignore[call-overload]
    with pytest.raises(ValueError, match="512"):
        varokel.fit(spectrum()[:256], start)
    with pytest.raises(ValueError, match="not 500"):
        varokel.fit(spectrum()[:500], replace(start, points=500))


def test_many_on_threads_are_as_one_alone() -> None:
    data = [spectrum(seed) for seed in range(12)]
    data[3][5] = np.nan
    alone = [None if k == 3 else varokel.fit(points, two_lines()) for k, points in enumerate(data)]
    for workers in (1, 4):
        fits = list(varokel.fit_many(iter(data), two_lines(), workers=workers))
        assert len(fits) == 12
        for number, (fit, expected) in enumerate(zip(fits, alone)):
            if expected is None:
                assert isinstance(fit, FitFailed) and "point 5" in fit.reason
                assert fit.name == f"spectrum {number}"
                continue
            assert isinstance(fit, ExactFit)
            np.testing.assert_array_equal(fit.values, expected.values)
            np.testing.assert_array_equal(fit.covariance, expected.covariance)
    with pytest.raises(ValueError, match="workers"):
        varokel.fit_many(data, two_lines(), workers=0)


def test_errors_are_widened_for_zeros_that_fill_the_decay() -> None:
    plain = varokel.fit(spectrum(), two_lines(), sidecar=SIDECAR)
    filled = varokel.fit(spectrum(), two_lines(), sidecar=replace(SIDECAR, measured_points=128))
    assert plain.error_factor == 1.0 and filled.error_factor == 2.0
    np.testing.assert_allclose(filled.errors, 2.0 * plain.errors)
    np.testing.assert_allclose(filled.covariance, 4.0 * plain.covariance)
    assert filled.derive("#1/#2")[1] == pytest.approx(2.0 * plain.derive("#1/#2")[1])
    assert filled.notes == (
        "128 of 512 points were measured, the others are zeros: errors are 2 times as large",
    )


def test_a_table_for_pandas(monkeypatch: pytest.MonkeyPatch) -> None:
    stand_in = types.ModuleType("pandas")
    setattr(stand_in, "DataFrame", dict)
    monkeypatch.setitem(sys.modules, "pandas", stand_in)
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=("sharp", "broad")))
    table = fit.to_dataframe()
    assert isinstance(table, dict) and len(table) == 12
    assert table["name"] == ("sharp", "broad") and table["type"] == ["lorentz", "gauss"]
    np.testing.assert_array_equal(table["area"], fit.areas)
    np.testing.assert_array_equal(table["area_sd"], fit.area_sd)


def test_a_table_of_many_fits_has_a_row_for_each_entry(monkeypatch: pytest.MonkeyPatch) -> None:
    stand_in = types.ModuleType("pandas")
    setattr(stand_in, "DataFrame", dict)
    monkeypatch.setitem(sys.modules, "pandas", stand_in)
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=("sharp", "broad")))
    table = varokel.to_dataframe([fit, None, ValueError("no fit"), fit])
    assert isinstance(table, dict)
    assert table["spectrum"] == [fit.name] * 4 and table["name"] == ["sharp", "broad"] * 2
    assert table["area"] == [*fit.areas, *fit.areas] and table["area_sd"][:2] == list(fit.area_sd)
    assert {len(column) for column in table.values()} == {4}


def test_a_picture_shows_data_fit_components_residual_and_noise(tmp_path: Path) -> None:
    pytest.importorskip("matplotlib")
    fit = varokel.fit(spectrum(), two_lines(), ExactOptions(names=("sharp", "broad")))
    assert fit.noise_window is not None  # guessed, where nobody gave one
    from matplotlib.figure import Figure

    figure = varokel.plot(fit)
    assert isinstance(figure, Figure)
    upper, lower = figure.axes
    labels = [line.get_label() for line in upper.lines]
    assert labels == ["data", "fit", "sharp", "broad"]
    data, model = (line.get_ydata() for line in upper.lines[:2])
    np.testing.assert_allclose(lower.lines[0].get_ydata(), data - model, atol=1e-12)
    parts = np.sum([line.get_ydata() for line in upper.lines[2:]], axis=0)
    np.testing.assert_allclose(parts, model, atol=1e-9 * np.max(np.abs(model)))
    figure.savefig(tmp_path / "fit.png")
    figure = varokel.plot(fit, part="magnitude", components=False)
    assert isinstance(figure, Figure)
    size = figure.axes[0].lines[0].get_ydata()
    np.testing.assert_allclose(size, np.abs(fit.data))
    with pytest.raises(ValueError, match="expected real"):
        varokel.plot(fit, part="both")


def test_a_folder_without_the_library_is_named(tmp_path: Path) -> None:
    with pytest.raises(varokel.LibraryMissing, match=str(tmp_path)):
        varokel.fit(spectrum(), two_lines(), ExactOptions(programs=tmp_path))
    (tmp_path / "libvarokel.so.2").write_text("no library")
    with pytest.raises(varokel.LibraryMissing, match="cannot be loaded"):
        varokel.fit(spectrum(), two_lines(), ExactOptions(programs=tmp_path))


def test_the_script_that_opens_the_readme(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    page = (TREE / "python" / "README.md").read_text()
    script = page.split("```python\n")[1].split("```")[0]
    assert len(script.splitlines()) <= 12
    time = np.arange(1024) * 2e-4
    turns = np.exp(0.5j + 2j * np.pi * np.outer([0.0, 4.85 * 49.9], time))
    lines = np.exp(-np.pi * np.outer([8.0, 25.0], time)) * turns
    noise = np.random.default_rng(5).standard_normal((2, 1024))
    fid = 12.0 * lines[0] + 4.0 * lines[1] + 0.2 * (noise[0] + 1j * noise[1])
    np.save(tmp_path / "phosphorus.npy", fid)
    monkeypatch.chdir(tmp_path)
    exec(compile(script, "README.md", "exec"), {})
    printed = capsys.readouterr().out.splitlines()
    assert "optimum" in printed[0] and "guessed noise" in printed[1]
    areas = [line for line in printed if " area " in line]
    assert len(areas) == 2
    for line, name, truth in zip(areas, ("PCr", "Pi"), (12.0, 4.0)):
        words = line.split()
        assert words[0] == name
        assert float(words[2]) == pytest.approx(truth, abs=4.0 * float(words[4]))
        assert 0.0 < float(words[4]) < 0.05 * truth
    ratio = printed[-1].split()
    assert float(ratio[1]) == pytest.approx(1.0 / 3.0, abs=4.0 * float(ratio[3]))
