# SPDX-License-Identifier: BSD-3-Clause
"""Start value / fit control files of version 3: what steers a run, and what a run leaves behind.

Numbers stand here as the file has them: the program reads reals in single precision.
"""

from __future__ import annotations

import dataclasses
from dataclasses import dataclass

import numpy as np

from .arrays import BoolArray, EntryType, FloatArray, IntArray, Quantity, refuse_masked

GAUSS_FWHM_PER_WIDTH = 1.67
"""Full width at half height over the Gaussian width of the program's own formula, as it has it."""

STRATEGY_HEADING = "algor trunc ampli frequ width phase voigt lsfft wtype convo niter cmplx n_int min max"
VALUES_HEADING = "number area frequency gausswidth phase lorentzwidth"


@dataclass(frozen=True)
class Parameter:
    """One parameter of an entry.

    value   in the unit of the file, see Entry
    link    0 free; the entry's own number: fixed; the number of another entry: tied to that one,
            areas by the ratio of the values, all others by their difference
    range   smallest and largest value that a random search may try; None where the file has none
    """

    value: float
    link: int = 0
    range: tuple[float, float] | None = None


@dataclass(frozen=True)
class Entry:
    """A line, or a pattern.

    area          amplitude of the decay at time 0 [signal]; of a pattern a factor
    frequency     [Hz from the left edge]; of a pattern its shift [Hz]
    gauss_width   FWHM [Hz]; of a pattern FWHM / 1.67 [points]
    phase         [degrees]
    lorentz_width FWHM, [Hz] of a Voigt line, [points] of a Lorentzian line and of a pattern
    """

    type: EntryType
    area: Parameter
    frequency: Parameter
    gauss_width: Parameter
    phase: Parameter
    lorentz_width: Parameter
    takes_lineshape: bool = False
    pattern_file: str = ""

    @property
    def parameters(self) -> tuple[Parameter, Parameter, Parameter, Parameter, Parameter]:
        """In the order of Quantity."""
        return (self.area, self.frequency, self.gauss_width, self.phase, self.lorentz_width)


def by_name(parameters: list[Parameter]) -> dict[str, Parameter]:
    """Parameters in the order of Quantity by their names in an Entry."""
    return {quantity.name.lower(): p for quantity, p in zip(Quantity, parameters)}


@dataclass(frozen=True)
class Step:
    """A step of the strategy.

    algorithm         1 random search, 2 conjugate gradients
    time_points       time domain points used
    areas ... lineshape   whether this group of parameters is free
    weighting         1 none, 7 weak lines count more
    align             all frequencies are first moved together
    iterations        most iterations, or passes without progress
    part              0 absorption, 1 dispersion, 2 both, 3 magnitude, 4 power
    intervals         first and last point of each
    """

    algorithm: int
    time_points: int
    areas: bool
    frequencies: bool
    gauss_widths: bool
    phases: bool
    lorentz_widths: bool
    lineshape: bool
    weighting: int
    align: bool
    iterations: int
    part: int
    intervals: tuple[tuple[int, int], ...]


