# SPDX-License-Identifier: BSD-3-Clause
"""Everything that the files of one fitted spectrum say, in one object."""

from __future__ import annotations

from dataclasses import dataclass, field
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import ComplexArray, EntryType, FloatArray, IntArray, Quantity
from .entry_values import EntryValues
from .errors import FitFailed, FileFormatError, ProgramMissing
from .exl import FitSummary, read_exl
from .fitres import is_whole_fitres
from .judgement import Judgement, read_judgement
from .library import load_library
from .reasons import reason_of_log
from .sidecar import Sidecar, read_sidecar
from .signals import read_components, read_signal
from .start_file import GAUSS_FWHM_PER_WIDTH, StartFile
from .start_file_reading import read_start_file
from .tables import read_names, read_parameter_matrix

COMPLETE_SET = (".mat", ".err", ".exl", ".fitres")
"""Endings of the tables that a fit which came to its end leaves."""


@dataclass(frozen=True)
class FitSignals:
    """Signals of a fit, all centred spectra of shape (points,) but for the last two.

    data        as fitted: ignored leading points taken out
    model       the fit
    residual    data minus model
    full_model  the model with its leading points
    corrected   data, shifted and phased by the line that was followed; None if not written
    components  shape (entries, points): a curve for each entry; they add up to full_model
    lineshape   fitted lineshape of fit mode 3, a decay; else None
    """

    data: ComplexArray
    model: ComplexArray
    residual: ComplexArray
    full_model: ComplexArray
    corrected: ComplexArray | None
    components: ComplexArray
    lineshape: ComplexArray | None = None


@dataclass(frozen=True)
class Fit(EntryValues):
    """A fitted spectrum.

    name      of the spectrum
    names     of the entries, as given; "line 1", "pattern 17" where none were
    values    shape (entries, 5), columns as in Quantity, units as in start_file.Entry
    errors    same shape, ONE standard deviation (Cramer-Rao bounds; the files have two) times the
              sidecar's error_factor; 0 where a parameter is fixed or no errors were asked for,
              not-a-number where they could not be had
    summary   quality, noise, chi-square, iterations
    final     the start file that the run left (compact.par): settings, links, fitted values
    signals   None when they were not asked for
    sidecar   what is known about the spectrum beside its points; None if nothing
    log       all that the program printed; empty when it was not kept
    judgement what to know before the numbers; None when varokel-report is not there to tell
    """

    name: str
    names: tuple[str, ...]
    values: FloatArray
    errors: FloatArray
    summary: FitSummary
    final: StartFile
    signals: FitSignals | None = field(repr=False)
    sidecar: Sidecar | None = field(repr=False, default=None)
    log: str = field(repr=False, default="")
    judgement: Judgement | None = field(repr=False, default=None)

    @property
    def types(self) -> tuple[EntryType, ...]:
        return self.final.types

    @property
    def links(self) -> IntArray:
        """Shape (entries, 5): 0 free, own number fixed, another entry's number tied to it."""
        return self.final.links

    @property
    def frequency_sd_hz(self) -> FloatArray:
        """ONE standard deviation of the frequencies [Hz], shape (entries,)."""
        return self.errors[:, Quantity.FREQUENCY]

    @property
    def gauss_widths_hz(self) -> FloatArray:
        """Gaussian full widths at half height [Hz], shape (entries,), patterns included."""
        return self._widths_hz(Quantity.GAUSS_WIDTH)

    @property
    def lorentz_widths_hz(self) -> FloatArray:
        """Lorentzian full widths at half height [Hz], shape (entries,), for every type."""
        return self._widths_hz(Quantity.LORENTZ_WIDTH)

    @property
    def phases_degrees(self) -> FloatArray:
        """Zero-order phases [degrees], shape (entries,)."""
        return self.values[:, Quantity.PHASE]

    @property
    def hz_axis(self) -> FloatArray:
        """Frequency of each point [Hz from the left edge], shape (points,)."""
        return np.arange(self.final.points, dtype=np.float64) * self.final.hz_per_point

    def _widths_hz(self, quantity: Quantity) -> FloatArray:
        units = [hz_per_unit(quantity, t, self.final.hz_per_point) for t in self.types]
        widths: FloatArray = self.values[:, quantity] * np.array(units)
        return widths


def hz_per_unit(quantity: Quantity, entry_type: EntryType, hz_per_point: float) -> float:
    """What a width of a file has to be multiplied by to be a FWHM in Hz; 1 for other quantities."""
    if quantity not in (Quantity.GAUSS_WIDTH, Quantity.LORENTZ_WIDTH):
        return 1.0
    if entry_type == EntryType.PATTERN:
        return hz_per_point * (GAUSS_FWHM_PER_WIDTH if quantity == Quantity.GAUSS_WIDTH else 1.0)
    if entry_type == EntryType.LORENTZ and quantity == Quantity.LORENTZ_WIDTH:
        return hz_per_point
    return 1.0


