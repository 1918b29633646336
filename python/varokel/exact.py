# SPDX-License-Identifier: BSD-3-Clause
"""Fits by libvarokel, in this process."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from ctypes import byref, c_double, c_int, c_void_p
from dataclasses import dataclass, replace
from os import PathLike

import numpy as np
import numpy.typing as npt

from .arrays import BoolArray, ComplexArray, complex_points, refuse_masked
from .errors import FitFailed
from .exact_fit import ExactFit, read_exact_fit
from .exact_problem import Windows, make_problem
from .library import Handle, Library, RefusedByLibrary, load_library, pointer_to
from .patterns import PatternContent
from .peaks import PeakTable, start_and_warnings
from .results import entry_names
from .sidecar import Sidecar
from .spectra import Spectrum
from .start_file import StartFile
from .start_file_reading import parse_start_file, read_start_file


@dataclass(frozen=True)
class ExactOptions:
    """What a fit by the engine needs beside spectrum and start values.

    names         of the entries, in the order of the start values; a peak table has its own
    mask          points that are fitted, shape (n,); by default those of the start values
    noise_window  first point and the one behind the last of those that hold noise only; by default
                  that of the start file or the sidecar, and a guess where there is none
    noise_sd      of the noise per channel [signal], where it is known better than from a window
    windows       least and largest value of parameters, by ("PCr", Quantity.AREA), in the units of
                  a start file. Those of a table of peaks are not read: a table with windows or
                  ranges is refused unless this says what holds, {} for nothing
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


def fit_exact(
    spectrum: Spectrum | npt.ArrayLike,
    start: Start,
    options: ExactOptions = ExactOptions(),
    *,
    name: str = "spectrum",
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
) -> ExactFit:
    """What varokel.fit does with method "exact"; see there."""
    if isinstance(spectrum, Spectrum):
        if sidecar is not None or reference is not None:
            raise ValueError("a Spectrum brings its own sidecar and reference")
        name, sidecar, reference = spectrum.name, spectrum.sidecar, spectrum.reference
        spectrum = spectrum.points
    library = load_library(options.programs)
    points = _finite_points(spectrum)
    mask = _mask_of(options.mask, points.size)
    window, guess = options.noise_window, []
    if window is None and sidecar is not None:
        window = sidecar.noise_window
    if window is None and isinstance(start, StartFile | PathLike):
        start = start if isinstance(start, StartFile) else read_start_file(start)
        window = start.noise_window
    if window is None and isinstance(start, str) and is_start_file(start):
        window = parse_start_file(start).noise_window
    if window is None and options.noise_sd is None:
        window = _guessed_window(library, points)
        text = f"guessed noise points {window[0]} to {window[1] - 1}; noise_window= sets another"
        guess.append(text)
    values, names, patterns, notes = _start_values(start, points, sidecar, window, options)
    if values.points != points.size:
        raise ValueError(
            f"{name}: {points.size} points, but the start values are for {values.points}"
        )
    if sidecar is not None and not np.isclose(sidecar.hz_per_point, values.hz_per_point, rtol=1e-5):
        raise ValueError(
            f"{name}: {sidecar.hz_per_point} Hz per point, but the start values are for "
            f"{values.hz_per_point}"
        )
    noise_sd = options.noise_sd
    if noise_sd is None:
        assert window is not None
        noise_sd = _noise_in(library, points, window)
    try:
        problem = make_problem(
            library,
            points,
            values,
            names,
            noise_sd=noise_sd,
            mask=mask,
            windows=options.windows,
            patterns=patterns,
            reference=None if reference is None else _finite_points(reference),
        )
        chosen = library.create("options")
        library.call("options_set_starts", chosen, options.starts, max(6, options.starts))
        library.call("options_set_most_linearizations", chosen, options.most_linearizations)
        found = Handle(library, "fit", _find(library, problem, chosen))
    except RefusedByLibrary as refused:
        about = f"{names[refused.entry]}: " if refused.entry >= 0 else ""
        raise FitFailed(name, about + refused.reason, "") from None
    return read_exact_fit(
        library,
        found,
        name=name,
        start=values,
        names=names,
        data=points,
        noise=(noise_sd, None if options.noise_sd is not None else window),
        notes=(*guess, *notes),
        sidecar=sidecar,
    )


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
    start: Start,
    points: ComplexArray,
    sidecar: Sidecar | None,
    window: tuple[int, int] | None,
    options: ExactOptions,
) -> tuple[StartFile, tuple[str, ...], Mapping[str, PatternContent], list[str]]:
    patterns = dict(options.patterns or {})
    if isinstance(start, str) and not is_start_file(start):
        start = PeakTable(start)
    if isinstance(start, PeakTable):
        if sidecar is None:
            raise ValueError("a peak table needs a sidecar: its ppm and Hz refer to that axis")
        if sidecar.noise_window is None:  # a start file cannot do without
            sidecar = replace(sidecar, noise_window=window or (0, points.size))
        made, said = start_and_warnings(
            start, points, sidecar, patterns=options.patterns, programs=options.programs
        )
        if options.windows is None and (start.may_have_windows() or made.start.ranges != 2):
            raise ValueError(
                "the table gives windows or ranges, which a fit in process does not read; "
                "state those that shall hold as ExactOptions(windows=...), or {} for none"
            )
        names = tuple(options.names) or made.names
        patterns = {**start.pattern_files(), **patterns}
        return made.start, entry_names(made.start, names), patterns, said
    if isinstance(start, str):
        start = parse_start_file(start)
    elif not isinstance(start, StartFile):
        start = read_start_file(start)
    return start, entry_names(start, tuple(options.names)), patterns, []


def _find(library: Library, problem: Handle, options: Handle) -> c_void_p:
    found = c_void_p()
    library.call("fit_find", problem, options, library.create("workspace"), byref(found))
    return found
