# SPDX-License-Identifier: BSD-3-Clause
"""Fits of arrays: each runs the program in a private folder that is removed afterwards."""

from __future__ import annotations

import tempfile
from collections.abc import Mapping, Sequence
from dataclasses import dataclass, replace
from os import PathLike
from pathlib import Path

import numpy as np
import numpy.typing as npt

from .arrays import ComplexArray, complex_points
from .errors import FitFailed
from .patterns import PatternContent, place_pattern
from .peaks import PeakTable, start_from_peaks
from .programs import RunningPrograms, find_program
from .reasons import reason_of_log
from .results import Fit, entry_names, read_fit
from .sidecar import Sidecar
from .signals import signal_bytes, spectrum_of_fid
from .spectra import Spectrum, arguments_of
from .start_file import StartFile
from .start_file_reading import parse_start_file, read_start_file

_NAME = "spectrum"


@dataclass(frozen=True)
class FitOptions:
    """What a fit needs beside spectrum and start values.

    names         of the entries, in the order of the start file
    patterns      contents of pattern files by the names that the start file has; points as
                  pattern_of_fid makes them
    timeout       most seconds that the program may take; None for no limit
    with_signals  read data, model, residual and components
    with_log      keep what the program printed
    folder        where the files of the run stay: a new or an empty folder; by default nowhere
    programs      folder of the programs, see find_program
    """

    names: Sequence[str] = ()
    patterns: Mapping[str, PatternContent] | None = None
    timeout: float | None = None
    with_signals: bool = True
    with_log: bool = True
    folder: str | PathLike[str] | None = None
    programs: str | PathLike[str] | None = None


Start = StartFile | PeakTable | PathLike[str] | str
"""Start values: a StartFile, a PeakTable, the path of a version 3 file, or (str) its text."""


def fit_spectrum(
    spectrum: Spectrum | npt.ArrayLike,
    start: Start,
    options: FitOptions = FitOptions(),
    *,
    name: str = _NAME,
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
) -> Fit:
    """Fits one centred spectrum.

    spectrum   a Spectrum, or complex points of shape (n,) with 0 Hz at point 0 and the carrier at
               point n/2; n is n_pnts of the start file, or more where its noise window needs it
    start      start values and strategy; a PeakTable needs the sidecar's axis
    name       of the spectrum, for results and messages (a Spectrum brings its own)
    sidecar, reference   for points that are no Spectrum; see there

    The program reads and writes single precision. Raises FitFailed with the program's reason;
    ValueError for arguments that do not belong together; FileFormatError for a start file that
    cannot be read; ProgramMissing.
    """
    task = make_task(spectrum, start, options, name=name, sidecar=sidecar, reference=reference)
    return run_task(task, RunningPrograms())


def fit_fid(
    fid: npt.ArrayLike,
    start: Start,
    options: FitOptions = FitOptions(),
    *,
    name: str = _NAME,
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
) -> Fit:
    """As fit_spectrum, for a free induction decay of shape (n,), n a power of two."""
    spectrum = spectrum_of_fid(fid)
    return fit_spectrum(spectrum, start, options, name=name, sidecar=sidecar, reference=reference)


@dataclass(frozen=True)
class FitTask:
    """A fit that can be run: everything checked, nothing written."""

    name: str
    signal: bytes
    start: StartFile
    start_text: str
    sidecar: Sidecar | None
    reference: bytes | None
    options: FitOptions


def make_task(
    spectrum: Spectrum | npt.ArrayLike,
    start: Start,
    options: FitOptions,
    *,
    name: str = _NAME,
    sidecar: Sidecar | None = None,
    reference: npt.ArrayLike | None = None,
) -> FitTask:
    """Checks the arguments of fit_spectrum; a peak table is turned into start values here."""
    given, name, sidecar, reference = arguments_of(spectrum, name, sidecar, reference)
    points = complex_points(given)
    signal = signal_bytes(points)
    if isinstance(start, PeakTable):
        if sidecar is None:
            raise ValueError("a peak table needs a sidecar: its ppm and Hz refer to that axis")
        made = start_from_peaks(
            start, points, sidecar, patterns=options.patterns, programs=options.programs
        )
        patterns = {**start.pattern_files(), **(options.patterns or {})}
        options = replace(options, names=options.names or made.names, patterns=patterns)
        start = made.start
    values, text = _values_and_text(start)
    _refuse_other_spectrum(name, points, sidecar, values)
    if values.data_format != "none":
        raise ValueError(f"sg_idl {values.data_format} is for files with headers; arrays have none")
    if (values.fit_mode == 2) and reference is None:
        raise ValueError(f"{name}: fit_mo 2 needs a reference signal")
    reference_bytes = None
    if reference is not None and values.fit_mode == 2:
        if np.shape(reference) != (values.points,):
            raise ValueError(f"{name}: reference of shape {np.shape(reference)}; "
                             f"expected ({values.points},)")  # fmt: skip
        reference_bytes = signal_bytes(reference)
    missing = set(values.pattern_files) - set(options.patterns or {})
    if missing:
        raise ValueError(f"no contents given for pattern {', '.join(sorted(missing))}")
    entry_names(values.types, tuple(options.names))
    return FitTask(name, signal, values, text, sidecar, reference_bytes, options)