def read_fit(
    folder: str | PathLike[str],
    name: str | None = None,
    *,
    start_folder: str | PathLike[str] | None = None,
    with_signals: bool = True,
    log: str | None = None,
    programs: str | PathLike[str] | None = None,
) -> Fit:
    """Reads what a run left in a folder.

    name          of the data file without ".bin"; may be left out when there is one .exl only
    start_folder  where the run was started and left compact.par (by default `folder`)
    with_signals  also read the signals
    log           what the program printed (by default NAME.log or run.log, if there is one)
    programs      folder of varokel-report, which judges the run, see find_program; and of
                  libvarokel, which is asked where zeros were filled in (LibraryMissing)

    NAME.json is taken as sidecar and names.txt for the names of the entries, where they are.
    Raises FitFailed when the set of results is not whole, with the reason that the log gives;
    FileFormatError for a file that holds something else.
    """
    place = Path(folder)
    if name is None:
        name = _only_run_in(place)
    printed = _log_of(place, name) if log is None else log
    final_file = Path(start_folder if start_folder is not None else place) / "compact.par"
    _refuse_incomplete(place, name, final_file, printed)
    final = read_start_file(final_file)
    values = read_parameter_matrix(place / f"{name}.mat")
    errors = read_parameter_matrix(place / f"{name}.err")
    exl = read_exl(place / f"{name}.exl")
    rows = {".mat": len(values), ".err": len(errors), ".exl": len(exl.types)}
    for ending, found in rows.items():
        if found != len(final.entries):
            problem = f"{found} rows; compact.par has {len(final.entries)} entries"
            raise FileFormatError(place / f"{name}{ending}", 0, problem)
    if not np.all(np.isfinite(values)):
        raise FitFailed(name, "its results are no finite numbers", printed)
    sidecar_file, names_file = place / f"{name}.json", place / "names.txt"
    sidecar = read_sidecar(sidecar_file) if sidecar_file.exists() else None
    try:
        judgement = read_judgement(place, name, programs=programs)
    except ProgramMissing:
        judgement = None
    factor = 1.0
    if sidecar is not None and sidecar.measured_points is not None:
        factor = sidecar.error_factor_by(load_library(programs))
    return Fit(
        name=name,
        names=entry_names(final.types, read_names(names_file) if names_file.exists() else ()),
        values=values,
        errors=0.5 * errors * factor,
        summary=exl.summary,
        final=final,
        signals=_read_signals(place, name, final.points) if with_signals else None,
        sidecar=sidecar,
        log=printed,
        judgement=judgement,
    )


def entry_names(types: tuple[EntryType, ...], names: tuple[str, ...]) -> tuple[str, ...]:
    """Names of the entries; made from their numbers when none are given. Raises ValueError."""
    if not names:
        return tuple(
            f"{'pattern' if type_ == EntryType.PATTERN else 'line'} {number}"
            for number, type_ in enumerate(types, start=1)
        )
    if len(names) != len(types):
        raise ValueError(f"{len(names)} names for {len(types)} entries")
    for name in names:  # the first word of a line of names.txt is the name
        if not name or any(mark in name for mark in " \t,\n"):
            raise ValueError(f'name "{name}": expected a word without blanks and commas')
    return names


def _only_run_in(place: Path) -> str:
    found = sorted(path.stem for path in place.glob("*.exl"))
    if len(found) != 1:
        raise ValueError(f"{place} holds {len(found)} .exl files; say which by name=")
    return found[0]


def _log_of(place: Path, name: str) -> str:
    for candidate in (place / f"{name}.log", place / "run.log"):
        if candidate.exists():
            return candidate.read_text(encoding="utf-8", errors="replace")
    return ""


def _refuse_incomplete(place: Path, name: str, final_file: Path, log: str) -> None:
    missing = [
        place / f"{name}{end}" for end in COMPLETE_SET if not (place / f"{name}{end}").exists()
    ]
    if not final_file.exists():
        missing.append(final_file)
    if missing:
        raise FitFailed(name, reason_of_log(log) or f"there is no {missing[0].name}", log)
    if not is_whole_fitres(place / f"{name}.fitres"):
        raise FitFailed(name, reason_of_log(log) or f"{name}.fitres is cut short", log)


def _read_signals(place: Path, name: str, points: int) -> FitSignals:
    def read(ending: str) -> ComplexArray:
        return read_signal(place / f"{name}{ending}", points)

    corrected, lineshape = place / f"{name}.cor", place / "lsf.bin"
    return FitSignals(
        data=read(".org"),
        model=read(".fit"),
        residual=read(".res"),
        full_model=read(".fit0"),
        corrected=read_signal(corrected, points) if corrected.exists() else None,
        components=read_components(place / f"{name}.nln0", points),
        lineshape=read_signal(lineshape, points) if lineshape.exists() else None,
    )
