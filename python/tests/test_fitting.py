# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import os
from collections.abc import Callable
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import (
    NOISE_SD,
    TRUE_AREAS,
    TRUE_GAUSS_HZ,
    TRUE_HZ,
    TRUE_LORENTZ_HZ,
    TRUE_PHASE,
    two_line_fid,
    two_lines,
)
from varokel import Entry, EntryType, FitOptions, Parameter, PatternContent, Sidecar


def test_a_decay_of_known_lines_gives_them_back_within_the_errors() -> None:
    fit = varokel.fit_fid(two_line_fid(), two_lines(), FitOptions(names=("sharp", "broad")))
    assert fit.names == ("sharp", "broad") and fit.entry("broad") == 1
    # four standard deviations: one false alarm in some thousand seeds, and this seed is one
    assert np.all(np.abs(fit.areas - TRUE_AREAS) < 4.0 * fit.area_sd)
    assert np.all(np.abs(fit.frequencies_hz - TRUE_HZ) < 4.0 * fit.frequency_sd_hz)
    assert np.all(fit.area_sd > 0.0) and np.all(fit.area_sd < 0.05 * TRUE_AREAS)
    phase_sd = fit.errors[0, varokel.Quantity.PHASE]
    assert np.all(np.abs(fit.phases_degrees - TRUE_PHASE) < 4.0 * phase_sd)
    # widths come in Hz, whatever the file's unit: a tenth of them is four of their errors and more
    assert fit.lorentz_widths_hz[0] == pytest.approx(TRUE_LORENTZ_HZ, rel=0.1)
    assert fit.gauss_widths_hz[1] == pytest.approx(TRUE_GAUSS_HZ, rel=0.1)
    assert fit.values[0, varokel.Quantity.LORENTZ_WIDTH] == pytest.approx(
        fit.lorentz_widths_hz[0] / 2.0
    )
    # 512 points and 112 of them for the noise: both figures are known to some percent
    assert fit.summary.quality == pytest.approx(1.0, abs=0.25)
    assert fit.summary.noise_real == pytest.approx(NOISE_SD, rel=0.25)
    assert fit.summary.free_parameters == 7


def test_without_noise_the_model_is_the_data() -> None:
    start = two_lines()
    truth = start.values
    truth[:, 0], truth[:, 1], truth[:, 3] = TRUE_AREAS, TRUE_HZ, TRUE_PHASE
    truth[0, 4], truth[1, 2] = TRUE_LORENTZ_HZ / 2.0, TRUE_GAUSS_HZ
    fid = two_line_fid(seed=None)
    fit = varokel.fit_fid(fid, replace(start.with_values(truth), noise_window=(10, 10)))
    assert fit.signals is not None
    spectrum = varokel.spectrum_of_fid(fid)
    # single precision of the data file and of the start values
    assert np.abs(fit.signals.model - spectrum).max() < 1e-6 * np.abs(spectrum).max()


def test_the_signals_of_a_fit_belong_together() -> None:
    spectrum = varokel.spectrum_of_fid(two_line_fid())
    signals = varokel.fit_spectrum(spectrum, two_lines()).signals
    assert signals is not None and signals.corrected is not None
    scale = np.abs(spectrum).max()
    digit = 2.0**-23 * scale  # of a float32 file
    assert np.abs(signals.data - spectrum).max() < digit
    assert np.abs(signals.data - signals.model - signals.residual).max() < 2.0 * digit
    assert signals.components.shape == (2, 512)
    assert np.abs(signals.components.sum(axis=0) - signals.full_model).max() < 3.0 * digit
    assert np.abs(signals.residual).max() < 0.1 * scale


