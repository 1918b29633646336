# SPDX-License-Identifier: BSD-3-Clause
"""Names of array types, and of the five columns that every table of parameters has."""

from __future__ import annotations

from enum import IntEnum
from typing import TypeAlias

import numpy as np
import numpy.typing as npt

ComplexArray: TypeAlias = npt.NDArray[np.complex128]
FloatArray: TypeAlias = npt.NDArray[np.float64]
IntArray: TypeAlias = npt.NDArray[np.int64]
BoolArray: TypeAlias = npt.NDArray[np.bool_]


def complex_points(signal: npt.ArrayLike) -> ComplexArray:
    """A signal as complex128, same shape. Raises ValueError for one with points that are masked."""
    refuse_masked(signal, "the signal has masked points; fill or cut them first")
    return np.asarray(signal, dtype=np.complex128)


def refuse_masked(array: object, text: str) -> None:
    """Raises ValueError with the text for an array of numpy.ma with something under its mask:
    numpy would hand on what lies there."""
    if isinstance(array, np.ma.MaskedArray) and bool(np.any(array.mask)):
        raise ValueError(text)


class Quantity(IntEnum):
    """Column of a parameter in tables of shape (entries, 5)."""

    AREA = 0
    FREQUENCY = 1
    GAUSS_WIDTH = 2
    PHASE = 3
    LORENTZ_WIDTH = 4


class EntryType(IntEnum):
    """What an entry of the model is."""

    GAUSS = 1
    LORENTZ = 2
    VOIGT = 3
    PATTERN = 4
