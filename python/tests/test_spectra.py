# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import os
from pathlib import Path

import numpy as np
import numpy.typing as npt
import pytest
import varokel
from conftest import TREE, two_line_fid
from varokel import ExactOptions

SERIES = TREE / "python" / "examples" / "c13_series" / "c13_series.fid.f32"
DWELL = ["--dwell", "0.0009765625", "--noise", "8:119", "--frequency", "100", "--ppm-at-carrier", "0"]


def test_a_series_comes_in_its_order(tmp_path: Path) -> None:
    fids = varokel.read_signal(SERIES).reshape(64, 1024)
    series = varokel.import_file(SERIES, tmp_path / "run", options=["--index", "all"])
    assert len(series) == 64
    for number, spectrum in enumerate(series):
        assert spectrum.name == f"c13_series_{number}"
        expected = varokel.spectrum_of_fid(fids[number])
        assert np.abs(spectrum.points - expected).max() < 1e-7 * np.abs(expected).max()
    # also when it is read again from the folder, where 10 stands before 2
    again = [spectrum.name for spectrum in varokel.read_imported(tmp_path / "run")]
    assert again == [spectrum.name for spectrum in series]
    sidecar = series[0].sidecar
    assert (sidecar.nucleus, sidecar.noise_window, sidecar.fit_interval) == (
        "13C",
        (30, 158),
        (426, 571),
    )
    assert sidecar.hz_per_point == pytest.approx(5000.0 / 1024.0)


def test_a_warning_of_the_program_is_a_warning_here(tmp_path: Path) -> None:
    varokel.write_signal(tmp_path / "fid.f32", two_line_fid())
    with pytest.warns(varokel.VarokelWarning, match="no noise-only points known") as said:
        spectra = varokel.import_file(tmp_path / "fid.f32", options=DWELL[:2])
    assert {each.filename for each in said} == {__file__}, "warnings name the caller's file"
    assert spectra[0].sidecar.hz_per_point == 2.0
    assert not spectra[0].sidecar.knows_ppm
    assert os.listdir(tmp_path) == ["fid.f32"]


def test_zeros_that_fill_a_decay_are_known() -> None:
    decay = two_line_fid()

    def measured(fid: npt.ArrayLike, points: int | None = None) -> int | None:
        return varokel.spectrum_from_fid(fid, 1e-3, points=points).sidecar.measured_points

    assert measured(decay) is None
    assert measured(decay, 1024) == 512  # filled here
    assert measured(decay[:300], 512) == 300
    assert measured(decay, 256) is None  # cut
    own = decay.copy()
    own[505:] = 0.0  # fewer than one point in 64 may be measured
    assert measured(own) is None and measured(own, 1024) == 512
    own[504] = 0.0
    assert measured(own) == 504 and measured(own, 1024) == 504
    assert measured(np.zeros(8)) is None


def test_errors_of_a_filled_decay_are_those_of_the_measurement() -> None:
    # Scatter over noise, of a Lorentzian line cut while it stands at a third of its beginning.
    time = np.arange(300) * 1e-3
    table = "name\ttype\tarea\tfrequency[ppm]\tlorentz[Hz]\tphase\n"
    table += "A\tlorentz\t9\t0.1\t1\t0\ninterval: -4.9 to 4.9 ppm"
    rng = np.random.default_rng(5)
    fits = []
    for _ in range(60):
        noise = 0.3 * (rng.standard_normal(300) + 1j * rng.standard_normal(300))
        decay = 10.0 * np.exp((2j * np.pi * 10.0 - np.pi * 1.2) * time) + noise
        fits.append(
            varokel.fit(
                varokel.spectrum_from_fid(
                    decay, 1e-3, spectrometer_mhz=100.0, ppm_at_carrier=0.0,
                    points=1024,
                ),
                table,
                ExactOptions(noise_sd=0.3 * np.sqrt(300.0) / 1024.0),
            )
        )  # fmt: skip
    assert isinstance(fits[0], varokel.ExactFit)
    areas = np.array([fit.areas[0] for fit in fits])
    assert np.mean([fit.quality for fit in fits]) == pytest.approx(1.0, abs=0.02)  # known to 0.004
    assert all(fit.verdict == "optimum" for fit in fits)
    # the scatter of 60 is known to 9 %, their mean to an eighth of it
    assert areas.std(ddof=1) == pytest.approx(np.mean([fit.area_sd[0] for fit in fits]), rel=0.3)
    assert abs(areas.mean() - 10.0) < 4.0 * areas.std() / np.sqrt(60)


def test_an_input_that_is_refused_says_why(tmp_path: Path) -> None:
    varokel.write_signal(tmp_path / "fid.f32", two_line_fid())
    with pytest.raises(varokel.ProgramFailed, match="dwell time unknown") as failure:
        varokel.import_file(tmp_path / "fid.f32")
    assert failure.value.status == 3 and failure.value.program == "varokel-import"
    with pytest.raises(varokel.ProgramFailed) as failure:
        varokel.import_file(tmp_path / "fid.f32", options=["--no-such-option"])
    assert failure.value.status == 2


def test_existing_files_stay_unless_forced(tmp_path: Path) -> None:
    varokel.write_signal(tmp_path / "fid.f32", two_line_fid())
    run = tmp_path / "run"
    first = varokel.run_import(tmp_path / "fid.f32", run, options=DWELL)
    assert first == [run / "fid.bin"]
    with pytest.raises(varokel.ProgramFailed, match="--force"):
        varokel.run_import(tmp_path / "fid.f32", run, options=DWELL)
    assert varokel.run_import(tmp_path / "fid.f32", run, options=[*DWELL, "--force"]) == first


def test_a_reference_comes_along(tmp_path: Path) -> None:
    time = np.arange(512) / 1024.0
    water = 100.0 * np.exp(-np.pi * 5.0 * time) * np.exp(2j * np.pi * 3.0 * time)
    varokel.write_signal(tmp_path / "fid.f32", two_line_fid())
    varokel.write_signal(tmp_path / "water.f32", water)
    options = [*DWELL, "--reference", str(tmp_path / "water.f32")]
    reference = varokel.import_file(tmp_path / "fid.f32", options=options)[0].reference
    assert reference is not None and reference.shape == (512,)
    assert abs(reference[0] - 1.0) < 1e-6
    # its decay, at frequency 0
    np.testing.assert_allclose(np.abs(reference[:50]), np.exp(-np.pi * 5.0 * time[:50]), rtol=1e-3)


def test_a_spectrum_without_sidecar_is_no_spectrum(tmp_path: Path) -> None:
    varokel.write_signal(tmp_path / "x.bin", [1.0, 2.0])
    with pytest.raises(FileNotFoundError):
        varokel.read_spectrum(tmp_path / "x.bin")
    assert list(varokel.read_imported(tmp_path)) == []
