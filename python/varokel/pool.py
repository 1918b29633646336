# SPDX-License-Identifier: BSD-3-Clause
"""Fits of many spectra, several at a time."""

from __future__ import annotations

import os
from collections import deque
from collections.abc import Callable, Iterable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from dataclasses import replace
from threading import Event
from typing import Literal, TypeVar, overload

import numpy.typing as npt

from .errors import FitFailed, ProgramMissing, VarokelError
from .exact import ExactOptions, Start, fit_exact
from .exact_fit import ExactFit
from .fitting import FitOptions, make_task, run_task
from .library import load_library
from .methods import fitting_start, options_of
from .programs import RunningPrograms, find_program
from .results import Fit
from .sidecar import Sidecar
from .spectra import Spectrum

_TASKS_AHEAD = 3

StartOf = Callable[[int], Start]
"""Start values by the number of the spectrum, from 0."""


_Result = TypeVar("_Result")


@overload
def fit_many(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: ExactOptions | None = None,
    *,
    method: Literal["exact"] = "exact",
    workers: int | None = None,
    sidecar: Sidecar | None = None,
) -> Iterator[ExactFit | FitFailed]: ...


@overload
def fit_many(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: FitOptions | None = None,
    *,
    method: Literal["classic"],
    workers: int | None = None,
    sidecar: Sidecar | None = None,
) -> Iterator[Fit | FitFailed]: ...


def fit_many(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: ExactOptions | FitOptions | None = None,
    *,
    method: Literal["exact", "classic"] = "exact",
    workers: int | None = None,
    sidecar: Sidecar | None = None,
) -> Iterator[ExactFit | FitFailed] | Iterator[Fit | FitFailed]:
    """Fits spectra and yields a result for each, in their order.

    spectra   any iterable; read as the work goes on, so that a generator keeps memory flat
    start     start values for all, or a function of the spectrum's number; a table of peaks is made
              into start values for every spectrum (method "classic": by a program of its own,
              start_from_peaks makes them once)
    options   as for fit; a `folder` gets a folder for each spectrum, named by its number. Without
              options, logs of the programs are not kept
    method    as for fit: "exact" on threads, "classic" with a pool of programs
    workers   fits at a time; by default the processors that this process may use
    sidecar   of all spectra that are plain points

    A spectrum that cannot be fitted yields the FitFailed that fit would raise, wrong points of it
    and errors of varokel-start included, and the rest goes on. Results do not depend on `workers`.
    When the iterator is left early or interrupted, fits and programs under way are ended. Raises
    ProgramMissing, LibraryMissing, and OSError where no private folder can be made.
    """
    if options is None and method == "classic":
        options = FitOptions(with_log=False)
    chosen = options_of(method, options)
    count = workers if workers is not None else len(os.sched_getaffinity(0))
    if count < 1:
        raise ValueError(f"{count} workers; expected 1 at least")
    if isinstance(chosen, FitOptions):
        find_program("varokel", chosen.programs)
        return _classic(spectra, start, chosen, count, sidecar)
    load_library(chosen.programs)
    return _exact(spectra, start, chosen, count, sidecar)


def _exact(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: ExactOptions,
    workers: int,
    sidecar: Sidecar | None,
) -> Iterator[ExactFit | FitFailed]:
    left = Event()

    def fit_one(number: int, spectrum: Spectrum | npt.ArrayLike) -> ExactFit:
        chosen = start(number) if callable(start) else start
        of_points = None if isinstance(spectrum, Spectrum) else sidecar
        return fit_exact(
            spectrum,
            chosen,
            options,
            name=_name_of(number, spectrum),
            sidecar=of_points,
            progress=lambda *_: not left.is_set(),
        )

    return _in_order(spectra, fit_one, workers, left.set)


def _classic(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: FitOptions,
    workers: int,
    sidecar: Sidecar | None,
) -> Iterator[Fit | FitFailed]:
    running = RunningPrograms()

    def fit_one(number: int, spectrum: Spectrum | npt.ArrayLike) -> Fit:
        own = options
        if options.folder is not None:
            own = replace(options, folder=os.path.join(options.folder, f"{number:06d}"))
        chosen = fitting_start(start(number) if callable(start) else start)
        of_points = None if isinstance(spectrum, Spectrum) else sidecar
        name = _name_of(number, spectrum)
        return run_task(make_task(spectrum, chosen, own, name=name, sidecar=of_points), running)

    return _in_order(spectra, fit_one, workers, running.end_all)


def _name_of(number: int, spectrum: Spectrum | npt.ArrayLike) -> str:
    return spectrum.name if isinstance(spectrum, Spectrum) else f"spectrum {number}"


def _in_order(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    fit_one: Callable[[int, Spectrum | npt.ArrayLike], _Result],
    workers: int,
    end_all: Callable[[], object],
) -> Iterator[_Result | FitFailed]:
    def fit_or_tell(number: int, spectrum: Spectrum | npt.ArrayLike) -> _Result | FitFailed:
        try:
            return fit_one(number, spectrum)
        except FitFailed as failure:
            return failure
        except ProgramMissing:
            raise
        except (VarokelError, ValueError) as error:
            return FitFailed(_name_of(number, spectrum), str(error), "")

    with ThreadPoolExecutor(workers) as pool:
        waiting: deque[Future[_Result | FitFailed]] = deque()
        try:
            for number, spectrum in enumerate(spectra):
                waiting.append(pool.submit(fit_or_tell, number, spectrum))
                if len(waiting) > _TASKS_AHEAD * workers:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for future in waiting:
                future.cancel()
            end_all()
