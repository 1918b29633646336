# SPDX-License-Identifier: BSD-3-Clause
"""From start values and a spectrum to a problem of libvarokel."""

from __future__ import annotations

from collections.abc import Mapping
from ctypes import byref, c_int
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import BoolArray, ComplexArray, EntryType, Quantity
from .library import Handle, Library, pairs_of, pointer_to
from .patterns import PatternContent
from .results import hz_per_unit
from .signals import read_signal
from .start_file import Entry, StartFile
from .text_pattern import decay_of_lines, parse_text_pattern

Windows = Mapping[tuple[str, Quantity], tuple[float, float]]
"""Least and largest value of parameters, by name of the entry and quantity; Hz, degrees, signal."""

_CLASSIC = 'method="classic" takes it'


def intervals_of_mask(mask: BoolArray) -> tuple[tuple[int, int], ...]:
    """Runs of True as first and last point. Raises ValueError when there are none."""
    edges = np.diff(np.pad(mask.astype(np.int8), 1))
    first, behind = np.flatnonzero(edges == 1), np.flatnonzero(edges == -1)
    if first.size == 0:
        raise ValueError("the mask leaves no points to be fitted")
    return tuple((int(a), int(b) - 1) for a, b in zip(first, behind))


def make_problem(
    library: Library,
    points: ComplexArray,
    start: StartFile,
    names: tuple[str, ...],
    *,
    noise_sd: float,
    mask: BoolArray | None = None,
    windows: Windows | None = None,
    patterns: Mapping[str, PatternContent] | None = None,
    reference: ComplexArray | None = None,
) -> Handle:
    """A problem with the links, the last step's points and channel, and the lineshapes of a file.

    A parameter is free when its link says so, whatever groups single steps hold. Raises ValueError
    for what the engine does not do and the programs do; RefusedByLibrary.
    """
    step = start.steps[-1] if start.steps else None
    if step is not None and step.part > 2:
        raise ValueError(f"fits of magnitude or power (cmplx {step.part}): {_CLASSIC}")
    if step is not None and step.weighting != 1:
        raise ValueError(f"weighting (wtype {step.weighting}): {_CLASSIC}")
    problem = library.create("problem", start.points, start.hz_per_point)
    pairs = pairs_of(points)
    library.call("problem_set_spectrum", problem, pointer_to(pairs), points.size)
    library.call("problem_set_noise_sd", problem, noise_sd)
    library.call("problem_set_first_order_phase", problem, start.phi_1)
    kept = 0 if step is None or step.time_points >= start.points else step.time_points
    library.call("problem_set_truncation", problem, start.ignored, kept)
    if step is not None:
        library.call("problem_set_channel", problem, step.part)
    fitted = step.intervals if step is not None else ()
    for first, last in fitted if mask is None else intervals_of_mask(mask):
        library.call("problem_add_interval", problem, first, last)
    if start.fit_mode == 2:
        if reference is None or reference.shape != (start.points,):
            raise ValueError("fit_mo 2 needs a reference decay with the points of the spectrum")
        pairs = pairs_of(reference)
        library.call("problem_set_measured_lineshape", problem, pointer_to(pairs), reference.size)
    if start.fit_mode == 3 and start.lineshape:
        pairs = pairs_of(np.array(start.lineshape))
        free = any(s.lineshape for s in start.steps)
        library.call(
            "problem_set_fitted_lineshape",
            problem,
            pointer_to(pairs),
            len(start.lineshape),
            int(free),
        )
    for number, (entry, name) in enumerate(zip(start.entries, names)):
        _add_entry(library, problem, start, number, name, patterns or {})
    for (name, quantity), (lower, upper) in (windows or {}).items():
        if name not in names:
            raise ValueError(f'a window for "{name}"; there are {", ".join(names)}')
        library.call("problem_set_window", problem, names.index(name), quantity, lower, upper)
    return problem


def _add_entry(
    library: Library,
    problem: Handle,
    start: StartFile,
    number: int,
    name: str,
    patterns: Mapping[str, PatternContent],
) -> None:
    entry = start.entries[number]
    library.call("problem_add_entry", problem, name.encode(), int(entry.type), byref(c_int()))
    if entry.type == EntryType.PATTERN:
        if entry.pattern_file not in patterns:
            raise ValueError(f"no contents given for pattern {entry.pattern_file}")
        decay = _decay_of_pattern(library, start, entry.pattern_file, patterns[entry.pattern_file])
        index, pairs = c_int(), pairs_of(decay)
        library.call("problem_add_pattern", problem, pointer_to(pairs), decay.size, byref(index))
        library.call("problem_set_entry_pattern", problem, number, index.value)
    if entry.takes_lineshape:
        library.call("problem_set_takes_lineshape", problem, number, 1)
    for quantity, parameter in zip(Quantity, entry.parameters):
        value = _in_hz(start, entry, quantity)
        if parameter.link == 0:
            library.call("problem_set_free", problem, number, quantity, value)
        elif parameter.link == number + 1:
            library.call("problem_set_fixed", problem, number, quantity, value)
        else:
            _tie(library, problem, start, number, name, quantity)


def _tie(
    library: Library,
    problem: Handle,
    start: StartFile,
    number: int,
    name: str,
    quantity: Quantity,
) -> None:
    entry = start.entries[number]
    source = entry.parameters[quantity].link - 1
    if not 0 <= source < len(start.entries):
        raise ValueError(f"{name}: {quantity.name.lower()} follows an entry that is not there")
    value, other = (_in_hz(start, e, quantity) for e in (entry, start.entries[source]))
    if quantity != Quantity.AREA:
        library.call("problem_set_tied", problem, number, quantity, source, 1.0, value - other)
        return
    if other == 0.0:
        raise ValueError(f"{name}: the area follows one that starts at 0, to which it has no ratio")
    library.call("problem_set_tied", problem, number, quantity, source, value / other, 0.0)


def _in_hz(start: StartFile, entry: Entry, quantity: Quantity) -> float:
    unit = hz_per_unit(quantity, entry.type, start.hz_per_point)
    return entry.parameters[quantity].value * unit


def _decay_of_pattern(
    library: Library, start: StartFile, name: str, content: PatternContent
) -> ComplexArray:
    """Decay of a pattern; of a binary one undoes pattern_of_fid, but for the half band that it keeps.

    The area is a factor of the stored pattern, whatever its first point is. A path is text where its
    name has ".pat", as for the programs.
    """
    if isinstance(content, PathLike):
        path = Path(content)
        if ".pat" not in path.name:
            content = read_signal(path, start.points)
        else:
            content = path.read_text(encoding="utf-8", errors="surrogateescape")
    if isinstance(content, str):
        lines = parse_text_pattern(content, name)
        decay = decay_of_lines(library, lines, start.points, start.hz_per_point, start.phi_1)
    else:
        if content.shape != (start.points,):
            shape = f"({start.points},)"
            raise ValueError(f"pattern {name} of shape {content.shape}; expected {shape}")
        decay = np.fft.fft(np.roll(np.conj(content), start.points // 2))
    if decay[0] == 0.0:
        raise ValueError(f"pattern {name}: its first point of time is 0, so it has no area")
    return decay
