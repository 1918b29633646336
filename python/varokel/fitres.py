# SPDX-License-Identifier: BSD-3-Clause
"""The text report of a fit (.fitres)."""

from __future__ import annotations

import re
from dataclasses import dataclass
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import FloatArray, IntArray, Quantity
from .errors import FileFormatError
from .tables import number_of

_TABLES = {
    "area": Quantity.AREA,
    "gausswidth": Quantity.GAUSS_WIDTH,
    "frequency": Quantity.FREQUENCY,
    "phase": Quantity.PHASE,
    "l_width": Quantity.LORENTZ_WIDTH,
}
_LAST_FIGURE = "Number of parameters fitted"
_FIGURES = (
    "Fit quality number after fit",
    "Chi-square before (weighted) least square fit",
    "Chi-square after  (weighted) least square fit",
    "Chi-square after  (UNWEIGHTED) least square fit",
    "standard deviation",
    "Number of iterations",
    "Chi-square weighting type",
    _LAST_FIGURE,
)


@dataclass(frozen=True)
class FitReport:
    """A whole .fitres file.

    file_name                    as the report has it
    acquisition_date, acquisition_time   texts of a SAGE/IDL header; mostly empty
    values, errors               shape (entries, 5), columns and units as in .mat; errors 2 sd
    half_areas                   shape (entries,), half of the areas: the table "peakarea" has it so
    area_percent                 shape (entries,), one standard deviation, percent of the area
    start_values, links, changes shape (entries, 5): start values, links, fitted minus start value
    """

    file_name: str
    acquisition_date: str
    acquisition_time: str
    values: FloatArray
    errors: FloatArray
    half_areas: FloatArray
    area_percent: FloatArray
    start_values: FloatArray
    links: IntArray
    changes: FloatArray
    quality: float
    chi_before: float
    chi_after: float
    chi_unweighted: float
    noise_real: float
    iterations: int
    weighting: int
    free_parameters: int


def is_whole_fitres(file: str | PathLike[str]) -> bool:
    """Whether the report reaches its last line."""
    lines = Path(file).read_text(encoding="utf-8", errors="replace").splitlines()
    return bool(lines) and lines[-1].startswith(_LAST_FIGURE)


class _Rows:
    """What the lines of a report hold, as they come."""

    def __init__(self, file: str | PathLike[str]) -> None:
        self.file = file
        self.tables: dict[Quantity, list[tuple[float, float]]] = {}
        self.areas: list[tuple[float, float]] = []
        self.conditions: list[tuple[float, float, float]] = []
        self.texts: dict[str, str] = {}
        self._rows: list[tuple[float, float]] | None = None

    def take(self, number: int, line: str) -> None:
        heading = re.match(r"\|#line  \|\s*(\w+)", line)
        cells = [cell.strip() for cell in line.split("|")]
        if heading:
            if heading[1] not in _TABLES or _TABLES[heading[1]] in self.tables:
                raise FileFormatError(self.file, number, f'unexpected table "{heading[1]}"')
            self._rows = self.tables.setdefault(_TABLES[heading[1]], [])
        elif line.startswith("| Parameter #"):
            if len(cells) < 6:
                raise FileFormatError(self.file, number, "expected six columns")
            link, start, change = (number_of(c, self.file, number) for c in cells[3:6])
            self.conditions.append((link, start, change))
        elif line.startswith("| peak area"):
            figures = [c for c in cells[1:] if c and c != "*"]
            # a pattern's row has neither its type nor its number
            figures[0] = figures[0].removeprefix("peak area").strip()
            half, percent = (number_of(c, self.file, number) for c in figures[-2:])
            self.areas.append((half, percent))
        elif self._rows is not None and re.match(r"\| +\d+\t\|", line):
            entry = len(self._rows) + 1
            if len(cells) < 4 or cells[1] != str(entry):
                raise FileFormatError(self.file, number, f"expected the row of entry {entry}")
            value, error = (number_of(c, self.file, number) for c in cells[2:4])
            self._rows.append((value, error))
        elif ":" in line and not line.startswith("|"):
            key, _, text = line.partition(":")
            self.texts[key.strip()] = text.strip()

    def is_whole(self) -> bool:
        entries = len(self.areas)
        return (
            entries > 0
            and len(self.tables) == len(_TABLES)
            and all(len(table) == entries for table in self.tables.values())
            and len(self.conditions) == entries * len(Quantity)
        )


def read_fitres(file: str | PathLike[str]) -> FitReport:
    """Reads a .fitres file. Raises FileFormatError that names the line; OSError."""
    lines = Path(file).read_text(encoding="utf-8", errors="replace").splitlines()
    found = _Rows(file)
    for number, line in enumerate(lines, start=1):
        found.take(number, line)
    if not found.is_whole():
        raise FileFormatError(file, 0, "holds no whole set of tables")
    texts = found.texts
    missing = [key for key in _FIGURES if key not in texts]
    if missing:
        raise FileFormatError(file, len(lines), f'expected a line "{missing[0]}"')
    figures_of = [number_of(texts[key], file, 0) for key in _FIGURES]
    both = np.array([found.tables[quantity] for quantity in Quantity]).transpose(2, 1, 0)
    half_areas, percents = np.array(found.areas).T
    links, starts, changes = (
        np.array(found.conditions).reshape(-1, len(Quantity), 3).transpose(2, 0, 1)
    )
    return FitReport(
        file_name=texts.get("File name", ""),
        acquisition_date=texts.get("acquisition date", ""),
        acquisition_time=texts.get("time acquired", ""),
        values=both[0],
        errors=both[1],
        half_areas=half_areas,
        area_percent=percents,
        start_values=starts,
        links=links.astype(np.int64),
        changes=changes,
        quality=figures_of[0],
        chi_before=figures_of[1],
        chi_after=figures_of[2],
        chi_unweighted=figures_of[3],
        noise_real=figures_of[4],
        iterations=int(figures_of[5]),
        weighting=int(figures_of[6]),
        free_parameters=int(figures_of[7]),
    )
