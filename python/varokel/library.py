# SPDX-License-Identifier: BSD-3-Clause
"""libvarokel in this process: where it is found, and its functions with their types.

What the functions do stands in varokel.h; docs/c_interface.md has what they have in common.
"""

from __future__ import annotations

import ctypes
import os
import shutil
import threading
from ctypes import POINTER, byref, c_char_p, c_double, c_int, c_size_t, c_void_p
from os import PathLike
from pathlib import Path

import numpy as np

from .arrays import ComplexArray, FloatArray
from .errors import VarokelError
from .programs import PROGRAM_FOLDER_VARIABLE

LIBRARY_FILE = "libvarokel.so.2"

_doubles, _ints = POINTER(c_double), POINTER(c_int)
_handle, _handle_out = c_void_p, POINTER(c_void_p)
PROGRESS = ctypes.CFUNCTYPE(c_int, c_void_p, c_int, c_int, c_double)
"""A function that is told with, searches, linearizations and sum of squares; 0 to go on."""

_SIGNATURES: dict[str, list[type]] = {
    "spectrum_of_fid": [_doubles, c_int, c_int, _doubles],
    "fid_of_spectrum": [_doubles, c_int, _doubles],
    "noise_sd": [_doubles, c_int, c_int, c_int, _doubles],
    "noise_window": [_doubles, c_int, _ints, _ints],
    "problem_add_interval": [_handle, c_int, c_int],
    "problem_clear_intervals": [_handle],
    "problem_set_window": [_handle, c_int, c_int, c_double, c_double],
    "workspace_create": [_handle_out],
    "options_create": [_handle_out],
    "options_set_starts": [_handle, c_int, c_int],
    "options_set_most_linearizations": [_handle, c_int],
    "options_set_progress": [_handle, PROGRESS, c_void_p],
    "fit_find": [_handle, _handle, _handle, _handle_out],
    "fit_values": [_handle, _doubles, c_size_t],
    "fit_errors": [_handle, _doubles, c_size_t],
    "fit_covariance": [_handle, _doubles, c_size_t],
    "fit_lineshape": [_handle, _doubles, c_size_t],
    "fit_reason": [_handle, c_int, _ints, _doubles, POINTER(c_char_p), POINTER(_ints), _ints],
    "fit_start": [_handle, c_int, POINTER(c_char_p), _doubles, _doubles, _ints],
    "fit_spectrum": [_handle, _handle, c_int, _doubles, c_size_t],
    "table_read": [c_char_p, c_char_p, _handle, _handle_out],
    "table_add_folder": [_handle, c_char_p],
    "table_start": [_handle, c_char_p, _doubles, c_int, _handle, _handle_out],
    "start_read": [c_char_p, c_char_p, _handle, _handle_out],
    "start_add_folder": [_handle, c_char_p],
    "start_noise_window": [_handle, _ints, _ints],
    "start_entry": [_handle, c_int, POINTER(c_char_p), _ints, POINTER(c_char_p)],
    "start_set_name": [_handle, c_int, c_char_p],
    "start_remark": [_handle, c_int, _ints, POINTER(c_char_p)],
    "start_derive": [
        _handle,
        c_int,
        _handle,
        _handle,
        POINTER(c_char_p),
        POINTER(c_char_p),
        _doubles,
        _doubles,
    ],
    "start_evaluate": [_handle, c_char_p, _handle, _handle, _doubles, _doubles],
    "start_set_axis": [_handle, c_char_p, _handle],
    "start_problem": [_handle, _doubles, c_int, c_double, _doubles, _handle, _handle_out],
    "error_factor": [c_char_p, _handle, _doubles],
}
_COUNTS = (
    "workspace_failed_entry",
    "fit_verdict",
    "fit_reasons",
    "fit_starts",
    "fit_lineshape_coefficients",
    "start_points",
    "start_entries",
    "start_remarks",
    "start_derived_rows",
    "start_amount_rows",
)
_NUMBERS = (
    "fit_sum_of_squares",
    "fit_expected_decrease",
    "fit_quality",
    "start_hz_per_point",
)
_TEXTS: dict[str, list[type]] = {
    "status_text": [c_int],
    "verdict_name": [c_int],
    "problem_message": [_handle],
    "workspace_message": [_handle],
}
_KINDS = ("problem", "options", "workspace", "fit", "table", "start")


def _functions() -> dict[str, tuple[type | None, list[type]]]:
    """Result and arguments of each function by its name."""
    return {
        **{name: (c_int, arguments) for name, arguments in _SIGNATURES.items()},
        **{name: (c_int, [_handle]) for name in _COUNTS},
        **{name: (c_double, [_handle]) for name in _NUMBERS},
        **{name: (c_char_p, arguments) for name, arguments in _TEXTS.items()},
        **{f"{kind}_destroy": (None, [_handle]) for kind in _KINDS},
    }


NO_MEMORY, STOPPED = 4, 6


class LibraryMissing(VarokelError):
    """libvarokel is not where it was looked for, or is no library of this version."""


class RefusedByLibrary(VarokelError):
    """A call that the library refused.

    Attributes: reason (its sentence), entry (number of the entry it is about, from 0; -1 none),
    stopped (a progress function said so).
    """

    def __init__(self, reason: str, entry: int = -1, stopped: bool = False) -> None:
        self.reason, self.entry, self.stopped = reason, entry, stopped
        super().__init__(reason)

    def __reduce__(self) -> tuple[type[RefusedByLibrary], tuple[str, int, bool]]:
        return type(self), (self.reason, self.entry, self.stopped)