def test_every_table_of_a_run_says_the_same(tmp_path: Path) -> None:
    folder = tmp_path / "run"
    sidecar = Sidecar(512, 2.0, spectrometer_mhz=100.0, ppm_at_carrier=3.0)
    options = FitOptions(names=("a", "b"), folder=folder)
    fit = varokel.fit_fid(two_line_fid(), two_lines(), options, sidecar=sidecar, name="mine")
    exl = varokel.read_exl(folder / "spectrum.exl")
    report = varokel.read_fitres(folder / "spectrum.fitres")
    # seven digits are printed
    for values, errors, links in (
        (exl.values, exl.errors, exl.links),
        (report.values, report.errors, report.links),
    ):
        np.testing.assert_allclose(values, fit.values, rtol=1e-6)
        np.testing.assert_allclose(errors, 2.0 * fit.errors, rtol=1e-6)
        np.testing.assert_array_equal(links, two_lines().links)
    assert exl.types == fit.types == two_lines().types
    assert exl.command[1:] == (".", "spectrum.bin", "start.par")
    assert exl.summary == fit.summary
    np.testing.assert_allclose(report.half_areas, 0.5 * fit.areas, rtol=1e-6)
    np.testing.assert_allclose(report.area_percent, 100.0 * fit.area_sd / fit.areas, rtol=1e-5)
    np.testing.assert_allclose(report.start_values, two_lines().values)
    changes = fit.values - two_lines().values
    # the difference of two numbers of up to 652 with seven digits
    np.testing.assert_allclose(report.changes, changes, atol=1e-4)
    assert report.quality == pytest.approx(fit.summary.quality, rel=1e-6)
    assert report.chi_after == pytest.approx(fit.summary.chi_after, rel=1e-6)
    assert report.free_parameters == fit.summary.free_parameters == 7
    np.testing.assert_allclose(fit.final.values, fit.values, rtol=1e-6)

    again = varokel.read_fit(folder)
    assert again.names == ("a", "b") and again.sidecar is not None
    np.testing.assert_array_equal(again.values, fit.values)
    np.testing.assert_allclose(again.ppm, 3.0 + (fit.frequencies_hz - 512.0) / 100.0)
    assert again.sidecar == sidecar and "Fit quality" in again.log
    assert fit.name == "mine" and fit.sidecar == sidecar


def test_a_further_fit_may_start_from_the_end_of_the_first() -> None:
    spectrum = varokel.spectrum_of_fid(two_line_fid())
    first = varokel.fit_spectrum(spectrum, two_lines())
    # its start values are single precision
    second = varokel.fit_spectrum(spectrum, first.final)
    assert second.summary.chi_before == pytest.approx(first.summary.chi_after, rel=1e-5)


def test_the_published_example_comes_out(examples: Path) -> None:
    folder = examples / "p31_brain"
    json = str(folder / "p31_brain.fid.json")
    spectrum = varokel.import_file(folder / "p31_brain.fid.f32", options=["--json", json])[0]
    fit = varokel.fit_spectrum(spectrum, folder / "start.par")
    expected = varokel.read_parameter_matrix(folder / "expected" / "p31_brain.mat")
    errors = varokel.read_parameter_matrix(folder / "expected" / "p31_brain.err")
    tolerance = float((folder / "expected" / "tolerance").read_text())
    assert np.all(np.abs(fit.values - expected) <= tolerance * errors + 1e-6 * np.abs(expected))
    assert fit.name == "p31_brain"
    assert fit.ppm[9] == pytest.approx(0.0, abs=0.01)


def test_patterns_come_as_text_points_or_file(examples: Path) -> None:
    folder = examples / "h1_patterns"
    json = str(folder / "h1_patterns.fid.json")
    spectrum = varokel.import_file(folder / "h1_patterns.fid.f32", options=["--json", json])[0]
    patterns: dict[str, PatternContent] = {
        "naa.pat": (folder / "naa.pat").read_text(),
        "creatine.bin": varokel.pattern_of_fid(varokel.read_signal(folder / "creatine.fid.f32")),
        "macromolecules.pat": folder / "macromolecules.pat",
    }
    options = FitOptions(patterns=patterns)
    fit = varokel.fit_spectrum(spectrum, folder / "start.par", options)
    expected = varokel.read_parameter_matrix(folder / "expected" / "h1_patterns.mat")
    errors = varokel.read_parameter_matrix(folder / "expected" / "h1_patterns.err")
    # one standard deviation: the valley of this fit is flat
    assert np.all(np.abs(fit.areas - expected[:, 0]) <= 0.5 * errors[:, 0])
    assert fit.names[5] == "pattern 6" and np.all(np.isnan(fit.ppm[5:]))
    del patterns["creatine.bin"]
    with pytest.raises(ValueError, match="no contents given for pattern creatine.bin"):
        varokel.fit_spectrum(spectrum, folder / "start.par", FitOptions(patterns=patterns))


