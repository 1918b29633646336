# SPDX-License-Identifier: BSD-3-Clause
"""The tab-separated table of a fit (.exl)."""

from __future__ import annotations

from dataclasses import dataclass
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import EntryType, FloatArray, IntArray, Quantity
from .errors import FileFormatError
from .tables import number_of

_TYPES = {
    "Gaussian": EntryType.GAUSS,
    "Lorentzian": EntryType.LORENTZ,
    "Voigt": EntryType.VOIGT,
    "Pattern": EntryType.PATTERN,
}
_SUMMARY_CELLS = 10
_ROW_CELLS = 19


@dataclass(frozen=True)
class FitSummary:
    """What the fourth line of .exl says.

    mode                what was fitted, such as "absorption + dispersion mode fit"; may be empty
    quality             residual over noise, 1 is perfect
    noise_real, noise_imaginary   standard deviations [signal]
    chi_before, chi_after         weighted, before and after the fit
    chi_unweighted      without ignored points
    iterations          of the last gradient step
    weighting           type
    free_parameters     fitted ones
    quality_unweighted  quality from chi_unweighted
    """

    mode: str
    quality: float
    noise_real: float
    noise_imaginary: float
    chi_before: float
    chi_after: float
    chi_unweighted: float
    iterations: int
    weighting: int
    free_parameters: int
    quality_unweighted: float


@dataclass(frozen=True)
class ExlTable:
    """A whole .exl file; arrays have a row for each of the entries.

    command         words of the call
    types           of the entries
    values, errors  shape (entries, 5), columns and units as in .mat; seven digits, errors 2 sd
    links           shape (entries, 5): 0 free, own number fixed, else the entry that is followed
    integrals, integral_errors   shape (entries,), the last two columns
    """

    command: tuple[str, ...]
    summary: FitSummary
    types: tuple[EntryType, ...]
    values: FloatArray
    errors: FloatArray
    links: IntArray
    integrals: FloatArray
    integral_errors: FloatArray


def read_exl(file: str | PathLike[str]) -> ExlTable:
    """Reads a .exl file. Raises FileFormatError that names the line; OSError."""
    lines = Path(file).read_text(encoding="utf-8", errors="replace").splitlines()
    if len(lines) < 4:
        raise FileFormatError(file, len(lines), "expected command, mode and quality lines")
    # without a known mode its line is missing
    at = 2 if lines[2].rstrip().endswith("fit") else 1
    mode, cells = (lines[at].strip() if at == 2 else ""), lines[at + 1].split()
    if len(cells) != _SUMMARY_CELLS:
        raise FileFormatError(file, at + 2, f"expected 10 numbers, found {len(cells)}")
    figures = [number_of(cell, file, at + 2) for cell in cells]
    if not all(figure.is_integer() for figure in figures[6:9]):
        raise FileFormatError(file, at + 2, "numbers 7 to 9 are counts; expected whole ones")
    summary = FitSummary(
        mode=mode,
        quality=figures[0],
        noise_real=figures[1],
        noise_imaginary=figures[2],
        chi_before=figures[3],
        chi_after=figures[4],
        chi_unweighted=figures[5],
        iterations=int(figures[6]),
        weighting=int(figures[7]),
        free_parameters=int(figures[8]),
        quality_unweighted=figures[9],
    )
    types, table = [], []
    for number, line in enumerate(lines[at + 2 :], start=at + 3):
        words = line.split()
        if not words:
            continue
        if len(words) != _ROW_CELLS:
            raise FileFormatError(file, number, f"expected 19 columns, found {len(words)}")
        if words[1] not in _TYPES:
            raise FileFormatError(file, number, f'unknown line type "{words[1]}"')
        types.append(_TYPES[words[1]])
        table.append([number_of(word, file, number) for word in [words[0], *words[2:]]])
        if table[-1][0] != len(table):
            raise FileFormatError(file, number, f"expected entry {len(table)}, found {words[0]}")
    if not table:
        raise FileFormatError(file, 0, "holds no entries")
    rows = np.array(table, dtype=np.float64)
    end = 1 + 3 * len(Quantity)
    return ExlTable(
        command=tuple(lines[0].split("\t")[:-1]),
        summary=summary,
        types=tuple(types),
        values=rows[:, 1:end:3],
        errors=rows[:, 2:end:3],
        links=rows[:, 3:end:3].astype(np.int64),
        integrals=rows[:, end],
        integral_errors=rows[:, end + 1],
    )