class Handle:
    """Something that the library made; released along with this object."""

    def __init__(self, library: Library, kind: str, pointer: c_void_p) -> None:
        self.library, self.kind, self.pointer = library, kind, pointer

    def __del__(self) -> None:
        self.library.release(self.kind, self.pointer)


class Library:
    """The library at `file`. Raises LibraryMissing."""

    def __init__(self, file: str) -> None:
        try:
            self._loaded = ctypes.CDLL(file)
            for name, (result, arguments) in _functions().items():
                function = getattr(self._loaded, f"varokel_{name}")
                function.argtypes, function.restype = arguments, result
        except (OSError, AttributeError) as error:
            raise LibraryMissing(f"{file} cannot be loaded: {error}") from error

    def create(self, kind: str) -> Handle:
        """A new handle."""
        pointer = c_void_p()
        self.check(getattr(self._loaded, f"varokel_{kind}_create")(byref(pointer)))
        return Handle(self, kind, pointer)

    def release(self, kind: str, pointer: c_void_p) -> None:
        getattr(self._loaded, f"varokel_{kind}_destroy")(pointer)

    def call(self, name: str, *arguments: object) -> None:
        """Calls a function that returns a status. Raises RefusedByLibrary, MemoryError.

        The first argument's handle, or the second's when that one has none, says why.
        """
        plain = [a.pointer if isinstance(a, Handle) else a for a in arguments]
        status = getattr(self._loaded, f"varokel_{name}")(*plain)
        if status == 0:
            return
        tells = [a for a in arguments if isinstance(a, Handle) and a.kind == "workspace"]
        tells += [a for a in arguments if isinstance(a, Handle) and a.kind == "problem"]
        self.check(status, tells[0] if tells else None)

    def check(self, status: int, tells: Handle | None = None) -> None:
        if status == 0:
            return
        text, entry = b"", -1
        if tells is not None:
            text = getattr(self._loaded, f"varokel_{tells.kind}_message")(tells.pointer)
            if tells.kind == "workspace":
                entry = int(getattr(self._loaded, "varokel_workspace_failed_entry")(tells.pointer))
        if not text:
            text = getattr(self._loaded, "varokel_status_text")(status)
        message = text.decode("utf-8", errors="replace")
        if status == NO_MEMORY:
            raise MemoryError(message)
        raise RefusedByLibrary(message, entry, status == STOPPED)

    def make(self, kind: str, name: str, *arguments: object) -> Handle:
        """What a function makes whose last argument is where it goes. Raises as call."""
        pointer = c_void_p()
        self.call(name, *arguments, byref(pointer))
        return Handle(self, kind, pointer)

    def holds(self, name: str, *arguments: object) -> bool:
        """Whether a function that returns a status has something to tell."""
        try:
            self.call(name, *arguments)
        except RefusedByLibrary:
            return False
        return True

    def number(self, name: str, of: Handle) -> float:
        """What a function of a handle returns that cannot fail."""
        return float(getattr(self._loaded, f"varokel_{name}")(of.pointer))

    def count(self, name: str, of: Handle) -> int:
        return int(getattr(self._loaded, f"varokel_{name}")(of.pointer))

    def verdict_name(self, verdict: int) -> str:
        return str(getattr(self._loaded, "varokel_verdict_name")(verdict).decode())


def find_library(programs: str | PathLike[str] | None = None) -> str:
    """Path of libvarokel, or its bare name where the system has to find it.

    Looked for beside the programs, and in the folders "lib" next to theirs, in the order of
    find_program: in the folder `programs`; without it in that of VAROKEL_PROGRAMS; without that
    beside the program varokel in PATH, then where the system has its libraries. Raises
    LibraryMissing when a folder was named and does not have it.
    """
    named = os.environ.get(PROGRAM_FOLDER_VARIABLE, "")
    folder = os.fspath(programs) if programs is not None else named
    if not folder:
        program = shutil.which("varokel")
        found = _beside(Path(program).resolve().parent) if program is not None else None
        return str(found) if found is not None else LIBRARY_FILE
    found = _beside(Path(folder))
    if found is None:
        raise LibraryMissing(f"{LIBRARY_FILE} is not in {folder}, nor in a folder lib next to it")
    return str(found)


def _beside(folder: Path) -> Path | None:
    lib = folder.absolute().parent / "lib"
    places = [folder.absolute(), lib, *sorted(lib.glob("*-linux-gnu*"))]
    for place in places:
        if (place / LIBRARY_FILE).is_file():
            return place / LIBRARY_FILE
    return None


_lock = threading.Lock()
_libraries: dict[str, Library] = {}


def load_library(programs: str | PathLike[str] | None = None) -> Library:
    """The library that find_library names, loaded once. Raises LibraryMissing."""
    file = find_library(programs)
    with _lock:
        if file not in _libraries:
            _libraries[file] = Library(file)
        return _libraries[file]


def pairs_of(signal: ComplexArray) -> FloatArray:
    """Complex points as pairs of doubles, shape (2 n,): a view where that can be."""
    pairs: FloatArray = np.ascontiguousarray(signal, dtype=np.complex128).view(np.float64)
    return pairs


def pointer_to(array: FloatArray) -> object:
    """For an argument double *; the array has to live as long as the call."""
    return array.ctypes.data_as(_doubles)
