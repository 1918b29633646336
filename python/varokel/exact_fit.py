# SPDX-License-Identifier: BSD-3-Clause
"""What a fit by libvarokel found, and what is said of it."""

from __future__ import annotations

import warnings
from collections.abc import Sequence
from ctypes import POINTER, byref, c_char_p, c_double, c_int
from dataclasses import dataclass, field
from math import isfinite

import numpy as np

from .arrays import ComplexArray, EntryType, FloatArray, Quantity
from .entry_values import EntryValues
from .errors import VarokelWarning
from .library import Handle, Library, RefusedByLibrary, pointer_to
from .sidecar import Sidecar
from .starts import StartInLibrary


@dataclass(frozen=True)
class Reason:
    """Something that may be said against a fit.

    what     "not_finished", "degenerate", "several_minima", "moved", "misfit", "noise_wrong" or
             "at_bound"
    number   behind it, see varokel_fit_reason in varokel.h
    entries  names of those it is about
    text     a sentence
    """

    what: str
    number: float
    entries: tuple[str, ...]
    text: str


@dataclass(frozen=True)
class StartTried:
    """A place where a search began: its name, the sum of squares of the residual where it ended
    [noise variances], the shift that all frequencies had [Hz], and whether it ended where the
    lowest one did."""

    name: str
    sum_of_squares: float
    shift_hz: float
    same: bool


@dataclass(frozen=True)
class DerivedValue:
    """What a row "derive" of a table of peaks asks for: its name, its expression, the value and ONE
    standard deviation; frequencies in ppm, Hz from the carrier when the axis has no ppm."""

    name: str
    expression: str
    value: float
    sd: float


@dataclass(frozen=True)
class ExactFit(EntryValues):
    """The optimum of a fit.

    name         of the spectrum
    names        of the entries
    types        of the entries
    values       shape (entries, 5), columns as in Quantity: area [signal], frequency [Hz from the
                 left edge; of patterns a shift], Gaussian width [FWHM, Hz], phase [degrees],
                 Lorentzian width [FWHM, Hz]; FWHM in Hz for every type of line
    errors       same shape, ONE standard deviation (Cramer-Rao bounds); 0 for what is fixed or
                 stands at the edge of its window, infinite for what cannot be told apart;
                 error_factor is in them
    covariance   shape (5 entries, 5 entries), in the order of values.ravel()
    verdict      "optimum", or the first of the reasons
    reasons      all that may be said against the fit
    starts       that were tried
    error_factor by which errors were widened for zeros that fill the decay, see
                 Sidecar.error_factor
    quality      root of the reduced chi-square: sum of squares per degree of freedom; fit_quality
                 of the tables is per point
    sum_of_squares, expected_decrease   of the residual [noise variances], and what is left to gain
    noise_sd     per channel [signal]
    noise_window first point and the one behind the last; None when noise_sd was given
    notes        what was guessed
    data         the spectrum, shape (points,)
    lineshape    coefficients of a fitted lineshape; empty without one
    sidecar      what is known about the spectrum; None if nothing
    """

    name: str
    names: tuple[str, ...]
    types: tuple[EntryType, ...]
    values: FloatArray
    errors: FloatArray
    covariance: FloatArray = field(repr=False)
    verdict: str
    reasons: tuple[Reason, ...]
    starts: tuple[StartTried, ...] = field(repr=False)
    error_factor: float
    quality: float
    sum_of_squares: float
    expected_decrease: float
    noise_sd: float
    noise_window: tuple[int, int] | None
    notes: tuple[str, ...]
    hz_per_point: float
    data: ComplexArray = field(repr=False)
    lineshape: ComplexArray = field(repr=False)
    sidecar: Sidecar | None = field(repr=False)
    _handle: Handle = field(repr=False, compare=False)
    _start: Handle = field(repr=False, compare=False)

    def model(self) -> ComplexArray:
        """The fitted spectrum, shape (points,)."""
        return self._curve(-1)

    def residual(self) -> ComplexArray:
        """Data minus model, shape (points,)."""
        return self.data - self.model()

    def components(self) -> ComplexArray:
        """Curves of the entries, shape (entries, points); they add up to the model."""
        return np.array([self._curve(k) for k in range(len(self.names))])

    def derive(self, expression: str) -> tuple[float, float]:
        """Value and ONE standard deviation of an expression of the fitted parameters.

        Such as "PCr/gATP", "frequency(Pi)-frequency(PCr)", "pH(4.9, 6.75, 3.27, 5.69)"; see
        varokel_fit_derive in varokel.h. As a row "derive" of a table has it: frequencies in ppm,
        Hz from the carrier where the axis has no ppm; what is no number for that reason is a
        VarokelWarning. Raises ValueError that names the place.
        """
        library = self._handle.library
        value, error = c_double(), c_double()
        try:
            library.call(
                "start_evaluate",
                self._start,
                expression.encode(),
                self._handle,
                library.create("workspace"),
                byref(value),
                byref(error),
            )
        except RefusedByLibrary as refused:
            raise ValueError(f'"{expression}": {refused.reason}') from None
        if "frequency" in expression and not isfinite(value.value):
            said = f'"{expression}" is {value.value}: frequencies are in ppm, Hz from the carrier '
            said += "where the axis has no ppm"
            warnings.warn(said, VarokelWarning, stacklevel=2)
        return value.value, self.error_factor * error.value

    def derived(self) -> tuple[DerivedValue, ...]:
        """What the rows "derive" of the table of peaks ask for, in their order; () without any.

        As varokel-fit gives them: frequencies in ppm (Hz from the carrier when the axis has no
        ppm). Rows "amount" are in none of them, which notes say: they need the water of varokel-fit
        --water. Raises ValueError that names the row.
        """
        return tuple(self._derived(row) for row in self._rows())

    def _rows(self) -> range:
        return range(self._start.library.count("start_derived_rows", self._start))

    def _derived(self, row: int) -> DerivedValue:
        library = self._handle.library
        name, expression, value, error = c_char_p(), c_char_p(), c_double(), c_double()
        try:
            library.call(
                "start_derive",
                self._start,
                row,
                self._handle,
                library.create("workspace"),
                byref(name),
                byref(expression),
                byref(value),
                byref(error),
            )
        except RefusedByLibrary as refused:
            raise ValueError(refused.reason) from None
        return DerivedValue(
            (name.value or b"").decode(),
            (expression.value or b"").decode(),
            value.value,
            self.error_factor * error.value,
        )

    def to_dataframe(self) -> object:
        """A pandas.DataFrame with a row for each entry: name, type, the values, and their errors
        with "_sd" behind the name. Raises ImportError without pandas."""
        import pandas

        frame: object = pandas.DataFrame(columns_of(self))
        return frame

    def __str__(self) -> str:
        lines = [f"{self.name}: {self.verdict}, quality {self.quality:.2f}"]
        lines += [
            f"  {r.what}: {r.text}{': ' if r.entries else ''}{' '.join(r.entries)}"
            for r in self.reasons
        ]
        lines += [f"  {note}" for note in self.notes]
        width = max(len(name) for name in self.names)
        for name, area, sd in zip(self.names, self.areas, self.area_sd):
            lines.append(f"  {name:{width}}  area {area:.5g} +- {sd:.2g}")
        return "\n".join(lines)

    def _curve(self, entry: int) -> ComplexArray:
        library, pairs = self._handle.library, np.empty(2 * self.data.size)
        workspace = library.create("workspace")
        library.call(
            "fit_spectrum", self._handle, workspace, entry, pointer_to(pairs), pairs.size
        )
        return pairs.view(np.complex128)


