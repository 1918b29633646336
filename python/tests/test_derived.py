# SPDX-License-Identifier: BSD-3-Clause
"""What rows "derive" of a table of peaks ask for: values, errors, units of fits in process."""

from __future__ import annotations

import csv
import subprocess
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import PEAKS, SIDECAR, two_line_spectrum as spectrum, two_lines
from varokel import ExactFit, Quantity, Sidecar

ROWS = """
derive: share = broad/(sharp+broad)
derive: place = frequency(broad)
derive: frequency(broad)-frequency(sharp)
derive: pH = pH(frequency(broad) - frequency(sharp), 6.77, 1, 4)
derive: lorentz_width(sharp)
"""
# places in points, whatever the axis says
LINES = PEAKS.replace("2.20 ", "216 points  ").replace("4.38 ", "325 points  ")
TABLE = "interval: 190 to 400 points\n" + LINES + "\n"
KNOWN = replace(SIDECAR, noise_window=(8, 120))


def fitted(rows: str = ROWS, sidecar: Sidecar = KNOWN) -> ExactFit:
    return varokel.fit(spectrum(), TABLE + rows, sidecar=sidecar)


def test_rows_are_in_ppm_and_have_the_error_of_the_covariance() -> None:
    fit = fitted()
    share, place, apart, ph, width = fit.derived()
    assert [d.name for d in (share, place, ph)] == ["share", "place", "pH"]
    assert apart.name == apart.expression == "frequency(broad)-frequency(sharp)"
    assert (share.value, share.sd) == pytest.approx(fit.derive("broad/(sharp+broad)"), rel=1e-12)
    assert place.value == pytest.approx(fit.ppm[1], rel=1e-14)
    sd_hz = fit.errors[1, Quantity.FREQUENCY]
    assert 0.0 < place.sd == pytest.approx(sd_hz / 100.0, rel=1e-12)
    d = (fit.frequencies_hz[1] - fit.frequencies_hz[0]) / 100.0
    assert apart.value == pytest.approx(d, rel=1e-12)
    assert ph.value == pytest.approx(6.77 + np.log10((d - 1.0) / (4.0 - d)), rel=1e-12)
    slope = (1.0 / (d - 1.0) + 1.0 / (4.0 - d)) / np.log(10.0)
    assert ph.sd == pytest.approx(slope * apart.sd, rel=1e-9)
    assert width.value == fit.values[0, Quantity.LORENTZ_WIDTH]


def test_a_shift_in_hz_where_ppm_were_meant_is_said() -> None:
    ph = "pH(frequency(broad) - frequency(sharp), 6.77, 1, 4)"
    unknown = fitted("", replace(KNOWN, ppm_at_carrier=None))
    with pytest.warns(varokel.VarokelWarning, match="Hz from the carrier where the axis has no ppm") as said:
        value, _ = unknown.derive(ph)
    assert np.isnan(value) and {each.filename for each in said} == {__file__}


def test_any_expression_is_what_its_row_would_be() -> None:
    fit = fitted()
    for row in fit.derived():
        assert fit.derive(row.expression) == (row.value, row.sd)
    with pytest.raises(ValueError, match='"Pi/sharp": .*no entry "Pi"'):
        fit.derive("Pi/sharp")


def test_start_values_that_were_read_have_the_ppm_of_the_sidecar() -> None:
    known = varokel.fit(spectrum(), two_lines(), sidecar=KNOWN)
    value, sd = known.derive("frequency(#2)")
    assert value == pytest.approx(known.ppm[1], rel=1e-14)
    assert sd == pytest.approx(known.errors[1, Quantity.FREQUENCY] / 100.0, rel=1e-12)
    value, sd = varokel.fit(spectrum(), two_lines()).derive("frequency(#2)")
    assert value == pytest.approx(known.frequencies_hz[1] - 512.0, abs=1e-9)
    assert sd == pytest.approx(known.errors[1, Quantity.FREQUENCY], rel=1e-12)


def test_the_axis_of_the_spectrum_counts() -> None:
    rows = "derive: frequency(broad)\n"
    (rising,) = fitted(rows).derived()
    (falling,) = fitted(rows, replace(KNOWN, ppm_rises_with_points=False)).derived()
    assert falling.value - 3.0 == pytest.approx(3.0 - rising.value, rel=1e-9)
    assert falling.sd == pytest.approx(rising.sd, rel=1e-6)
    unknown = fitted(rows, replace(KNOWN, ppm_at_carrier=None))
    (hz,) = unknown.derived()
    assert hz.value == pytest.approx(unknown.frequencies_hz[1] - 512.0, abs=1e-9)
    assert hz.sd == pytest.approx(unknown.errors[1, Quantity.FREQUENCY], rel=1e-12)
    # a reference in the table moves it
    moved = fitted("reference: 2.00 +- 0.6 ppm\n" + rows)
    (by_reference,) = moved.derived()
    shift = by_reference.value - rising.value
    assert shift == pytest.approx(2.0 - fitted(rows).ppm[0], abs=0.02)  # a point is 0.02 ppm


def test_what_there_is_not_is_said() -> None:
    assert fitted("").derived() == ()
    assert varokel.fit(spectrum(), two_lines()).derived() == ()
    assert not any("amount" in note for note in fitted().notes)
    fit = fitted("water: tissue\namount: mine = sharp, protons=3\n" + ROWS)
    assert 'passed over 1 row "amount": varokel-fit --water gives amounts' in fit.notes
    assert len(fit.derived()) == 5
    with pytest.raises(ValueError, match='wrong = Pi/sharp, .*no entry "Pi"'):
        fitted("derive: wrong = Pi/sharp\n").derived()


def test_filled_zeros_widen_the_errors() -> None:
    (plain,) = fitted("derive: sharp\n").derived()
    (filled,) = fitted("derive: sharp\n", replace(KNOWN, measured_points=128)).derived()
    assert filled.sd / plain.sd > 1.5  # the fit of the cut decay has errors of its own


def test_the_program_gives_the_same(examples: Path, tmp_path: Path) -> None:
    folder = examples / "p31_brain"
    text = (folder / "peaks.txt").read_text() + (
        "\nderive: PCr/Pin\nderive: pH = pH(frequency(Pin) - frequency(PCr), 6.77, 3.23, 5.7)\n"
        "derive: frequency(Pin)\nderive: lorentz_width(PCr)\n"
    )
    (tmp_path / "peaks.txt").write_text(text)
    fid = str(folder / "p31_brain.fid.f32")
    command = [str(varokel.find_program("varokel-fit")), fid, str(tmp_path / "peaks.txt")]
    command += ["-o", str(tmp_path / "run"), "--method", "exact"]
    done = subprocess.run(command, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    with (tmp_path / "run" / "derived.tsv").open(encoding="utf-8") as file:
        rows = list(csv.DictReader(file, delimiter="\t"))
    derived = varokel.fit(varokel.import_file(fid)[0], text).derived()
    assert [row["name"] for row in rows][-4:] == [d.name for d in derived][-4:]
    for row, own in zip(rows, derived, strict=True):  # the table has nine digits
        assert float(row["value"]) == pytest.approx(own.value, rel=2e-8)
        assert float(row["error_1sd"]) == pytest.approx(own.sd, rel=2e-8)
