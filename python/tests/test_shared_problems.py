# SPDX-License-Identifier: BSD-3-Clause
"""Fits in this process against those of the programs, from the same tables and start files."""
from __future__ import annotations

import csv
import json
import subprocess
from collections.abc import Callable
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from varokel import EntryType, ExactFit, ExactOptions, PeakTable, Quantity, StartFile
from varokel.start_file import GAUSS_FWHM_PER_WIDTH

COLUMNS = ("area", "frequency_hz", "gauss_fwhm_hz", "phase_degrees", "lorentz_fwhm_hz")
ERRORS = (
    "area_error_1sd",
    "frequency_error_1sd_hz",
    "gauss_fwhm_error_1sd_hz",
    "phase_error_1sd_degrees",
    "lorentz_fwhm_error_1sd_hz",
)


def rows_of_program(folder: Path, start: StartFile, place: Path) -> tuple[str, list[dict[str, str]]]:
    """Verdict and rows of results.tsv by varokel-batch."""
    program = varokel.find_program("varokel-batch")
    name, batch = folder.name, place / "batch"
    for pattern in start.pattern_files:
        (place / pattern).write_bytes((folder / pattern).read_bytes())
    (place / "start.par").write_text(start.to_text())
    fid = folder / f"{name}.fid.f32"
    given = ["--json", str(fid.with_suffix(".json")), "--start", "start.par", "-o", str(batch)]
    for words in (["plan", str(fid), *given], ["run", str(batch)], ["merge", str(batch)]):
        subprocess.run([program, *words], check=True, capture_output=True, cwd=place)
    tables = []
    for table in ("quality.tsv", "results.tsv"):
        with open(batch / table, encoding="utf-8", newline="") as file:
            tables.append(list(csv.DictReader(file, delimiter="\t")))
    return tables[0][0]["verdict"], tables[1]


def changed(**what: object) -> Callable[[StartFile], StartFile]:
    """Start values whose steps have other settings."""
    return lambda start: replace(
        start, steps=tuple(replace(step, **what) for step in start.steps)
    )


CASES: dict[str, tuple[str, Callable[[StartFile], StartFile]]] = {
    "lines that are tied": ("p31_brain", lambda start: start),
    "patterns": ("h1_patterns", lambda start: start),
    "Voigt lines": ("c13_kidney", lambda start: start),
    "absorption": ("c13_kidney", changed(part=0)),
    "dispersion": ("c13_kidney", changed(part=1)),
    "a decay that is cut": ("c13_kidney", changed(time_points=500)),
    "first points left out": ("c13_kidney", lambda start: replace(start, ignored=2)),
    "two intervals": ("c13_kidney", changed(intervals=((300, 540), (560, 800)))),
    "another delay": ("c13_kidney", lambda start: replace(start, phi_1=200.0)),
}


@pytest.mark.parametrize("case", CASES)
def test_a_start_file_is_one_problem_here_and_in_the_programs(
    case: str, examples: Path, tmp_path: Path
) -> None:
    example, change = CASES[case]
    folder = examples / example
    start = change(varokel.read_start_file(folder / "start.par"))
    verdict, rows = rows_of_program(folder, start, tmp_path)
    points = varokel.read_signal(folder / f"{example}.bin", start.points)
    patterns = {name: folder / name for name in start.pattern_files}
    fit = varokel.fit(points, start, ExactOptions(patterns=patterns))
    assert fit.verdict == verdict
    assert len(rows) == len(fit.names)
    compared = 0
    for k, row in enumerate(rows):
        for q, (column, error) in enumerate(zip(COLUMNS, ERRORS)):
            if row[error] in ("n/a", "") or not fit.errors[k, q] > 0.0:
                continue
            # both have the spectrum in single precision
            assert fit.errors[k, q] == pytest.approx(float(row[error]), rel=1e-4), (k, column)
            off = abs(fit.values[k, q] - float(row[column]))
            if q == Quantity.PHASE:  # tables have it within half a turn
                off = abs(off - 360.0 * round(off / 360.0))
            assert off < 1e-3 * fit.errors[k, q], (k, column)
            compared += 1
    assert compared >= 3 * len(rows)


