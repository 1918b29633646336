# SPDX-License-Identifier: BSD-3-Clause
"""Fits by libvarokel, in this process."""

from __future__ import annotations

from collections.abc import Callable, Mapping, Sequence
from ctypes import byref, c_double, c_int
from dataclasses import dataclass, replace
from os import PathLike
from pathlib import Path

import numpy as np
import numpy.typing as npt

from .arrays import BoolArray, ComplexArray, complex_points, refuse_masked
from .errors import FitFailed
from .exact_fit import ExactFit, read_exact_fit
from .interrupts import interrupts_noted
from .library import PROGRESS, Handle, Library, RefusedByLibrary, load_library, pointer_to
from .patterns import PatternContent
from .peaks import PeakTable
from .results import entry_names
from .sidecar import Sidecar
from .spectra import Spectrum, arguments_of
from .start_file import StartFile
from .starts import (
    StartInLibrary,
    Windows,
    folder_of_patterns,
    make_problem,
    start_of_file,
    start_of_table,
)


@dataclass(frozen=True)
class ExactOptions:
    """What a fit by the engine needs beside spectrum and start values.

    names         of the entries, in the order of the start values; a peak table has its own
    mask          points that are fitted, shape (n,); by default those of the start values
    noise_window  first point and the one behind the last of those that hold noise only; by default
                  that of the start values, then of the sidecar, and a guess where there is none
    noise_sd      of the noise per channel [signal], where it is known better than from a window
    windows       least and largest value of parameters, by ("PCr", Quantity.AREA); Hz (widths:
                  FWHM), degrees, signal. In place of the table's own for these parameters
    patterns      contents of pattern files by the names that the start values have
    starts        how many other starts are tried, whatever the first one finds
    most_linearizations   of one search, at which it gives up (verdict "not_finished")
    programs      folder of the library and the programs, see find_library and find_program
    """

    names: Sequence[str] = ()
    mask: npt.ArrayLike | None = None
    noise_window: tuple[int, int] | None = None
    noise_sd: float | None = None
    windows: Windows | None = None
    patterns: Mapping[str, PatternContent] | None = None
    starts: int = 0
    most_linearizations: int = 200
    programs: str | PathLike[str] | None = None


Start = StartFile | PeakTable | PathLike[str] | str
"""Start values: a StartFile, a PeakTable, the path of a file of version 3, or the text of either."""


def is_start_file(text: str) -> bool:
    """Whether this is the text of a start file, and not of a table of peaks."""
    return text.lstrip().startswith("version_3")


Progress = Callable[[int, int, float], object]
"""Told of a fit under way: searches begun, linearizations of all of them, sum of squares of the
residual [noise variances]. Ends the fit by returning False, or by an exception, which goes on."""


def fit_exact(
    spectrum: Spectrum | npt.ArrayLike,
    start: Start,
    options: ExactOptions = ExactOptions(),
    *,
    name: str = "spectrum",
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
    progress: Progress | None = None,
) -> ExactFit:
    """What varokel.fit does with method "exact"; see there."""
    given, name, sidecar, reference = arguments_of(spectrum, name, sidecar, reference)
    if options.starts < 0 or options.most_linearizations < 1:
        raise ValueError(
            f"{options.starts} starts, {options.most_linearizations} linearizations; expected "
            "none or more, and one at least"
        )
    library = load_library(options.programs)
    points = _finite_points(given)
    mask = _mask_of(options.mask, points.size)
    decay = None if reference is None else _finite_points(reference)
    names: tuple[str, ...] = ()
    try:
        with folder_of_patterns(options.patterns, points.size) as folder:
            values = _start_values(library, start, points, sidecar, options, folder)
            _refuse_other_spectrum(name, points, sidecar, values)
            names = _names_of(values, options)
            noise_sd, window, guess = _noise_of(library, points, sidecar, values, options)
            problem = make_problem(
                library,
                values,
                points,
                names,
                noise_sd=noise_sd,
                mask=mask,
                windows=options.windows,
                reference=decay,
            )
        chosen = library.create("options")
        library.call("options_set_starts", chosen, options.starts, max(6, options.starts))
        library.call("options_set_most_linearizations", chosen, options.most_linearizations)
        found = _find(library, problem, chosen, progress)
        return read_exact_fit(
            library,
            found,
            name=name,
            start=values,
            names=names,
            data=points,
            noise=(noise_sd, window),
            notes=(*guess, *values.notes),
            sidecar=sidecar,
        )
    except RefusedByLibrary as refused:
        about = f"{names[refused.entry]}: " if 0 <= refused.entry < len(names) else ""
        raise FitFailed(name, about + refused.reason, "") from None


def _finite_points(spectrum: npt.ArrayLike) -> ComplexArray:
    points = np.array(complex_points(spectrum))
    if points.ndim != 1 or points.size == 0:
        raise ValueError(f"a signal has one dimension and points; this one has shape {points.shape}")
    if points.size < 2 or points.size & (points.size - 1) != 0:
        raise ValueError(f"a spectrum has 2, 4, 8 ... points, not {points.size}")
    bad = np.flatnonzero(~np.isfinite(points))
    if bad.size:
        raise ValueError(
            f"point {bad[0]} of the signal is not finite ({points[bad[0]]}); {bad.size} such "
            "points in all"
        )
    return points