def _values_and_text(start: StartFile | PathLike[str] | str) -> tuple[StartFile, str]:
    if isinstance(start, StartFile):
        return start, start.to_text()
    if isinstance(start, str):
        return parse_start_file(start), start
    text = Path(start).read_text(encoding="utf-8", errors="replace")
    return read_start_file(start), text


def _refuse_other_spectrum(
    name: str, points: ComplexArray, sidecar: Sidecar | None, values: StartFile
) -> None:
    needed = max(values.points, values.noise_window[1])
    if points.size < needed:
        raise ValueError(
            f"{name}: {points.size} points, but the start file needs {needed} "
            f"(n_pnts {values.points}, noistp {values.noise_window[1]})"
        )
    if points.size > needed:
        raise ValueError(
            f"{name}: {points.size} points, but the start file fits {values.points}; another "
            "n_pnts, or another spectrum"
        )
    if sidecar is not None and not np.isclose(sidecar.hz_per_point, values.hz_per_point, rtol=1e-5):
        raise ValueError(
            f"{name}: {sidecar.hz_per_point} Hz per point, but Hz_p_p of the start file is "
            f"{values.hz_per_point}"
        )


def run_task(task: FitTask, running: RunningPrograms) -> Fit:
    """Runs the program on a task. Raises FitFailed, ProgramMissing."""
    program = find_program("varokel", task.options.programs)
    if task.options.folder is not None:
        folder = Path(task.options.folder)
        folder.mkdir(parents=True, exist_ok=True)
        if any(folder.iterdir()):
            raise FileExistsError(f"{folder} holds files; a run needs an empty folder")
        return _run_in(folder.absolute(), task, program, running)
    with tempfile.TemporaryDirectory(prefix="varokel_fit_") as private:
        return _run_in(Path(private), task, program, running)


def _run_in(folder: Path, task: FitTask, program: Path, running: RunningPrograms) -> Fit:
    options = task.options
    (folder / f"{_NAME}.bin").write_bytes(task.signal)
    (folder / "start.par").write_text(task.start_text, encoding="utf-8")
    if task.reference is not None:
        (folder / f"{_NAME}.bin.ref").write_bytes(task.reference)
    for name in task.start.pattern_files:
        place_pattern(folder, name, (options.patterns or {})[name], task.start.points)
    if options.names:
        text = "".join(f"{name}\n" for name in options.names)
        (folder / "names.txt").write_text(text, encoding="utf-8")
    if task.sidecar is not None:
        text = task.sidecar.to_json(f"{_NAME}.bin")
        (folder / f"{_NAME}.json").write_text(text, encoding="utf-8")
    finished = running.run([program, ".", f"{_NAME}.bin", "start.par"], folder, options.timeout)
    log = finished.output + finished.errors
    (folder / "run.log").write_text(log, encoding="utf-8")
    if finished.timed_out:
        raise FitFailed(task.name, f"it took longer than {options.timeout} s", log)
    if finished.status < 0:
        raise FitFailed(task.name, f"the program was ended by signal {-finished.status}", log)
    if finished.status > 0:
        reason = reason_of_log(log) or "it printed nothing"
        raise FitFailed(task.name, f"exit status {finished.status}: {reason}", log)
    try:
        fit = read_fit(
            folder, _NAME, with_signals=options.with_signals, log=log, programs=options.programs
        )
    except FitFailed as failure:
        raise FitFailed(task.name, failure.reason, failure.log) from None
    return replace(fit, name=task.name, sidecar=task.sidecar, log=log if options.with_log else "")