def test_the_widths_of_a_pattern_come_in_hertz() -> None:
    """A line of 4 Hz as pattern, and data in which it is broadened by 6 Hz and, Gaussian, 12 Hz."""
    time = np.arange(512) / 1024.0
    decay = np.exp(-np.pi * 10.0 * time - (np.pi * 12.0 / 1.67 * time) ** 2)
    fid = 5.0 * decay * np.exp(2j * np.pi * (430.0 - 512.0) * time)
    text = (
        "start_pattern number_of_lines 1 parameters\n"
        "name line_type area frequency gauss_width zero_phase lorentz_width\n"
        "line lorentz 1.0 430.0 0.0 4.0\nend end_of_pattern\n"
    )
    pattern = Entry(
        type=EntryType.PATTERN,
        area=Parameter(4.0),
        frequency=Parameter(0.0),
        gauss_width=Parameter(2.0),
        phase=Parameter(0.0, link=1),
        lorentz_width=Parameter(2.0),
        pattern_file="line.pat",
    )
    start = replace(two_lines(), entries=(pattern,), noise_window=(10, 10))
    fit = varokel.fit_fid(fid, start, FitOptions(patterns={"line.pat": text}))
    # no noise: what is left is single precision and where the gradient search stops
    assert fit.areas[0] == pytest.approx(5.0, rel=1e-3)
    assert fit.gauss_widths_hz[0] == pytest.approx(12.0, rel=1e-2)
    assert fit.lorentz_widths_hz[0] == pytest.approx(6.0, rel=1e-2)


def test_a_reference_signal_is_the_lineshape_of_fit_mode_2() -> None:
    start = replace(two_lines(), fit_mode=2)
    time = np.arange(512) / 1024.0
    shape = np.exp(-np.pi * 6.0 * time).astype(complex)
    with pytest.raises(ValueError, match="needs a reference"):
        varokel.fit_fid(two_line_fid(), start)
    fit = varokel.fit_fid(two_line_fid(), start, reference=shape)
    # the reference has 6 Hz of the Lorentzian width
    assert fit.lorentz_widths_hz[0] == pytest.approx(TRUE_LORENTZ_HZ - 6.0, abs=1.0)


def test_errors_are_zero_where_none_were_asked_for() -> None:
    fit = varokel.fit_fid(two_line_fid(), replace(two_lines(), errors=False))
    np.testing.assert_array_equal(fit.errors, 0.0)


def test_a_refused_fit_says_why_in_the_words_of_the_program() -> None:
    start = two_lines()
    bad_step = replace(start.steps[0], algorithm=7)
    with pytest.raises(varokel.FitFailed, match="illegal minimization method") as failure:
        varokel.fit_fid(two_line_fid(), replace(start, steps=(bad_step,)), name="brain 7")
    assert failure.value.name == "brain 7"
    assert "not fitted due to errors" in failure.value.log
    assert failure.value.reason.count("fit_check_message") == 1


def test_a_fit_that_ends_without_results_or_dies_or_hangs_is_told_apart(
    stand_in: Callable[[str, str], Path]
) -> None:
    fid, start = two_line_fid(), two_lines()
    for script, options, message in (
        ("echo nothing to see", FitOptions(), "nothing to see"),
        ("echo half >spectrum.mat", FitOptions(), "there is no spectrum.err"),
        ("kill -SEGV $$", FitOptions(), "ended by signal 11"),
        ("echo badly; exit 3", FitOptions(), "exit status 3: badly"),
        ("exec sleep 20", FitOptions(timeout=0.2), "longer than 0.2 s"),
    ):
        folder = stand_in("varokel", script)
        with pytest.raises(varokel.FitFailed, match=message):
            varokel.fit_fid(fid, start, replace(options, programs=folder))


