# SPDX-License-Identifier: BSD-3-Clause
"""What the results of all methods have: a row of values for each entry."""

from __future__ import annotations

from typing import Protocol

import numpy as np

from .arrays import EntryType, FloatArray, Quantity
from .sidecar import Sidecar


class _Rows(Protocol):
    @property
    def names(self) -> tuple[str, ...]: ...
    @property
    def types(self) -> tuple[EntryType, ...]: ...
    @property
    def values(self) -> FloatArray: ...
    @property
    def errors(self) -> FloatArray: ...
    @property
    def sidecar(self) -> Sidecar | None: ...


class EntryValues:
    """Columns of values and errors by name."""

    @property
    def areas(self: _Rows) -> FloatArray:
        """Amplitudes of the decays at time 0, of patterns their factors; shape (entries,)."""
        return self.values[:, Quantity.AREA]

    @property
    def area_sd(self: _Rows) -> FloatArray:
        """ONE standard deviation of the areas, shape (entries,)."""
        return self.errors[:, Quantity.AREA]

    @property
    def frequencies_hz(self: _Rows) -> FloatArray:
        """[Hz from the left edge]; of patterns the shift [Hz]; shape (entries,)."""
        return self.values[:, Quantity.FREQUENCY]

    @property
    def ppm(self: _Rows) -> FloatArray:
        """Chemical shifts [ppm], shape (entries,); of patterns not-a-number.

        Raises ValueError when the spectrum's axis is not known.
        """
        if self.sidecar is None:
            raise ValueError("chemical shifts need a sidecar with frequency and reference")
        is_line = np.array([t != EntryType.PATTERN for t in self.types])
        shifts = self.sidecar.ppm_of_hz(self.values[:, Quantity.FREQUENCY])
        return np.where(is_line, shifts, np.nan)

    def entry(self: _Rows, name: str) -> int:
        """Row of the entry of this name. Raises KeyError."""
        if name not in self.names:
            raise KeyError(f'no entry "{name}"; there are {", ".join(self.names)}')
        return self.names.index(name)