@dataclass(frozen=True)
class StartFile:
    """Everything that a version 3 file says; see `varokel -h 3` for what it does.

    points            complex points of the spectrum
    noise_window      first point of the noise and the one behind the last
    phi_1             first-order phase over the whole band [degrees]
    hz_per_point      [Hz]
    tolerance         relative change of chi-square at which gradients stop
    fit_mode          1 plain, 2 with a reference signal, 3 with a fitted lineshape
    followed          entry whose frequency and phase .cor takes out
    ranges            0 to 3, the keyword of that name
    ignored           leading time domain points that are left out
    entries           lines first, then patterns
    lineshape         Fourier coefficients of a fitted lineshape
    """

    points: int
    noise_window: tuple[int, int]
    hz_per_point: float
    entries: tuple[Entry, ...]
    steps: tuple[Step, ...]
    phi_1: float = 0.0
    tolerance: float = 1e-7
    fit_mode: int = 1
    verbose: int = 1
    followed: int = 1
    errors: bool = True
    data_format: str = "none"
    ranges: int = 2
    ignored: int = 0
    lineshape: tuple[complex, ...] = ()

    @property
    def lines(self) -> int:
        return len(self.entries) - self.patterns

    @property
    def patterns(self) -> int:
        return sum(entry.type == EntryType.PATTERN for entry in self.entries)

    @property
    def pattern_files(self) -> tuple[str, ...]:
        return tuple(e.pattern_file for e in self.entries if e.type == EntryType.PATTERN)

    @property
    def values(self) -> FloatArray:
        """Values of all parameters, shape (entries, 5): columns of Quantity, units of Entry."""
        rows = [[p.value for p in entry.parameters] for entry in self.entries]
        return np.array(rows, dtype=np.float64).reshape(-1, len(Quantity))

    @property
    def links(self) -> IntArray:
        """Links of all parameters, shape (entries, 5)."""
        rows = [[p.link for p in entry.parameters] for entry in self.entries]
        return np.array(rows, dtype=np.int64).reshape(-1, len(Quantity))

    @property
    def free(self) -> BoolArray:
        """Whether a parameter is free (link 0), shape (entries, 5)."""
        return np.equal(self.links, 0)

    @property
    def types(self) -> tuple[EntryType, ...]:
        return tuple(entry.type for entry in self.entries)

    def with_values(self, values: FloatArray) -> StartFile:
        """The same file with other start values, shape (entries, 5), units as in Entry.

        Links stay: what is tied keeps the ratio or difference of the NEW values. Ranges stay, too.
        Raises ValueError for another shape, and for values that are masked or not finite.
        """
        refuse_masked(values, "start values with masked ones among them; fill them first")
        table = np.asarray(values, dtype=np.float64)
        changed = self._with("value", table)
        if not np.all(np.isfinite(table)):
            raise ValueError("start values that are no finite numbers")
        return changed

    def with_links(self, links: IntArray) -> StartFile:
        """The same file with other links, shape (entries, 5); see Parameter."""
        return self._with("link", np.asarray(links, dtype=np.int64))

    def _with(self, what: str, table: FloatArray | IntArray) -> StartFile:
        expected = (len(self.entries), len(Quantity))
        if table.shape != expected:
            raise ValueError(f"{what}s of shape {table.shape}; expected {expected}")
        changed = []
        for entry, row in zip(self.entries, table.tolist()):
            new = [dataclasses.replace(p, **{what: n}) for p, n in zip(entry.parameters, row)]
            changed.append(dataclasses.replace(entry, **by_name(new)))
        return dataclasses.replace(self, entries=tuple(changed))

    def with_fixed(self, *quantities: Quantity) -> StartFile:
        """The same file with all parameters of these kinds fixed at their start values.

        A switch of a step that is off holds a group as well, but its parameters still count as
        free in the error bounds; fixed ones do not.
        """
        links = self.links
        for quantity in quantities:
            links[:, quantity] = np.arange(1, len(self.entries) + 1)
        return self.with_links(links)

    def to_text(self) -> str:
        """The file's text. Raises ValueError where the file would not say what this object does."""
        self._refuse_what_has_no_text()
        lines = [
            "version_3",
            f"n_pnts {self.points}",
            f"noistr {self.noise_window[0]}",
            f"noistp {self.noise_window[1]}",
            f"nLines {self.lines}",
            f"lsfcfs {len(self.lineshape)}",
            f"phi__1 {_real(self.phi_1)}",
            f"Hz_p_p {_real(self.hz_per_point)}",
            f"f__tol {_real(self.tolerance)}",
            f"fit_mo {self.fit_mode}",
            f"verbos {self.verbose}",
            f"showli {self.followed}",
            f"clcerr {int(self.errors)}",
            f"sg_idl {self.data_format}",
            f"ranges {self.ranges}",
            f"ignore {self.ignored}",
            f"pattrn {self.patterns}",
            *self.pattern_files,
            STRATEGY_HEADING,
            *(_step_line(step) for step in self.steps),
            VALUES_HEADING,
        ]
        for number, entry in enumerate(self.entries, start=1):
            lines.append("\t".join([str(number), *(_real(p.value) for p in entry.parameters)]))
        for number, entry in enumerate(self.entries, start=1):
            lines += [f"#{number}", f"lsffit {int(entry.takes_lineshape)}"]
            for parameter in entry.parameters:
                words = [str(int(entry.type)), str(parameter.link), _real(parameter.value)]
                if self.ranges != 2 and parameter.range is not None:
                    words += [_real(limit) for limit in parameter.range]
                lines.append("\t".join(words))
        lines.append("lsf_coefs")
        lines += [f"{_real(c.real)} {_real(c.imag)}" for c in self.lineshape]
        lines.append("end_of_lsf")
        return "\n".join(lines) + "\n"

    def _refuse_what_has_no_text(self) -> None:
        is_pattern = [entry.type == EntryType.PATTERN for entry in self.entries]
        if is_pattern != sorted(is_pattern):
            raise ValueError("patterns stand behind the lines")
        for number, entry in enumerate(self.entries, start=1):
            name = entry.pattern_file
            if bool(name) != (entry.type == EntryType.PATTERN) or len(name.split()) > 1:
                raise ValueError(f"entry {number}: a pattern has the name of a file without blanks")
            if self.ranges != 2 and any(p.range is None for p in entry.parameters):
                raise ValueError(f"entry {number}: a parameter has no range; ranges 2 needs none")


def _step_line(step: Step) -> str:
    numbers = [
        step.algorithm,
        step.time_points,
        *map(int, (step.areas, step.frequencies, step.gauss_widths, step.phases)),
        *map(int, (step.lorentz_widths, step.lineshape)),
        step.weighting,
        int(step.align),
        step.iterations,
        step.part,
        len(step.intervals),
        *(point for interval in step.intervals for point in interval),
    ]
    return "@ " + " ".join(map(str, numbers))


def _real(value: float) -> str:
    # nine digits name every single-precision number
    return format(value, ".9g")