def columns_of(fit: ExactFit) -> dict[str, Sequence[object] | FloatArray]:
    """The columns of its table, one row for each entry."""
    types = [t.name.lower() for t in fit.types]
    table: dict[str, Sequence[object] | FloatArray] = {"name": fit.names, "type": types}
    for quantity in Quantity:
        table[quantity.name.lower()] = fit.values[:, quantity]
        table[f"{quantity.name.lower()}_sd"] = fit.errors[:, quantity]
    return table


def read_exact_fit(
    library: Library,
    fit: Handle,
    *,
    name: str,
    start: StartInLibrary,
    names: tuple[str, ...],
    data: ComplexArray,
    noise: tuple[float, tuple[int, int] | None],
    notes: tuple[str, ...],
    sidecar: Sidecar | None,
) -> ExactFit:
    entries, columns = len(start.types), len(Quantity)

    def table(function: str, *shape: int) -> FloatArray:
        numbers = np.empty(shape)
        library.call(f"fit_{function}", fit, pointer_to(numbers), numbers.size)
        return numbers

    def count(function: str) -> int:
        return library.count(f"fit_{function}", fit)

    factor = 1.0 if sidecar is None else sidecar.error_factor_by(library)
    if sidecar is not None and factor > 1.0:
        filled = f"{sidecar.measured_points} of {sidecar.points} points were measured"
        notes = (*notes, f"{filled}, the others are zeros: errors are {factor:.3g} times as large")
    amounts = library.count("start_amount_rows", start.handle)
    if amounts > 0:
        rows = "1 row" if amounts == 1 else f"{amounts} rows"
        notes = (*notes, f'passed over {rows} "amount": varokel-fit --water gives amounts')
    coefficients = table("lineshape", 2 * count("lineshape_coefficients"))
    return ExactFit(
        name=name,
        names=names,
        types=start.types,
        values=table("values", entries, columns),
        errors=factor * table("errors", entries, columns),
        covariance=factor**2 * table("covariance", entries * columns, entries * columns),
        verdict=library.verdict_name(count("verdict")),
        reasons=tuple(_reason(library, fit, i, names) for i in range(count("reasons"))),
        starts=tuple(_start_tried(library, fit, i) for i in range(count("starts"))),
        error_factor=factor,
        quality=library.number("fit_quality", fit),
        sum_of_squares=library.number("fit_sum_of_squares", fit),
        expected_decrease=library.number("fit_expected_decrease", fit),
        noise_sd=noise[0],
        noise_window=noise[1],
        notes=notes,
        hz_per_point=start.hz_per_point,
        data=data,
        lineshape=coefficients.view(np.complex128),
        sidecar=sidecar,
        _handle=fit,
        _start=start.handle,
    )


def _reason(library: Library, fit: Handle, number: int, names: tuple[str, ...]) -> Reason:
    what, figure, text, many = c_int(), c_double(), c_char_p(), c_int()
    entries = POINTER(c_int)()
    library.call(
        "fit_reason",
        fit,
        number,
        byref(what),
        byref(figure),
        byref(text),
        byref(entries),
        byref(many),
    )
    about = tuple(names[entries[i]] for i in range(many.value))
    sentence = (text.value or b"").decode()
    return Reason(library.verdict_name(what.value), figure.value, about, sentence)


def _start_tried(library: Library, fit: Handle, number: int) -> StartTried:
    name, total, shift, same = c_char_p(), c_double(), c_double(), c_int()
    library.call(
        "fit_start", fit, number, byref(name), byref(total), byref(shift), byref(same)
    )
    return StartTried((name.value or b"").decode(), total.value, shift.value, same.value != 0)
