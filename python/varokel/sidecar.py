# SPDX-License-Identifier: BSD-3-Clause
"""What is known about a spectrum beside its points: the JSON that varokel-import writes."""

from __future__ import annotations

import json
from ctypes import byref, c_double
from dataclasses import dataclass, field
from os import PathLike

import numpy as np

from .arrays import FloatArray
from .errors import FileFormatError
from .json_files import JsonObject, JsonValue, read_json_object
from .library import Library, load_library

# As the programs take them: what is computed from them are numbers then, in the fit's precision, too.
_LEAST, _LARGEST = "1e-30", "1e30"  # as messages have them
LEAST_SCALE, LARGEST_NUMBER = float(_LEAST), float(_LARGEST)


@dataclass(frozen=True)
class Sidecar:
    """Facts about a spectrum; None where one is not known.

    points              complex points n
    hz_per_point        [Hz]
    spectrometer_mhz    [MHz]
    ppm_at_carrier      [ppm], the carrier is point n/2
    ppm_rises_with_points
    nucleus             such as "31P"; may be empty
    phi_1_degrees       first-order phase of the acquisition delay over the whole band [degrees]
    noise_window        first point and the one behind the last of those that hold noise only
    fit_interval        first and last point of those that hold lines
    measured_points     points of the decay that were measured, when the others are filled zeros
    items               all that the file holds, these included
    """

    points: int
    hz_per_point: float
    spectrometer_mhz: float | None = None
    ppm_at_carrier: float | None = None
    ppm_rises_with_points: bool = True
    nucleus: str = ""
    phi_1_degrees: float = 0.0
    noise_window: tuple[int, int] | None = None
    fit_interval: tuple[int, int] | None = None
    measured_points: int | None = None
    items: JsonObject = field(default_factory=dict, compare=False, repr=False)

    @property
    def hz_axis(self) -> FloatArray:
        """Frequency of each point [Hz], 0 at the left edge; shape (points,)."""
        return np.arange(self.points, dtype=np.float64) * self.hz_per_point

    @property
    def ppm_axis(self) -> FloatArray:
        """Chemical shift of each point [ppm], shape (points,). Raises ValueError if not known."""
        return self.ppm_of_hz(self.hz_axis)

    @property
    def error_factor(self) -> float:
        """What widens the error bounds of a fit for filled zeros, as the programs have it; see
        varokel_error_factor in varokel_start.h. 1 without. Raises LibraryMissing."""
        return self.error_factor_by(None)

    def error_factor_by(self, library: Library | None) -> float:
        """The same by a library that is loaded already."""
        if self.measured_points is None:
            return 1.0
        factor, asked = c_double(), library or load_library()
        text = self.to_json("spectrum.bin").encode()
        asked.call("error_factor", text, asked.create("workspace"), byref(factor))
        return factor.value

    @property
    def knows_ppm(self) -> bool:
        return self.spectrometer_mhz is not None and self.ppm_at_carrier is not None

    def ppm_of_hz(self, hz: FloatArray) -> FloatArray:
        """Chemical shifts [ppm] of frequencies [Hz from the left edge], same shape."""
        if self.spectrometer_mhz is None or self.ppm_at_carrier is None:
            raise ValueError("the spectrometer frequency or the ppm at the carrier is not known")
        from_carrier = hz - self.hz_per_point * (self.points // 2)
        return self.ppm_at_carrier + self._sense * from_carrier / self.spectrometer_mhz

    def hz_of_ppm(self, ppm: float) -> float:
        """Frequency [Hz from the left edge] of a chemical shift [ppm]."""
        if self.spectrometer_mhz is None or self.ppm_at_carrier is None:
            raise ValueError("the spectrometer frequency or the ppm at the carrier is not known")
        offset = self._sense * (ppm - self.ppm_at_carrier) * self.spectrometer_mhz
        return offset + self.hz_per_point * (self.points // 2)

    @property
    def _sense(self) -> float:
        return 1.0 if self.ppm_rises_with_points else -1.0

    def to_json(self, signal: str) -> str:
        """Text of a sidecar for the signal file named `signal`."""
        items: JsonObject = dict(self.items)
        items.update(
            signal=signal,
            points=self.points,
            hz_per_point=self.hz_per_point,
            ppm_rises_with_points=self.ppm_rises_with_points,
        )
        if self.spectrometer_mhz is not None:
            items["spectrometer_mhz"] = self.spectrometer_mhz
        if self.ppm_at_carrier is not None:
            items["ppm_at_carrier"] = self.ppm_at_carrier
        if self.nucleus:
            items["nucleus"] = self.nucleus
        if self.phi_1_degrees != 0.0:
            items["phi_1_degrees"] = self.phi_1_degrees
        if self.noise_window is not None:
            known = items.get("noise_window")
            window: JsonObject = dict(known) if isinstance(known, dict) else {}
            window["first"], window["stop"] = self.noise_window
            items["noise_window"] = window
        if self.measured_points is not None:
            items["measured_points"] = self.measured_points
        if self.fit_interval is not None:
            items["fit_interval_points"] = list(self.fit_interval)
        return json.dumps(items, indent=2, ensure_ascii=False) + "\n"


class _Items:
    """Items of a file that somebody else may have written."""

    def __init__(self, file: str | PathLike[str]) -> None:
        self.file, self.all = file, read_json_object(file)

    def refuse(self, item: str, expected: str) -> FileFormatError:
        return FileFormatError(self.file, 0, f'item "{item}": expected {expected}')

    def number(self, item: str) -> float | None:
        value = self.all.get(item)
        if value is None:
            return None
        if isinstance(value, bool) or not isinstance(value, (int, float)):
            raise self.refuse(item, "a number")
        if not abs(value) <= LARGEST_NUMBER:
            raise self.refuse(item, f"a number from -{_LARGEST} to {_LARGEST}")
        return float(value)

    def scale(self, item: str) -> float | None:
        value = self.number(item)
        if value is not None and value <= 0.0:
            raise self.refuse(item, "a number above 0")
        if value is not None and value < LEAST_SCALE:
            raise self.refuse(item, f"a number from {_LEAST} to {_LARGEST}")
        return value

    def count(self, item: str, value: JsonValue) -> int:
        if isinstance(value, bool) or not isinstance(value, int) or value < 1:
            raise self.refuse(item, "a number of points above 0")
        return value

    def pair(self, item: str, values: list[JsonValue]) -> tuple[int, int]:
        if len(values) != 2:
            raise self.refuse(item, "two point numbers")
        first, second = values
        for value in (first, second):
            if isinstance(value, bool) or not isinstance(value, int):
                raise self.refuse(item, "two point numbers")
        assert isinstance(first, int) and isinstance(second, int)
        return first, second

    def noise_window(self) -> tuple[int, int] | None:
        noise = self.all.get("noise_window")
        if noise is None:
            return None
        if not isinstance(noise, dict):
            raise self.refuse("noise_window", "an object with first and stop")
        return self.pair("noise_window", [noise.get("first"), noise.get("stop")])

    def fit_interval(self) -> tuple[int, int] | None:
        interval = self.all.get("fit_interval_points")
        if interval is None:
            return None
        if not isinstance(interval, list):
            raise self.refuse("fit_interval_points", "two point numbers")
        return self.pair("fit_interval_points", interval)

    def measured_points(self, points: int) -> int | None:
        """None where no point was filled in."""
        measured, resized = self.all.get("measured_points"), self.all.get("resized")
        if measured is None and isinstance(resized, dict):
            measured = resized.get("from")
        if measured is None:
            return None
        count = self.count("measured_points", measured)
        return count if count < points else None


def read_sidecar(file: str | PathLike[str]) -> Sidecar:
    """Reads the JSON beside an imported spectrum. Raises FileFormatError; OSError."""
    items = _Items(file)
    points = items.count("points", items.all.get("points"))
    hz_per_point = items.scale("hz_per_point")
    if hz_per_point is None:
        raise items.refuse("hz_per_point", "a number above 0")
    rises = items.all.get("ppm_rises_with_points", True)
    if not isinstance(rises, bool):
        raise items.refuse("ppm_rises_with_points", "true or false")
    nucleus = items.all.get("nucleus", "")
    if not isinstance(nucleus, str):
        raise items.refuse("nucleus", "a text")
    return Sidecar(
        points=points,
        hz_per_point=hz_per_point,
        spectrometer_mhz=items.scale("spectrometer_mhz"),
        ppm_at_carrier=items.number("ppm_at_carrier"),
        ppm_rises_with_points=rises,
        nucleus=nucleus,
        phi_1_degrees=items.number("phi_1_degrees") or 0.0,
        noise_window=items.noise_window(),
        fit_interval=items.fit_interval(),
        measured_points=items.measured_points(points),
        items=items.all,
    )
