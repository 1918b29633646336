# SPDX-License-Identifier: BSD-3-Clause
"""Reads start value / fit control files of version 3."""

from __future__ import annotations

from os import PathLike
from pathlib import Path

from .arrays import EntryType, Quantity
from .start_file import (
    STRATEGY_HEADING,
    VALUES_HEADING,
    Entry,
    Parameter,
    StartFile,
    Step,
    by_name,
)
from .words import WordReader


def parse_start_file(text: str, name: str = "start file") -> StartFile:
    """Reads the text of a version 3 file. Raises FileFormatError that names line and item.

    Where the values of a parameter differ between the table and the prior knowledge, that of the
    table counts, as for the program. Files of other generations are refused.
    """
    words = WordReader(text, name, glued="@")
    if words.next("version_3") != "version_3":
        raise words.error('expected "version_3" as the first word; block and old files go through '
                          "varokel-start --from FILE")  # fmt: skip
    points = words.keyword_integer("n_pnts")
    noise_window = (words.keyword_integer("noistr"), words.keyword_integer("noistp"))
    n_lines = words.count("nLines")
    n_coefficients = words.count("lsfcfs")
    phi_1, hz_per_point = words.keyword_real("phi__1"), words.keyword_real("Hz_p_p")
    tolerance = words.keyword_real("f__tol")
    fit_mode, verbose = words.keyword_integer("fit_mo"), words.keyword_integer("verbos")
    followed, errors = words.keyword_integer("showli"), words.keyword_integer("clcerr")
    words.expect("sg_idl")
    data_format = words.next("none, sage or sage_idl")
    ranges, ignored = words.keyword_integer("ranges"), words.keyword_integer("ignore")
    pattern_files = [words.next("name of a pattern file") for _ in range(words.count("pattrn"))]
    _skip_heading(words, STRATEGY_HEADING, "strategy")
    steps = []
    while words.peek() == "@":
        words.expect("@")
        steps.append(_read_step(words))
    _skip_heading(words, VALUES_HEADING, "starting values")
    table = [_read_values(words, k + 1) for k in range(n_lines + len(pattern_files))]
    entries = []
    for number, row in enumerate(table, start=1):
        entries.append(_read_entry(words, number, row, ranges, pattern_files, n_lines))
    words.expect("lsf_coefs")
    # modes 1 and 2 have no coefficients, whatever lsfcfs says
    coefficients = [
        complex(words.real("coefficient"), words.real("coefficient"))
        for _ in range(0 if fit_mode in (1, 2) else n_coefficients)
    ]
    words.expect("end_of_lsf")
    return StartFile(
        points=points,
        noise_window=noise_window,
        hz_per_point=hz_per_point,
        entries=tuple(entries),
        steps=tuple(steps),
        phi_1=phi_1,
        tolerance=tolerance,
        fit_mode=fit_mode,
        verbose=verbose,
        followed=followed,
        errors=errors != 0,
        data_format=data_format,
        ranges=ranges,
        ignored=ignored,
        lineshape=tuple(coefficients),
    )


def read_start_file(file: str | PathLike[str]) -> StartFile:
    """Reads a version 3 file, such as compact.par. Raises FileFormatError; OSError."""
    text = Path(file).read_text(encoding="utf-8", errors="replace")
    return parse_start_file(text, str(file))


def _skip_heading(words: WordReader, heading: str, of: str) -> None:
    """Only the first word of a heading and the count of its words are known by all writers."""
    first, *others = heading.split()
    words.expect(first)
    for _ in others:
        words.next(f"word of the heading of the {of}")


def _read_values(words: WordReader, number: int) -> list[float]:
    if words.next(f"number of entry {number}").startswith("#"):
        raise words.error(f"expected the starting values of entry {number}")
    return [words.real(f"{q.name.lower()} of entry {number}") for q in Quantity]


def _read_step(words: WordReader) -> Step:
    # arguments are evaluated in the order in which they stand: that of the file
    return Step(
        algorithm=words.integer("algor"),
        time_points=words.integer("trunc"),
        areas=words.integer("ampli") != 0,
        frequencies=words.integer("frequ") != 0,
        gauss_widths=words.integer("width") != 0,
        phases=words.integer("phase") != 0,
        lorentz_widths=words.integer("voigt") != 0,
        lineshape=words.integer("lsfft") != 0,
        weighting=words.integer("wtype"),
        align=words.integer("convo") != 0,
        iterations=words.integer("niter"),
        part=words.integer("cmplx"),
        intervals=tuple(
            (
                words.integer("first point of an interval"),
                words.integer("last point of an interval"),
            )
            for _ in range(words.integer("n_int"))
        ),
    )


def _read_entry(
    words: WordReader,
    number: int,
    values: list[float],
    ranges: int,
    pattern_files: list[str],
    n_lines: int,
) -> Entry:
    words.expect(f"#{number}")
    words.expect("lsffit")
    takes_lineshape = words.integer("lsffit") != 0
    parameters, types = [], []
    for quantity, value in zip(Quantity, values):
        item = f"{quantity.name.lower()} of entry {number}"
        types.append(words.integer(f"type, {item}"))
        if types[-1] != types[0] or types[0] not in list(EntryType):
            raise words.error(f"type, {item}: expected 1, 2, 3 or 4, the same five times")
        link = words.integer(f"link, {item}")
        words.real(f"value, {item}")  # that of the table counts
        limits = None
        if ranges != 2:
            limits = (words.real(f"min, {item}"), words.real(f"max, {item}"))
        parameters.append(Parameter(value, link, limits))
    entry_type = EntryType(types[0])
    if (entry_type == EntryType.PATTERN) != (number > n_lines):
        raise words.error(
            f"entry {number}: type 4 belongs to patterns, which stand behind the lines"
        )
    name = pattern_files[number - n_lines - 1] if number > n_lines else ""
    own = by_name(parameters)
    return Entry(type=entry_type, takes_lineshape=takes_lineshape, pattern_file=name, **own)
