# SPDX-License-Identifier: BSD-3-Clause
"""Start values from a table of peaks, by the program varokel-start."""

from __future__ import annotations

import tempfile
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from os import PathLike
from pathlib import Path

import numpy.typing as npt

from .patterns import PatternContent, place_pattern
from .programs import run_companion, warn_of
from .sidecar import Sidecar
from .signals import signal_bytes
from .start_file import StartFile
from .start_file_reading import read_start_file
from .tables import read_names


@dataclass(frozen=True)
class PeakTable:
    """A table of peaks.

    text     of the table
    folder   where the pattern files stand that it names; None when there are none, or they are
             given as FitOptions.patterns
    options  of varokel-start, where that program is run: method "classic", start_from_peaks
    file     its name, in messages
    """

    text: str
    folder: str | PathLike[str] | None = None
    options: Sequence[str] = ()
    file: str = "peaks.txt"

    @classmethod
    def read(cls, file: str | PathLike[str], options: Sequence[str] = ()) -> PeakTable:
        """A table from a file; patterns are looked for beside it. Raises OSError."""
        path = Path(file)
        return cls(path.read_text(encoding="utf-8"), path.absolute().parent, tuple(options), str(file))

    def pattern_files(self) -> dict[str, PatternContent]:
        """The files in `folder` that words of the table name (".bin", ".pat"), by these words."""
        if self.folder is None:
            return {}
        place = Path(self.folder).absolute()
        words = {word for word in self.text.split() if ".bin" in word or ".pat" in word}
        return {word: place / word for word in sorted(words) if (place / word).is_file()}


@dataclass(frozen=True)
class StartValues:
    """What varokel-start made of a table: a start file and the names of its entries."""

    start: StartFile
    names: tuple[str, ...]


def start_from_peaks(
    table: PeakTable,
    spectrum: npt.ArrayLike,
    sidecar: Sidecar,
    *,
    patterns: Mapping[str, PatternContent] | None = None,
    programs: str | PathLike[str] | None = None,
) -> StartValues:
    """Start values for a spectrum of shape (n,), from a table of peaks.

    patterns  contents of pattern files, as for FitOptions; they win over the table's folder

    Each line that the program warns with becomes a VarokelWarning. Raises ProgramFailed with the
    program's message, which names line and column of the table; ProgramMissing.
    """
    with tempfile.TemporaryDirectory(prefix="varokel_start_") as private:
        folder = Path(private)
        (folder / "spectrum.bin").write_bytes(signal_bytes(spectrum))
        (folder / "spectrum.json").write_text(sidecar.to_json("spectrum.bin"), encoding="utf-8")
        (folder / "peaks.txt").write_text(table.text, encoding="utf-8")
        for name, content in {**table.pattern_files(), **(patterns or {})}.items():
            place_pattern(folder, name, content, sidecar.points)
        words = ["peaks.txt", *table.options, "-d", "spectrum.bin", "-o", "start.par"]
        finished = run_companion("varokel-start", words, folder, programs)
        warn_of(finished, "varokel-start", stacklevel=2)
        start = read_start_file(folder / "start.par")
        names_file = folder / "names.txt"
        names = read_names(names_file) if names_file.exists() else ()
        return StartValues(start, names)
