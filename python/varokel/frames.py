# SPDX-License-Identifier: BSD-3-Clause
"""Tables of many fits, and pictures of one, with libraries that are only needed for them."""

from __future__ import annotations

from collections.abc import Sequence

import numpy as np

from .arrays import ComplexArray, FloatArray, Quantity
from .exact_fit import ExactFit, columns_of


def to_dataframe(fits: Sequence[ExactFit | BaseException | None]) -> object:
    """A pandas.DataFrame with a row for each entry of each fit.

    Columns: spectrum (its name), verdict, quality, then those of ExactFit.to_dataframe. What is no
    fit, such as the failures that fit_many leaves in its list, has no rows. Raises ImportError
    without pandas.
    """
    import pandas

    table: dict[str, list[object]] = {}
    for fit in fits:
        if not isinstance(fit, ExactFit):
            continue
        of_fit = {"spectrum": fit.name, "verdict": fit.verdict, "quality": fit.quality}
        for column, value in of_fit.items():
            table.setdefault(column, []).extend([value] * len(fit.names))
        for column, values in columns_of(fit).items():
            table.setdefault(column, []).extend(values)
    frame: object = pandas.DataFrame(table)
    return frame


def _upright(fit: ExactFit) -> FloatArray:
    """Phase of each point [radians] whose removal turns most of the model into absorption: the mean
    of the phases of the entries, weighted by their areas, and that of the delay."""
    turns = np.deg2rad(fit.values[:, Quantity.PHASE])
    mean = np.angle(np.sum(np.abs(fit.areas) * np.exp(1j * turns)))
    along = np.arange(fit.data.size) / fit.data.size
    delay = fit.sidecar.phi_1_degrees if fit.sidecar is not None else 0.0
    return np.asarray(mean + np.deg2rad(delay) * along)


def _seen(curve: ComplexArray, part: str) -> FloatArray:
    if part == "magnitude":
        return np.abs(curve)
    return curve.real if part == "real" else curve.imag


def plot(fit: ExactFit, *, part: str = "real", components: bool = True) -> object:
    """Data, fit, components and residual of a fit, the noise window shaded.

    Given:
      part        "real" or "imaginary", phases taken off, or "magnitude"
      components  whether each entry is drawn, too
    Returns a matplotlib.figure.Figure, whose two panels share their axis: ppm where they are known, falling to the
    right, else Hz from the carrier. Raises ImportError without matplotlib, ValueError for another
    part.
    """
    if part not in ("real", "imaginary", "magnitude"):
        raise ValueError(f'part "{part}"; expected real, imaginary or magnitude')
    from matplotlib.figure import Figure

    off = np.exp(-1j * _upright(fit))

    def seen(curve: ComplexArray) -> FloatArray:
        return _seen(curve * off, part)

    hz = np.arange(fit.data.size) * fit.hz_per_point
    ppm = fit.sidecar is not None and fit.sidecar.knows_ppm
    if ppm and fit.sidecar is not None:
        axis, label = fit.sidecar.ppm_of_hz(hz), "chemical shift (ppm)"
    else:
        axis, label = hz - fit.hz_per_point * (fit.data.size // 2), "frequency from the carrier (Hz)"
    drawn = Figure(figsize=(9, 6), layout="constrained")
    upper, lower = drawn.subplots(2, 1, sharex=True, height_ratios=[3, 1])
    upper.plot(axis, seen(fit.data), color="0.6", linewidth=2.2, label="data")
    upper.plot(axis, seen(fit.model()), color="#d55e00", linewidth=1.0, label="fit")
    if components:
        for name, curve in zip(fit.names, fit.components()):
            upper.plot(axis, seen(curve), linewidth=0.8, label=name)
    lower.plot(axis, seen(fit.residual()), color="#0072b2", linewidth=0.9, label="residual")
    for panel in (upper, lower):
        if fit.noise_window is not None:
            first, stop = fit.noise_window
            panel.axvspan(axis[first], axis[stop - 1], color="#f6ecd4", zorder=0, label="noise window")
    upper.legend(fontsize="small", ncols=2)
    upper.set_title(f"{fit.name}: {fit.verdict}, quality {fit.quality:.2f}")
    lower.set_xlabel(label)
    if ppm:
        lower.invert_xaxis()
    picture: object = drawn
    return picture