def fit_of_program(
    folder: Path, table: Path, place: Path
) -> tuple[dict[str, object], Path]:
    """optimum.json of varokel-fit --method exact, and the folder of the run."""
    program = varokel.find_program("varokel-fit")
    fid = folder / f"{folder.name}.fid.f32"
    given = [str(fid), str(table), "-o", str(place), "--method", "exact", "--no-report"]
    subprocess.run([program, *given], check=True, capture_output=True)
    found: dict[str, object] = json.loads((place / "optimum.json").read_text())
    return found, place


def assert_same_bits(fit: ExactFit, found: dict[str, object]) -> None:
    assert fit.verdict == found["verdict"]
    hz = fit.hz_per_point
    units = np.array([1.0, hz, GAUSS_FWHM_PER_WIDTH * hz, 1.0, hz])
    np.testing.assert_array_equal(fit.values, np.array(found["values_in_points"]) * units)
    assert fit.sum_of_squares == found["sum_of_squares"]
    assert fit.noise_sd == found["noise_sd"]
    assert fit.expected_decrease == found["expected_decrease"]
    reasons = found["reasons"]
    assert isinstance(reasons, list)
    assert [r.what for r in fit.reasons] == [r["what"] for r in reasons]


TABLES = (
    "c13_kidney/peaks.txt",
    "h1_brain/macromolecules.txt",
    "h1_brain/metabolites.txt",
    "h1_brain/peaks.txt",
    "h1_brain/water.txt",
    "p31_brain/low_signal.txt",
    "p31_brain/peaks.txt",
    "xe129_lung/peaks.txt",
)


def test_all_tables_of_the_examples_are_here(examples: Path) -> None:
    tables = {
        str(file.relative_to(examples))
        for file in examples.glob("*/*.txt")
        if not file.name.startswith("LICENSE")
    }
    assert tables == set(TABLES)


@pytest.mark.parametrize("table", TABLES)
def test_a_table_gives_the_bits_of_varokel_fit(
    table: str, examples: Path, tmp_path: Path
) -> None:
    file = examples / table
    found, run = fit_of_program(file.parent, file, tmp_path / "run")
    (spectrum,) = varokel.read_imported(run)
    assert_same_bits(varokel.fit(spectrum, PeakTable.read(file)), found)


def test_windows_of_a_table_give_the_bits_of_varokel_fit(examples: Path, tmp_path: Path) -> None:
    folder = examples / "p31_brain"
    text = (folder / "peaks.txt").read_text()
    windowed = text.replace("PCr    lorentz  4.37 ", "PCr    lorentz  4.37 [1, 4.375]  ")
    assert windowed != text
    file = tmp_path / "windows.txt"
    file.write_text(windowed)
    found, run = fit_of_program(folder, file, tmp_path / "run")
    (spectrum,) = varokel.read_imported(run)
    fit = varokel.fit(spectrum, file.read_text())
    assert_same_bits(fit, found)
    assert fit.areas[fit.entry("PCr")] == 4.375 and "at_bound" in [r.what for r in fit.reasons]


def test_patterns_of_a_table_give_the_bits_of_varokel_fit(examples: Path, tmp_path: Path) -> None:
    folder = examples / "h1_patterns"
    file = tmp_path / "peaks.txt"
    program = varokel.find_program("varokel-start")
    data = folder / "h1_patterns.bin"
    given = ["--from", str(folder / "start.par"), "-d", str(data), "-o", str(file)]
    subprocess.run([program, *given], check=True, capture_output=True)
    start = varokel.read_start_file(folder / "start.par")
    for name in start.pattern_files:
        (tmp_path / name).write_bytes((folder / name).read_bytes())
    found, run = fit_of_program(folder, file, tmp_path / "run")
    (spectrum,) = varokel.read_imported(run)
    fit = varokel.fit(spectrum, PeakTable.read(file))
    assert EntryType.PATTERN in fit.types
    assert_same_bits(fit, found)
    # in storage, away from their files
    contents = {name: folder / name for name in start.pattern_files}
    options = ExactOptions(patterns=contents)
    assert_same_bits(varokel.fit(spectrum, file.read_text(), options), found)
