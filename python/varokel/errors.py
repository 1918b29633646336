# SPDX-License-Identifier: BSD-3-Clause
"""What can go wrong, each with the text that the program itself printed."""

from __future__ import annotations

from os import PathLike, fspath


class VarokelError(Exception):
    """Base of all errors of this package but for wrong arguments, which are ValueError."""


class VarokelWarning(UserWarning):
    """Something that a program warned of, such as a guessed value."""


class ProgramMissing(VarokelError):
    """A program of the system is not where it was looked for."""


class ProgramFailed(VarokelError):
    """A companion program ended with an error.

    Attributes: program (name), status (exit status), output (what it printed, both streams).
    """

    def __init__(self, program: str, status: int, output: str) -> None:
        self.program, self.status, self.output = program, status, output
        said = output.strip() or "it printed nothing"
        super().__init__(f"{program} ended with status {status}: {said}")

    def __reduce__(self) -> tuple[type[ProgramFailed], tuple[str, int, str]]:
        return type(self), (self.program, self.status, self.output)


class FitFailed(VarokelError):
    """A fit left no whole set of results.

    Attributes: name (of the spectrum), reason (lines of the program that say why), log (all that
    it printed).
    """

    def __init__(self, name: str, reason: str, log: str) -> None:
        self.name, self.reason, self.log = name, reason, log
        super().__init__(f"{name} was not fitted: {reason}")

    def __reduce__(self) -> tuple[type[FitFailed], tuple[str, str, str]]:
        return type(self), (self.name, self.reason, self.log)


class FileFormatError(VarokelError, ValueError):
    """A file holds something else than expected.

    Attributes: file, line (from 1; 0 where the file has none), problem.
    """

    def __init__(self, file: str | PathLike[str], line: int, problem: str) -> None:
        self.file, self.line, self.problem = fspath(file), line, problem
        place = f"{self.file}:{line}" if line else self.file
        super().__init__(f"{place}: {problem}")

    def __reduce__(self) -> tuple[type[FileFormatError], tuple[str, int, str]]:
        return type(self), (self.file, self.line, self.problem)
