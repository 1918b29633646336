# SPDX-License-Identifier: BSD-3-Clause
"""Patterns as text (".pat"): the lines of a molecule, and the decay that they make."""

from __future__ import annotations

from ctypes import byref, c_int, c_void_p
from dataclasses import dataclass

import numpy as np

from .arrays import ComplexArray, EntryType, Quantity
from .library import Handle, Library, pointer_to
from .words import WordReader

MOST_LINES = 4096

_TYPES = {"gauss": EntryType.GAUSS, "lorentz": EntryType.LORENTZ, "voigt": EntryType.VOIGT}


@dataclass(frozen=True)
class PatternLine:
    """A line of a pattern: area, frequency [Hz from the left edge], widths [FWHM, Hz; 0 where the
    type has none] and phase [degrees], in the order of Quantity."""

    type: EntryType
    values: tuple[float, float, float, float, float]


def parse_text_pattern(text: str, name: str = "pattern") -> tuple[PatternLine, ...]:
    """Lines of a text pattern; numbers have single precision. Raises FileFormatError."""
    words = WordReader(text, name)
    words.expect("start_pattern")
    count = words.count("number_of_lines")
    if count > MOST_LINES:
        raise words.error(f"number_of_lines: expected at most {MOST_LINES}, found {count}")
    for _ in range(7):
        words.next("the heading of the columns")
    words.expect("lorentz_width")
    lines = tuple(_line(words) for _ in range(count))
    words.next("a word such as comment")
    words.expect("end_of_pattern")
    return lines


def _line(words: WordReader) -> PatternLine:
    words.next("the name of a line")
    word = words.next("the type of a line")
    if word not in _TYPES:
        raise words.error(f'expected voigt, lorentz or gauss, found "{word}"')
    kind = _TYPES[word]

    def real(item: str) -> float:
        return float(np.float32(words.real(item)))

    area, frequency = real("area"), real("frequency")
    gauss = 0.0 if kind == EntryType.LORENTZ else real("gauss_width")
    phase = real("zero_phase")
    lorentz = 0.0 if kind == EntryType.GAUSS else real("lorentz_width")
    return PatternLine(kind, (area, frequency, gauss, phase, lorentz))


def decay_of_lines(
    library: Library,
    lines: tuple[PatternLine, ...],
    points: int,
    hz_per_point: float,
    first_order_phase: float,
) -> ComplexArray:
    """Their decay, shape (points,): the library's model of lines that are all fixed."""
    if not lines:
        return np.zeros(points, dtype=np.complex128)
    problem = library.create("problem", points, hz_per_point)
    nothing = np.zeros(2 * points)
    library.call("problem_set_spectrum", problem, pointer_to(nothing), points)
    library.call("problem_set_noise_sd", problem, 1.0)
    library.call("problem_set_first_order_phase", problem, first_order_phase)
    for number, line in enumerate(lines):
        library.call("problem_add_entry", problem, None, int(line.type), byref(c_int()))
        for quantity, value in zip(Quantity, line.values):
            library.call("problem_set_fixed", problem, number, quantity, value)
    workspace, found = library.create("workspace"), c_void_p()
    library.call("fit_find", problem, library.create("options"), workspace, byref(found))
    spectrum, decay = np.empty(2 * points), np.empty(2 * points)
    fit = Handle(library, "fit", found)
    library.call("fit_spectrum", fit, workspace, -1, pointer_to(spectrum), spectrum.size)
    library.call("fid_of_spectrum", pointer_to(spectrum), points, pointer_to(decay))
    return decay.view(np.complex128)
