# SPDX-License-Identifier: BSD-3-Clause
"""Signal files, and the way from a free induction decay to the spectrum that is fitted.

A signal file is a row of little-endian float32 pairs, real and imaginary part, without a header.
Arrays are complex128; what a file holds has single precision.
"""

from __future__ import annotations

import errno
import os
import tempfile
from os import PathLike
from pathlib import Path

import numpy as np
import numpy.typing as npt

from .arrays import ComplexArray, complex_points
from .errors import FileFormatError

_BYTES_PER_POINT = 8


def read_signal(file: str | PathLike[str], points: int | None = None) -> ComplexArray:
    """Complex points of a signal file (.bin .org .cor .fit .res .fit0 .ref, lsf.bin).

    points: how many from its start; all of them by default. Returns shape (points,). Raises
    FileFormatError for a file that is shorter, or holds a broken pair; OSError.
    """
    pairs = np.fromfile(file, dtype="<f4", count=-1 if points is None else 2 * points)
    size = os.path.getsize(file)
    if points is None and size % _BYTES_PER_POINT != 0:
        raise FileFormatError(file, 0, f"{size} bytes are no whole number of float32 pairs")
    if points is not None and pairs.size < 2 * points:
        raise FileFormatError(
            file, 0, f"holds {size // _BYTES_PER_POINT} points; expected {points}"
        )
    doubles = pairs.astype(np.float64)
    return doubles.view(np.complex128)


def read_components(file: str | PathLike[str], points: int) -> ComplexArray:
    """Curves of the single lines and patterns (.nln0), shape (entries, points).

    Their sum is the model with its leading points (.fit0). Raises FileFormatError when the file
    is no whole number of curves.
    """
    signal = read_signal(file)
    if points < 1 or signal.size == 0 or signal.size % points != 0:
        raise FileFormatError(
            file, 0, f"holds {signal.size} points, no whole number of curves of {points}"
        )
    return signal.reshape(-1, points)


def signal_bytes(signal: npt.ArrayLike) -> bytes:
    """A complex signal of shape (points,) as the bytes of a signal file.

    Raises ValueError for points that are not finite in single precision; it names the first.
    """
    points = complex_points(signal)
    if points.ndim != 1 or points.size == 0:
        raise ValueError(
            f"a signal has one dimension and points; this one has shape {points.shape}"
        )
    pairs = np.ascontiguousarray(points).view(np.float64)
    with np.errstate(over="ignore"):
        singles = pairs.astype("<f4")
    bad = np.flatnonzero(~np.isfinite(singles))
    if bad.size:
        raise ValueError(
            f"point {bad[0] // 2} of the signal is not finite in single precision "
            f"({points[bad[0] // 2]}); {np.unique(bad // 2).size} such points in all"
        )
    return singles.tobytes()


def write_signal(file: str | PathLike[str], signal: npt.ArrayLike) -> None:
    """Writes a new signal file, whole or not at all.

    Raises FileExistsError when there is one; ValueError; OSError when it cannot be written.
    """
    content = signal_bytes(signal)
    target = Path(os.fsdecode(file))
    if os.path.lexists(target):
        raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), str(target))
    with tempfile.TemporaryDirectory(prefix=".varokel_", dir=target.parent) as private:
        part = Path(private) / "signal"
        with open(part, "wb") as stream:
            stream.write(content)
            stream.flush()
            os.fsync(stream.fileno())
        try:
            os.link(part, target)  # which replaces nothing, in one step
        except FileExistsError:
            raise
        except OSError:  # a file system without links
            if os.path.lexists(target):
                raise
            os.rename(part, target)


def spectrum_of_fid(fid: npt.ArrayLike, points: int | None = None) -> ComplexArray:
    """Centred spectrum of a free induction decay.

        S[j] = (1/n) sum_k w_k x_k exp(-2 pi i (j - n/2) k / n),   w_0 = 1/2, w_k = 1 else

    fid: complex, shape (m,). points: n; the decay is cut or filled with zeros (by default n = m).
    Returns shape (n,), 0 Hz of the control file at point 0, the carrier at point n/2. The area of
    a line is its amplitude in the decay at time 0.
    """
    decay = complex_points(fid)
    if decay.ndim != 1 or decay.size == 0:
        raise ValueError(f"a decay has one dimension and points; this one has shape {decay.shape}")
    n = decay.size if points is None else points
    if n < 2 or n & (n - 1) != 0:
        raise ValueError(f"a spectrum has 2, 4, 8 ... points, not {n}; choose another by points=")
    used = np.zeros(n, dtype=np.complex128)
    used[: min(n, decay.size)] = decay[:n]
    used[0] *= 0.5
    centred: ComplexArray = np.fft.fftshift(np.fft.fft(used)) / n
    return centred


def fid_of_spectrum(spectrum: npt.ArrayLike) -> ComplexArray:
    """Free induction decay of a centred spectrum, shape (n,): undoes spectrum_of_fid."""
    centred = complex_points(spectrum)
    if centred.ndim != 1 or centred.size == 0:
        raise ValueError(f"a spectrum has one dimension and points, not shape {centred.shape}")
    decay: ComplexArray = np.fft.ifft(np.fft.ifftshift(centred)) * centred.size
    decay[0] *= 2.0
    return decay


def pattern_of_fid(fid: npt.ArrayLike) -> ComplexArray:
    """Contents of a binary pattern file (.bin) for the decay of a whole metabolite, shape (n,).

    P[j] = conj(S[(n - j) mod n]),  S the centred spectrum made without halving point 0
    """
    decay = complex_points(fid).copy()
    if decay.ndim == 1 and decay.size:
        decay[0] *= 2.0
    mirrored: ComplexArray = np.conj(np.roll(spectrum_of_fid(decay)[::-1], 1))
    return mirrored
