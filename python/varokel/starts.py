# SPDX-License-Identifier: BSD-3-Clause
"""Start values and problems of libvarokel, by the programs' own readers: see varokel_start.h."""

from __future__ import annotations

import os
import tempfile
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from ctypes import byref, c_char_p, c_int, c_void_p
from dataclasses import dataclass
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import BoolArray, ComplexArray, EntryType, Quantity
from .library import Handle, Library, pairs_of, pointer_to
from .patterns import PatternContent, place_pattern
from .peaks import PeakTable
from .sidecar import Sidecar

Windows = Mapping[tuple[str, Quantity], tuple[float, float]]
"""Least and largest value of parameters, by name of the entry and quantity; Hz, degrees, signal."""

_GUESS, _WARNING = 0, 1


@dataclass(frozen=True)
class StartInLibrary:
    """Start values as the library has them. names: "" where there is none; noise_window: first
    point and the one behind the last; notes: what was guessed, and what may go wrong."""

    handle: Handle
    points: int
    hz_per_point: float
    noise_window: tuple[int, int] | None
    names: tuple[str, ...]
    types: tuple[EntryType, ...]
    patterns: tuple[str, ...]
    notes: tuple[str, ...]


@contextmanager
def folder_of_patterns(
    patterns: Mapping[str, PatternContent] | None, points: int
) -> Iterator[str | None]:
    """A private folder with these contents under their names, while it is needed; None without."""
    if not patterns:
        yield None
        return
    with tempfile.TemporaryDirectory(prefix="varokel_patterns_") as folder:
        for name, content in patterns.items():
            place_pattern(Path(folder), name, content, points)
        yield folder


def start_of_table(
    library: Library,
    table: PeakTable,
    points: ComplexArray,
    sidecar: Sidecar,
    folder: str | None = None,
) -> StartInLibrary:
    """Start values for a spectrum; patterns stand in `folder`, then in the table's own.

    Raises RefusedByLibrary, with line and column of the table.
    """
    workspace = library.create("workspace")
    read = library.make("table", "table_read", _text(table.text), _path(table.file), workspace)
    for place in (folder, table.folder):
        if place is not None:
            library.call("table_add_folder", read, _path(place))
    pairs = pairs_of(points)
    made = library.make(
        "start",
        "table_start",
        read,
        _text(sidecar.to_json("spectrum.bin")),
        pointer_to(pairs),
        points.size,
        workspace,
    )
    return _described(library, made)


def start_of_file(
    library: Library,
    text: str | bytes,
    file: str | PathLike[str],
    sidecar: Sidecar | None,
    folder: str | None = None,
) -> StartInLibrary:
    """Start values of a start value file's text; the sidecar has their ppm. Raises
    RefusedByLibrary, with the line."""
    own = text if isinstance(text, bytes) else _text(text)
    workspace = library.create("workspace")
    made = library.make("start", "start_read", own, _path(file), workspace)
    if sidecar is not None:
        library.call("start_set_axis", made, _text(sidecar.to_json("spectrum.bin")), workspace)
    if folder is not None:
        library.call("start_add_folder", made, _path(folder))
    return _described(library, made)


def make_problem(
    library: Library,
    start: StartInLibrary,
    points: ComplexArray,
    names: tuple[str, ...],
    *,
    noise_sd: float,
    mask: BoolArray | None = None,
    windows: Windows | None = None,
    reference: ComplexArray | None = None,
) -> Handle:
    """The problem of the start values; a mask takes the place of their points, windows that of
    theirs for the same parameter. Raises ValueError; RefusedByLibrary."""
    for number, name in enumerate(names):
        library.call("start_set_name", start.handle, number, _text(name))
    pairs = pairs_of(points)
    decay = None
    if reference is not None:
        if reference.shape != (start.points,):
            raise ValueError(f"reference of shape {reference.shape}; expected ({start.points},)")
        decay = pairs_of(reference)
    problem = library.make(
        "problem",
        "start_problem",
        start.handle,
        pointer_to(pairs),
        points.size,
        noise_sd,
        None if decay is None else pointer_to(decay),
        library.create("workspace"),
    )
    if mask is not None:
        library.call("problem_clear_intervals", problem)
        for first, last in intervals_of_mask(mask):
            library.call("problem_add_interval", problem, first, last)
    for (name, quantity), (lower, upper) in (windows or {}).items():
        if name not in names:
            raise ValueError(f'a window for "{name}"; there are {", ".join(names)}')
        library.call("problem_set_window", problem, names.index(name), quantity, lower, upper)
    return problem


def intervals_of_mask(mask: BoolArray) -> tuple[tuple[int, int], ...]:
    """Runs of True as first and last point. Raises ValueError when there are none."""
    edges = np.diff(np.pad(mask.astype(np.int8), 1))
    first, behind = np.flatnonzero(edges == 1), np.flatnonzero(edges == -1)
    if first.size == 0:
        raise ValueError("the mask leaves no points to be fitted")
    return tuple((int(a), int(b) - 1) for a, b in zip(first, behind))


def _described(library: Library, start: Handle) -> StartInLibrary:
    names, types, patterns = [], [], []
    for number in range(library.count("start_entries", start)):
        name, line, pattern = c_char_p(), c_int(), c_char_p()
        library.call("start_entry", start, number, byref(name), byref(line), byref(pattern))
        names.append((name.value or b"").decode(errors="replace"))
        types.append(EntryType(line.value))
        if pattern.value:
            patterns.append(os.fsdecode(pattern.value))
    notes = []
    for number in range(library.count("start_remarks", start)):
        kind, text = c_int(), c_char_p()
        library.call("start_remark", start, number, byref(kind), byref(text))
        said = (text.value or b"").decode(errors="replace")
        if kind.value in (_GUESS, _WARNING):
            notes.append(f"guessed {said}" if kind.value == _GUESS else said)
    first, last = c_int(), c_int()
    known = library.holds("start_noise_window", start, byref(first), byref(last))
    return StartInLibrary(
        start,
        library.count("start_points", start),
        library.number("start_hz_per_point", start),
        (first.value, last.value + 1) if known else None,
        tuple(names),
        tuple(types),
        tuple(patterns),
        tuple(notes),
    )


def _text(text: str) -> bytes:
    if "\0" in text:
        raise ValueError("a text with a zero byte in it")
    return text.encode(errors="surrogateescape")


def _path(path: str | PathLike[str]) -> bytes:
    return os.fsencode(path)
