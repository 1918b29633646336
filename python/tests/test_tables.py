# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest
import varokel


def test_a_parameter_matrix_is_five_columns(tmp_path: Path) -> None:
    file = tmp_path / "x.mat"
    file.write_text("1.0E+00\t2.0E+00\t3.0E+00\t4.0E+00\t5.0E+00\n1\t-2\tnan\t-inf\t0\n")
    table = varokel.read_parameter_matrix(file)
    np.testing.assert_array_equal(table[0], [1.0, 2.0, 3.0, 4.0, 5.0])
    assert np.isnan(table[1, 2]) and table[1, 3] == -np.inf
    file.write_text("1 2 3 4 5\n1 2 3 4\n")
    with pytest.raises(varokel.FileFormatError, match=r"x\.mat:2: expected 5 numbers, found 4"):
        varokel.read_parameter_matrix(file)
    file.write_text("1 2 3 4 x\n")
    with pytest.raises(varokel.FileFormatError, match=r'x\.mat:1: expected a number, found "x"'):
        varokel.read_parameter_matrix(file)
    file.write_text("")
    with pytest.raises(varokel.FileFormatError, match="holds no rows"):
        varokel.read_parameter_matrix(file)


def test_names_stand_on_lines_of_their_own(tmp_path: Path) -> None:
    file = tmp_path / "names.txt"
    file.write_text("# of start.par\nPCr\n  Pi, inside \n\ngATP\tgamma\n")
    assert varokel.read_names(file) == ("PCr", "Pi", "gATP")


def test_a_results_table_has_texts_numbers_and_a_dictionary(tmp_path: Path) -> None:
    file = tmp_path / "results.tsv"
    file.write_text("spectrum\tname\tarea\none\t1\t2.5\ntwo\tPi_in\tn/a\n")
    table = varokel.read_results_table(file)
    assert len(table) == 2
    assert table.columns == ("spectrum", "name", "area")
    assert table.texts("name") == ("1", "Pi_in")
    assert table.dictionary == {}
    np.testing.assert_array_equal(table.numbers("area"), [2.5, np.nan])
    with pytest.raises(ValueError, match='column "name"'):
        table.numbers("name")
    with pytest.raises(KeyError):
        table.numbers("volume")
    file.with_suffix(".json").write_text('{"area": {"Units": "signal"}}')
    assert varokel.read_results_table(file).dictionary == {"area": {"Units": "signal"}}
    file.write_text("spectrum\tarea\none\n")
    with pytest.raises(varokel.FileFormatError, match=r"results\.tsv:2: 1 cells for 2 columns"):
        varokel.read_results_table(file)
    file.write_text("area\tarea\n")
    with pytest.raises(varokel.FileFormatError, match="stands twice"):
        varokel.read_results_table(file)


def test_broken_json_is_named_with_its_line(tmp_path: Path) -> None:
    file = tmp_path / "brain.json"
    for text, message in (
        ('{"points": 4,\n "hz_per_point": }', r"brain\.json:2: no JSON"),
        ("[1]", "expected a JSON object"),
        ('{"points": 4.5, "hz_per_point": 1}', 'item "points"'),
        ('{"points": 4, "hz_per_point": 0}', 'item "hz_per_point": expected a number above 0'),
        ('{"points": 4, "hz_per_point": 1.7e308}', 'item "hz_per_point": expected a number from'),
        ('{"points": 4, "hz_per_point": 1e-31}', 'item "hz_per_point": expected a number from'),
        ('{"points": 4, "hz_per_point": 1' + 400 * "0" + "}", 'item "hz_per_point": expected a n'),
        ('{"points": 4, "hz_per_point": 1, "spectrometer_mhz": 0}', 'item "spectrometer_mhz"'),
        ('{"points": 4, "hz_per_point": 1, "ppm_at_carrier": -1e31}', 'item "ppm_at_carrier"'),
        ('{"points": 4, "hz_per_point": 1, "noise_window": {"first": 1}}', 'item "noise_window"'),
        ('{"points": 4, "hz_per_point": 1, "fit_interval_points": [1]}', "two point numbers"),
        ('{"points": 4, "hz_per_point": 1, "spectrometer_mhz": "3 T"}', 'item "spectrometer_mhz"'),
    ):
        file.write_text(text)
        with pytest.raises(varokel.FileFormatError, match=message):
            varokel.read_sidecar(file)


def test_a_sidecar_knows_its_axis(tmp_path: Path) -> None:
    rising = varokel.Sidecar(8, 100.0, spectrometer_mhz=50.0, ppm_at_carrier=4.65)
    np.testing.assert_allclose(rising.ppm_axis[:5], [-3.35, -1.35, 0.65, 2.65, 4.65])
    assert rising.hz_of_ppm(6.65) == pytest.approx(500.0)
    falling = varokel.Sidecar(8, 100.0, 50.0, 4.65, ppm_rises_with_points=False)
    np.testing.assert_allclose(falling.ppm_axis[:2], [12.65, 10.65])
    assert falling.hz_of_ppm(12.65) == pytest.approx(0.0)
    with pytest.raises(ValueError, match="not known"):
        varokel.Sidecar(8, 100.0).ppm_axis
    file = tmp_path / "x.json"
    full = varokel.Sidecar(8, 100.0, 50.0, 4.65, False, "1H", 90.0, (1, 3), (4, 6))
    file.write_text(full.to_json("x.bin"))
    assert varokel.read_sidecar(file) == full
