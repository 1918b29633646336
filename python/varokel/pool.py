# SPDX-License-Identifier: BSD-3-Clause
"""Fits of many spectra, several programs at a time."""

from __future__ import annotations

import os
from collections import deque
from collections.abc import Callable, Iterable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from dataclasses import replace

import numpy.typing as npt

from .errors import FitFailed, ProgramMissing, VarokelError
from .fitting import FitOptions, Start, make_task, run_task
from .programs import RunningPrograms, find_program
from .results import Fit
from .sidecar import Sidecar
from .spectra import Spectrum

_TASKS_AHEAD = 3

StartOf = Callable[[int], Start]
"""Start values by the number of the spectrum, from 0."""


def fit_many(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: FitOptions = FitOptions(with_log=False),
    *,
    workers: int | None = None,
    sidecar: Sidecar | None = None,
) -> Iterator[Fit | FitFailed]:
    """Fits spectra with a pool of programs and yields a result for each, in their order.

    spectra   any iterable; read as the work goes on, so that a generator keeps memory flat
    start     start values for all, or a function of the spectrum's number
    options   as for fit_spectrum; a `folder` gets a folder for each spectrum, named by its number
    workers   programs at a time; by default the processors that this process may use
    sidecar   of all spectra that are plain points

    A spectrum that cannot be fitted yields the FitFailed that fit_spectrum would raise, wrong
    points of it and errors of varokel-start included, and the rest goes on. Results do not depend
    on `workers`. When the iterator is left early or interrupted, the programs under way are ended.
    Raises ProgramMissing, and OSError where no private folder can be made.
    """
    find_program("varokel", options.programs)
    count = workers if workers is not None else len(os.sched_getaffinity(0))
    if count < 1:
        raise ValueError(f"{count} workers; expected 1 at least")
    return _results(spectra, start, options, count, sidecar)


def _results(
    spectra: Iterable[Spectrum | npt.ArrayLike],
    start: Start | StartOf,
    options: FitOptions,
    workers: int,
    sidecar: Sidecar | None,
) -> Iterator[Fit | FitFailed]:
    running = RunningPrograms()

    def fit_one(number: int, spectrum: Spectrum | npt.ArrayLike) -> Fit | FitFailed:
        own = options
        if options.folder is not None:
            own = replace(options, folder=os.path.join(options.folder, f"{number:06d}"))
        name = spectrum.name if isinstance(spectrum, Spectrum) else f"spectrum {number}"
        try:
            chosen = start(number) if callable(start) else start
            of_points = None if isinstance(spectrum, Spectrum) else sidecar
            return run_task(make_task(spectrum, chosen, own, name=name, sidecar=of_points), running)
        except FitFailed as failure:
            return failure
        except ProgramMissing:
            raise
        except (VarokelError, ValueError) as error:
            return FitFailed(name, str(error), "")

    with ThreadPoolExecutor(workers) as pool:
        waiting: deque[Future[Fit | FitFailed]] = deque()
        try:
            for number, spectrum in enumerate(spectra):
                waiting.append(pool.submit(fit_one, number, spectrum))
                if len(waiting) > _TASKS_AHEAD * workers:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for future in waiting:
                future.cancel()
            running.end_all()