def test_results_that_are_cut_short_are_no_results(tmp_path: Path) -> None:
    folder = tmp_path / "run"
    varokel.fit_fid(two_line_fid(), two_lines(), FitOptions(folder=folder))
    report = folder / "spectrum.fitres"
    report.write_text("".join(report.read_text().splitlines(keepends=True)[:-1]))
    with pytest.raises(varokel.FitFailed, match="Fit quality|cut short"):
        varokel.read_fit(folder)
    report.unlink()
    with pytest.raises(varokel.FitFailed):
        varokel.read_fit(folder)


def test_results_that_are_no_numbers_are_no_results(tmp_path: Path) -> None:
    folder = tmp_path / "run"
    varokel.fit_fid(two_line_fid(), two_lines(), FitOptions(folder=folder))
    table = folder / "spectrum.mat"
    words = table.read_text().split()
    table.write_text("\n".join("\t".join(["nan", *words[k + 1 : k + 5]]) for k in (0, 5)) + "\n")
    with pytest.raises(varokel.FitFailed, match="no finite numbers"):
        varokel.read_fit(folder)


def test_arguments_that_do_not_belong_together_are_refused(tmp_path: Path) -> None:
    spectrum = varokel.spectrum_of_fid(two_line_fid())
    start = two_lines()
    with pytest.raises(ValueError, match="256 points, but the start file needs 512"):
        varokel.fit_spectrum(spectrum[:256], start)
    with pytest.raises(ValueError, match="1024 points, but the start file fits 512"):
        varokel.fit_spectrum(np.zeros(1024), start)
    with pytest.raises(ValueError, match="3.0 Hz per point"):
        varokel.fit_spectrum(spectrum, start, sidecar=Sidecar(512, 3.0))
    with pytest.raises(ValueError, match="1 names for 2 entries"):
        varokel.fit_spectrum(spectrum, start, FitOptions(names=("one",)))
    with pytest.raises(ValueError, match="sg_idl sage_idl"):
        varokel.fit_spectrum(spectrum, replace(start, data_format="sage_idl"))
    spectrum[5] = np.nan
    with pytest.raises(ValueError, match="point 5 of the signal"):
        varokel.fit_spectrum(spectrum, start)
    (tmp_path / "mine.txt").write_text("mine")
    with pytest.raises(FileExistsError):
        varokel.fit_fid(two_line_fid(), start, FitOptions(folder=tmp_path))


def test_nothing_of_the_callers_changes_and_nothing_stays(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    temporary, own = tmp_path / "temporary", tmp_path / "own"
    temporary.mkdir()
    own.mkdir()
    monkeypatch.setattr("tempfile.tempdir", str(temporary))
    monkeypatch.chdir(own)
    start = own / "start.par"
    start.write_text(two_lines().to_text())
    start.chmod(0o444)
    before = start.stat()
    fid = two_line_fid()
    kept = fid.copy()
    by_path = varokel.fit_fid(fid, start)
    by_text = varokel.fit_fid(fid, start.read_text())
    np.testing.assert_array_equal(by_path.values, by_text.values)
    np.testing.assert_array_equal(fid, kept)
    assert os.listdir(own) == ["start.par"] and os.listdir(temporary) == []
    after = start.stat()
    assert (after.st_mtime_ns, after.st_ino, after.st_size) == (
        before.st_mtime_ns,
        before.st_ino,
        before.st_size,
    )


def test_a_missing_program_is_named(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    with pytest.raises(varokel.ProgramMissing, match="varokel is not in .*VAROKEL_PROGRAMS"):
        varokel.fit_fid(two_line_fid(), two_lines(), FitOptions(programs=tmp_path))
    monkeypatch.setenv("VAROKEL_PROGRAMS", str(tmp_path))
    with pytest.raises(varokel.ProgramMissing):
        varokel.find_program("varokel")
