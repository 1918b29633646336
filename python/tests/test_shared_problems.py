# SPDX-License-Identifier: BSD-3-Clause
"""A start file becomes a problem of the engine twice: here and in the programs. Both give one fit."""
from __future__ import annotations

import csv
import subprocess
from collections.abc import Callable
from dataclasses import replace
from pathlib import Path

import pytest
import varokel
from varokel import ExactOptions, Quantity, StartFile

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
