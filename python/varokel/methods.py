# SPDX-License-Identifier: BSD-3-Clause
"""One fit, by either of the two methods."""

from __future__ import annotations

from typing import Literal, overload

import numpy.typing as npt

from . import exact, fitting
from .exact import ExactOptions, Progress, fit_exact
from .exact_fit import ExactFit
from .fitting import FitOptions, fit_spectrum
from .peaks import PeakTable
from .results import Fit
from .sidecar import Sidecar
from .spectra import Spectrum


@overload
def fit(
    spectrum: Spectrum | npt.ArrayLike,
    peaks: exact.Start,
    options: ExactOptions | None = None,
    *,
    method: Literal["exact"] = "exact",
    name: str = "spectrum",
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
    progress: Progress | None = None,
) -> ExactFit: ...


@overload
def fit(
    spectrum: Spectrum | npt.ArrayLike,
    peaks: exact.Start,
    options: FitOptions | None = None,
    *,
    method: Literal["classic"],
    name: str = "spectrum",
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
) -> Fit: ...


def fit(
    spectrum: Spectrum | npt.ArrayLike,
    peaks: exact.Start,
    options: ExactOptions | FitOptions | None = None,
    *,
    method: Literal["exact", "classic"] = "exact",
    name: str = "spectrum",
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
    progress: Progress | None = None,
) -> ExactFit | Fit:
    """Fits one centred spectrum.

    spectrum   a Spectrum, or complex points of shape (n,) with 0 Hz at point 0 and the carrier at
               point n/2, n a power of two
    peaks      a table of peaks or its text, which need the sidecar's axis; or a start file: a
               StartFile, a path, or its text
    options    ExactOptions, for method "classic" FitOptions
    method     "exact": libvarokel, in this process, double precision; the optimum with its
               covariance and a verdict. "classic": the program varokel and its strategy of steps,
               in a private folder, single precision
    name       of the spectrum, for results and messages (a Spectrum brings its own)
    sidecar, reference   for points that are no Spectrum; see there
    progress   of "exact": called with searches, linearizations and sum of squares before every
               linearization; returning False, or an exception, ends the fit. So does an interrupt

    Tables of peaks and start files have one reader, that of the programs; "exact" calls it in this
    process and gives the digits of varokel-fit --method exact. It takes the points, channel and
    time points of the last step, what no step frees is fixed, and weighting and magnitudes are
    refused. Raises ValueError for points that are not finite and for arguments that do not belong
    together, FitFailed for what cannot be read (with line and column of the table) or fitted, or
    was stopped by `progress`, ProgramFailed with the message of varokel-start (method "classic"),
    FileFormatError, LibraryMissing, ProgramMissing.
    """
    classic = options_of(method, options)
    if isinstance(classic, FitOptions):
        if progress is not None:
            raise ValueError('method "classic" tells of no progress')
        start = fitting_start(peaks)
        return fit_spectrum(
            spectrum, start, classic, name=name, sidecar=sidecar, reference=reference
        )
    return fit_exact(
        spectrum,
        peaks,
        classic,
        name=name,
        sidecar=sidecar,
        reference=reference,
        progress=progress,
    )


def options_of(
    method: Literal["exact", "classic"], options: ExactOptions | FitOptions | None
) -> ExactOptions | FitOptions:
    """Options that belong to the method, its own where none are given. Raises ValueError."""
    if method not in ("exact", "classic"):
        raise ValueError(f'method "{method}"; there are "exact" and "classic"')
    if options is None:
        return ExactOptions() if method == "exact" else FitOptions()
    if isinstance(options, ExactOptions) != (method == "exact"):
        raise ValueError(f'method "{method}" does not take {type(options).__name__}')
    return options


def fitting_start(peaks: exact.Start) -> fitting.Start:
    """Start values for the programs: text that is no start file is a table of peaks."""
    if isinstance(peaks, str) and not exact.is_start_file(peaks):
        return PeakTable(peaks)
    return peaks
