# SPDX-License-Identifier: BSD-3-Clause
"""Plain tables: .mat and .err, names.txt, results.tsv."""

from __future__ import annotations

import re
from dataclasses import dataclass, field
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import FloatArray, Quantity
from .errors import FileFormatError
from .json_files import JsonObject, read_json_object

NOT_AVAILABLE = "n/a"


def read_parameter_matrix(file: str | PathLike[str]) -> FloatArray:
    """Values (.mat) or errors (.err) of all parameters, shape (entries, 5), columns as in Quantity.

    Units: signal, Hz, Hz, degrees, Hz (Lorentzian width of Lorentzian lines, and both widths of
    patterns: points). Errors are two standard deviations; 0 where there is none. Raises
    FileFormatError for a file without rows or a row without five numbers; OSError.
    """
    rows = []
    text = Path(file).read_text(encoding="utf-8", errors="replace")
    for number, line in enumerate(text.splitlines(), start=1):
        words = line.split()
        if len(words) != len(Quantity):
            raise FileFormatError(file, number, f"expected 5 numbers, found {len(words)} words")
        rows.append([number_of(word, file, number) for word in words])
    if not rows:
        raise FileFormatError(file, 0, "holds no rows")
    return np.array(rows, dtype=np.float64)


def read_names(file: str | PathLike[str]) -> tuple[str, ...]:
    """Names of the entries (names.txt), the first word of each line; "#" begins a comment line.

    Words end at blanks, tabs and commas, as the programs have it.

    Raises FileFormatError, with the line, for a text that is not UTF-8; OSError.
    """
    names = []
    for number, line in enumerate(Path(file).read_bytes().splitlines(), start=1):
        try:
            name = line.decode("utf-8").strip()
        except UnicodeDecodeError as error:
            raise FileFormatError(
                file, number, f"byte {error.start + 1} is no UTF-8; expected names in that encoding"
            ) from None
        if name and not name.startswith("#"):
            names.append(re.split("[ \t,]", name, maxsplit=1)[0])
    return tuple(names)


@dataclass(frozen=True)
class ResultsTable:
    """A table such as results.tsv: one row for each spectrum and entry.

    cells       column name to the texts of its cells
    dictionary  the JSON that says what the columns are; empty when there is none
    """

    cells: dict[str, tuple[str, ...]]
    dictionary: JsonObject = field(default_factory=dict)

    def __len__(self) -> int:
        return len(next(iter(self.cells.values())))

    @property
    def columns(self) -> tuple[str, ...]:
        return tuple(self.cells)

    def texts(self, column: str) -> tuple[str, ...]:
        """A column as it stands. Raises KeyError."""
        return self.cells[column]

    def numbers(self, column: str) -> FloatArray:
        """A column of numbers, shape (rows,); "n/a" is nan. Raises KeyError, ValueError."""
        cells = self.cells[column]
        try:
            numbers = [np.nan if cell == NOT_AVAILABLE else float(cell) for cell in cells]
        except ValueError as error:
            raise ValueError(f'column "{column}": {error}') from None
        return np.array(numbers, dtype=np.float64)


def read_results_table(file: str | PathLike[str]) -> ResultsTable:
    """Reads a tab-separated table with a heading line, and the .json dictionary beside it, if any.

    Raises FileFormatError for a row with another number of cells than the heading, and for a text
    that is not UTF-8; OSError.
    """
    path = Path(file)
    whole = path.read_bytes()
    try:
        lines = whole.decode("utf-8").split("\n")
    except UnicodeDecodeError as error:
        at_line = whole.count(b"\n", 0, error.start) + 1
        raise FileFormatError(file, at_line, "no UTF-8 text; was it edited?") from None
    if lines[-1] == "":
        lines.pop()  # what stands behind the last line feed
    if not lines or not lines[0]:
        raise FileFormatError(file, 0, "expected a heading line")
    names = lines[0].split("\t")
    if len(set(names)) != len(names):
        raise FileFormatError(file, 1, "a column name stands twice")
    rows = []
    for number, line in enumerate(lines[1:], start=2):
        cells = line.split("\t")
        if len(cells) != len(names):
            raise FileFormatError(file, number, f"{len(cells)} cells for {len(names)} columns")
        rows.append([cell.removeprefix("'") for cell in cells])  # the mark that this is text
    columns = {name: tuple(row[i] for row in rows) for i, name in enumerate(names)}
    beside = path.with_suffix(".json")
    return ResultsTable(columns, read_json_object(beside) if beside.exists() else {})


def number_of(word: str, file: str | PathLike[str], line: int) -> float:
    """A number as the program prints it, "nan" and "-inf" included. Raises FileFormatError."""
    try:
        return float(word)
    except ValueError:
        raise FileFormatError(file, line, f'expected a number, found "{word}"') from None
