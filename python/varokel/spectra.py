# SPDX-License-Identifier: BSD-3-Clause
"""Spectra with what is known about them, and their import from measured files."""

from __future__ import annotations

import tempfile
from collections.abc import Iterator, Sequence
from dataclasses import dataclass, field
from os import PathLike
from pathlib import Path

import numpy as np
import numpy.typing as npt

from .arrays import ComplexArray
from .programs import run_companion, warn_of
from .sidecar import Sidecar, read_sidecar
from .signals import read_signal, spectrum_of_fid


@dataclass(frozen=True)
class Spectrum:
    """A spectrum as it is fitted.

    name       without ending
    points     complex, shape (n,), centred: 0 Hz at point 0, the carrier at point n/2
    sidecar    what is known beside its points
    reference  decay of a measured lineshape for fit mode 2, shape (n,); None without
    """

    name: str
    points: ComplexArray = field(repr=False)
    sidecar: Sidecar
    reference: ComplexArray | None = field(default=None, repr=False)


def arguments_of(
    spectrum: Spectrum | npt.ArrayLike,
    name: str,
    sidecar: Sidecar | None,
    reference: npt.ArrayLike | None,
) -> tuple[npt.ArrayLike, str, Sidecar | None, npt.ArrayLike | None]:
    """Points, name, sidecar and reference: a Spectrum brings its own. Raises ValueError for two."""
    if not isinstance(spectrum, Spectrum):
        return spectrum, name, sidecar, reference
    if sidecar is not None or reference is not None:
        raise ValueError("a Spectrum brings its own sidecar and reference")
    return spectrum.points, spectrum.name, spectrum.sidecar, spectrum.reference


def spectrum_from_fid(
    fid: npt.ArrayLike,
    dwell_time: float,
    *,
    spectrometer_mhz: float | None = None,
    ppm_at_carrier: float | None = None,
    ppm_rises_with_points: bool = True,
    delay: float = 0.0,
    noise_window: tuple[int, int] | None = None,
    points: int | None = None,
    name: str = "spectrum",
) -> Spectrum:
    """A spectrum from a free induction decay of shape (m,).

    dwell_time    between its points [s]
    spectrometer_mhz, ppm_at_carrier, ppm_rises_with_points   the axis, for tables in ppm
    delay         from the excitation to the first point [s]; areas are those at the excitation
    noise_window  first point and the one behind the last of the spectrum that hold noise only
    points        of the spectrum, a power of two; by default m, which then has to be one

    Zeros behind the decay, those of `points` and those at its own end (one point in 64 or more, as
    varokel-import has it), count as filled: Sidecar.measured_points says so, a fit of a table cuts
    its model there, too, and widens its errors. Raises ValueError.
    """
    if not dwell_time > 0.0:
        raise ValueError(f"a dwell time of {dwell_time} s; expected a number above 0")
    centred = spectrum_of_fid(fid, points)
    sidecar = Sidecar(
        points=centred.size,
        hz_per_point=1.0 / (dwell_time * centred.size),
        spectrometer_mhz=spectrometer_mhz,
        ppm_at_carrier=ppm_at_carrier,
        ppm_rises_with_points=ppm_rises_with_points,
        phi_1_degrees=360.0 * delay / dwell_time,
        noise_window=noise_window,
        measured_points=_measured_points(np.asarray(fid)[: centred.size], centred.size),
    )
    return Spectrum(name, centred, sidecar)


def _measured_points(decay: npt.NDArray[np.generic], points: int) -> int | None:
    """Points of a decay before the zeros that fill it up to `points`; None without zeros."""
    after = np.flatnonzero(decay)[-1:] + 1
    last = int(after[0]) if after.size else decay.size
    measured = last if 64 * (decay.size - last) >= decay.size else decay.size
    return measured if measured < points else None


def import_file(
    source: str | PathLike[str],
    folder: str | PathLike[str] | None = None,
    *,
    options: Sequence[str] = (),
    programs: str | PathLike[str] | None = None,
) -> list[Spectrum]:
    """Runs varokel-import on a measured file and returns its spectra in the order of the file.

    source    NIfTI-MRS, LCModel .RAW, jMRUI text, SPAR/SDAT, RDA, text, or float32 points
    folder    where the spectra and their sidecars stay; by default nowhere
    options   of varokel-import, such as ["--dwell", "0.0001"] or ["--index", "all"]
    programs  folder of the programs, see find_program

    `source` is read only. Each line that the program warns with becomes a VarokelWarning. Raises
    ProgramFailed with the program's message; ProgramMissing. All spectra are held at once; for a
    large grid give a folder to `run_import` and go through `read_imported`.
    """
    with tempfile.TemporaryDirectory(prefix="varokel_import_") as private:
        place = private if folder is None else folder
        files = run_import(source, place, options=options, programs=programs)
        return [read_spectrum(file) for file in files]


def run_import(
    source: str | PathLike[str],
    folder: str | PathLike[str],
    *,
    options: Sequence[str] = (),
    programs: str | PathLike[str] | None = None,
) -> list[Path]:
    """As import_file, but leaves spectra and sidecars in `folder`; returns their .bin files."""
    words: list[str | PathLike[str]] = [Path(source).absolute(), *options]
    words += ["-o", Path(folder).absolute()]
    finished = run_companion("varokel-import", words, Path.cwd(), programs)
    warn_of(finished, "varokel-import", stacklevel=3)
    # the signals that were written stand on lines of their own, between keywords of a control file
    names = (Path(line) for line in finished.output.splitlines())
    return [name for name in names if name.suffix == ".bin" and name.is_absolute()]


def read_imported(folder: str | PathLike[str]) -> Iterator[Spectrum]:
    """The spectra of a folder of varokel-import one by one, in the order of the source."""
    files = [file for file in Path(folder).glob("*.bin") if file.with_suffix(".json").exists()]
    for _, file in sorted((_place_in_source(file), file) for file in files):
        yield read_spectrum(file)


def read_spectrum(file: str | PathLike[str]) -> Spectrum:
    """A spectrum (.bin), the sidecar (.json) and the reference (.bin.ref) beside it.

    Raises FileFormatError; OSError, also for a spectrum without sidecar.
    """
    path = Path(file)
    sidecar = read_sidecar(path.with_suffix(".json"))
    reference = Path(f"{path}.ref")
    return Spectrum(
        name=path.stem,
        points=read_signal(path, sidecar.points),
        sidecar=sidecar,
        reference=read_signal(reference, sidecar.points) if reference.exists() else None,
    )


def _place_in_source(file: Path) -> tuple[int, str]:
    source = read_sidecar(file.with_suffix(".json")).items.get("source")
    if isinstance(source, dict):
        for item in ("spectrum", "index"):
            number = source.get(item)
            if isinstance(number, int):
                return number, file.name
    return 0, file.name
