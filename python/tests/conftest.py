# SPDX-License-Identifier: BSD-3-Clause
"""What the tests share: the built programs, the source tree, and a line whose truth is known."""

from __future__ import annotations

import stat
from collections.abc import Callable
from pathlib import Path

import numpy as np
import numpy.typing as npt
import pytest
import varokel
from varokel import ComplexArray, Entry, EntryType, Parameter, Sidecar, StartFile, Step

TREE = Path(__file__).resolve().parents[2]
NOISE_SD = 0.004


@pytest.fixture(scope="session", autouse=True)
def programs() -> Path:
    """Folder of the built programs, from VAROKEL_PROGRAMS or PATH; without them no test counts."""
    return varokel.find_program("varokel").parent


@pytest.fixture
def examples() -> Path:
    return TREE / "examples"


@pytest.fixture
def stand_in(tmp_path: Path) -> Callable[[str, str], Path]:
    """Makes a shell script under a program's name; returns its folder."""

    def make(name: str, script: str) -> Path:
        folder = tmp_path / "stand_in"
        folder.mkdir(exist_ok=True)
        file = folder / name
        file.write_text(f"#!/bin/sh\n{script}\n")
        file.chmod(file.stat().st_mode | stat.S_IXUSR)
        return folder

    return make


def two_lines(points: int = 512, hz_per_point: float = 2.0) -> StartFile:
    """A Lorentzian and a Gaussian line; the Gaussian follows the phase of the other."""
    step = Step(
        2, points, True, True, True, True, True, False, 1, False, 200, 2, ((0, points - 1),)
    )
    return StartFile(
        points=points,
        noise_window=(8, 120),
        hz_per_point=hz_per_point,
        tolerance=1e-10,
        steps=(step, step),
        entries=(
            Entry(
                type=EntryType.LORENTZ,
                area=Parameter(4.0),
                frequency=Parameter(432.0),
                gauss_width=Parameter(0.0, link=1),
                phase=Parameter(0.0),
                lorentz_width=Parameter(4.0),  # points: 8 Hz
            ),
            Entry(
                type=EntryType.GAUSS,
                area=Parameter(2.0),
                frequency=Parameter(650.0),
                gauss_width=Parameter(20.0),
                phase=Parameter(0.0, link=1),
                lorentz_width=Parameter(0.0, link=2),
            ),
        ),
    )


def masked_array(
    points: npt.NDArray[np.complex128] | npt.NDArray[np.bool_], *masked: int
) -> npt.ArrayLike:
    """An array of numpy.ma in which these points are masked."""
    make = getattr(np.ma, "masked_array")  # has no types
    mask = np.isin(np.arange(points.size), masked)
    array: npt.ArrayLike = make(points, mask=mask)
    return array


TRUE_AREAS = np.array([5.0, 3.0])
TRUE_HZ = np.array([430.0, 652.0])
TRUE_PHASE = 25.0
TRUE_LORENTZ_HZ = 10.0
TRUE_GAUSS_HZ = 24.0


def two_line_fid(
    points: int = 512, hz_per_point: float = 2.0, seed: int | None = 1
) -> ComplexArray:
    """Decay of the two lines, written out as exponentials, with noise of NOISE_SD a point of the
    spectrum and channel; none without a seed."""
    time = np.arange(points) / (points * hz_per_point)
    from_carrier = TRUE_HZ - hz_per_point * (points // 2)
    turn = np.exp(1j * np.deg2rad(TRUE_PHASE))
    lorentz = np.exp(-np.pi * TRUE_LORENTZ_HZ * time)
    # the program's width is FWHM / 1.67, and a line exp(-(pi width t)^2)
    gauss = np.exp(-((np.pi * TRUE_GAUSS_HZ / 1.67 * time) ** 2))
    fid = np.zeros(points, dtype=np.complex128)
    for area, hz, decay in zip(TRUE_AREAS, from_carrier, (lorentz, gauss)):
        fid += area * turn * decay * np.exp(2j * np.pi * hz * time)
    if seed is not None:
        noise = np.random.default_rng(seed).standard_normal((2, points)) * NOISE_SD * points**0.5
        fid += noise[0] + 1j * noise[1]
    return fid


# A table of the two lines, and what it needs to know of the spectrum.
PEAKS = """name   type     area  frequency[ppm]  gauss[Hz]  lorentz[Hz]  phase[deg]
           sharp  lorentz  4     2.20            -          8            0
           broad  gauss    2     4.38            20         -            =sharp"""
SIDECAR = Sidecar(512, 2.0, spectrometer_mhz=100.0, ppm_at_carrier=3.0)


def two_line_spectrum(seed: int | None = 1) -> ComplexArray:
    return varokel.spectrum_of_fid(two_line_fid(seed=seed))