def _mask_of(mask: npt.ArrayLike | None, points: int) -> BoolArray | None:
    if mask is None:
        return None
    refuse_masked(mask, "the mask has masked points; fill them with True or False")
    chosen = np.asarray(mask)
    if chosen.dtype != np.bool_ or chosen.shape != (points,):
        raise ValueError(
            f"a mask of {chosen.dtype} and shape {chosen.shape}; expected bool and ({points},)"
        )
    return chosen


def _guessed_window(library: Library, points: ComplexArray) -> tuple[int, int]:
    first, last = c_int(), c_int()
    pairs = points.view(np.float64)
    library.call("noise_window", pointer_to(pairs), points.size, byref(first), byref(last))
    return first.value, last.value + 1


def _noise_in(library: Library, points: ComplexArray, window: tuple[int, int]) -> float:
    first, stop = window
    if not 0 <= first < stop - 1 < points.size:
        raise ValueError(f"a noise window from point {first} to {stop - 1} of {points.size}")
    noise_sd, pairs = c_double(), points.view(np.float64)
    library.call(
        "noise_sd", pointer_to(pairs), points.size, first, stop - 1, byref(noise_sd)
    )
    if not noise_sd.value > 0.0:
        raise ValueError(f"there is no noise from point {first} to {stop - 1}; noise_sd= says it")
    return noise_sd.value


def _start_values(
    library: Library,
    start: Start,
    points: ComplexArray,
    sidecar: Sidecar | None,
    options: ExactOptions,
    folder: str | None,
) -> StartInLibrary:
    if isinstance(start, str) and not is_start_file(start):
        start = PeakTable(start)
    if isinstance(start, PeakTable):
        if sidecar is None:
            raise ValueError("a peak table needs a sidecar: its ppm and Hz refer to that axis")
        if sidecar.points != points.size:
            raise ValueError(f"{points.size} points, but the sidecar has {sidecar.points}")
        if options.noise_window is not None:
            sidecar = replace(sidecar, noise_window=options.noise_window)
        return start_of_table(library, start, points, sidecar, folder)
    if isinstance(start, StartFile):
        made = start_of_file(library, start.to_text(), "start file", sidecar, folder)
    elif isinstance(start, str):
        made = start_of_file(library, start, "start file", sidecar, folder)
    else:
        made = start_of_file(library, Path(start).read_bytes(), start, sidecar, folder)
    missing = set(made.patterns) - set(options.patterns or {})
    if missing:
        raise ValueError(f"no contents given for pattern {', '.join(sorted(missing))}")
    return made


def _names_of(start: StartInLibrary, options: ExactOptions) -> tuple[str, ...]:
    if options.names:
        return entry_names(start.types, tuple(options.names))
    numbered = entry_names(start.types, ())
    return tuple(own or number for own, number in zip(start.names, numbered))


def _refuse_other_spectrum(
    name: str, points: ComplexArray, sidecar: Sidecar | None, start: StartInLibrary
) -> None:
    if start.points != points.size:
        raise ValueError(
            f"{name}: {points.size} points, but the start values are for {start.points}"
        )
    if sidecar is not None and not np.isclose(sidecar.hz_per_point, start.hz_per_point, rtol=1e-5):
        raise ValueError(
            f"{name}: {sidecar.hz_per_point} Hz per point, but the start values are for "
            f"{start.hz_per_point}"
        )


def _noise_of(
    library: Library,
    points: ComplexArray,
    sidecar: Sidecar | None,
    start: StartInLibrary,
    options: ExactOptions,
) -> tuple[float, tuple[int, int] | None, list[str]]:
    """Standard deviation of the noise, the window that it is from, and what was guessed."""
    if options.noise_sd is not None:
        return options.noise_sd, None, []
    window, guess = options.noise_window or start.noise_window, []
    if window is None and sidecar is not None:
        window = sidecar.noise_window
    if window is None:
        window = _guessed_window(library, points)
        guess.append(f"guessed noise points {window[0]} to {window[1] - 1}")
    return _noise_in(library, points, window), window, guess


def _find(
    library: Library, problem: Handle, options: Handle, progress: Progress | None
) -> Handle:
    """The fit. Its steps ask whether the caller, or an interrupt of the keyboard, ends it."""
    raised: list[BaseException] = []

    def tell(_: object, searches: int, linearizations: int, sum_of_squares: float) -> int:
        try:
            go_on = progress is None or progress(searches, linearizations, sum_of_squares)
            return int(go_on is False or interrupted())
        except BaseException as error:  # none may pass through the library
            raised.append(error)
            return 1

    called = PROGRESS(tell)
    with interrupts_noted() as interrupted:
        library.call("options_set_progress", options, called, None)
        try:
            return library.make("fit", "fit_find", problem, options, library.create("workspace"))
        except RefusedByLibrary:
            if raised:
                raise raised[0] from None
            raise
