# SPDX-License-Identifier: BSD-3-Clause
"""Where the programs stand, and how one is run."""

from __future__ import annotations

import os
import shutil
import subprocess
import threading
import warnings
from collections.abc import Sequence
from dataclasses import dataclass
from os import PathLike
from pathlib import Path

from .errors import ProgramFailed, ProgramMissing, VarokelWarning

PROGRAM_FOLDER_VARIABLE = "VAROKEL_PROGRAMS"


def find_program(name: str, programs: str | PathLike[str] | None = None) -> Path:
    """Path of a program such as "varokel" or "varokel-import".

    Looked for in the folder `programs`; without it in the folder that the environment variable
    VAROKEL_PROGRAMS names; without that in PATH. Raises ProgramMissing.
    """
    named = os.environ.get(PROGRAM_FOLDER_VARIABLE, "")
    folder = os.fspath(programs) if programs is not None else named
    found = shutil.which(name, path=os.path.abspath(folder) if folder else None)
    if found is not None:
        return Path(found).absolute()
    where = f"in {folder}" if folder else "in PATH"
    raise ProgramMissing(
        f"{name} is not {where}; name its folder by programs=... or by the environment variable "
        f"{PROGRAM_FOLDER_VARIABLE}"
    )


@dataclass(frozen=True)
class Finished:
    """A run that came to its end.

    status: exit status, negative for a signal; output, errors: standard output and standard error.
    """

    status: int
    output: str
    errors: str
    timed_out: bool = False


class RunningPrograms:
    """Programs under way, so that all can be ended when their caller is interrupted."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._running: set[subprocess.Popen[bytes]] = set()
        self._ended = False

    def run(
        self, command: Sequence[str | PathLike[str]], folder: Path, timeout: float | None = None
    ) -> Finished:
        """Runs a command in `folder`, for at most `timeout` seconds, with nothing to read.

        Raises ProgramMissing when it cannot be started.
        """
        with self._lock:
            if self._ended:
                raise InterruptedError("the programs were ended")
            try:
                process = subprocess.Popen(
                    command,
                    cwd=folder,
                    env={**os.environ, "LC_ALL": "C"},
                    stdin=subprocess.DEVNULL,
                    stdout=subprocess.PIPE,
                    stderr=subprocess.PIPE,
                )
            except OSError as error:
                raise ProgramMissing(f"{os.fspath(command[0])} cannot be run: {error}") from error
            self._running.add(process)
        timed_out = False
        try:
            try:
                output, errors = process.communicate(timeout=timeout)
            except subprocess.TimeoutExpired:
                timed_out = True
                process.kill()
                output, errors = process.communicate()
            except BaseException:
                process.kill()
                process.wait()
                raise
        finally:
            with self._lock:
                self._running.discard(process)
        return Finished(process.returncode, _text(output), _text(errors), timed_out)

    def end_all(self) -> None:
        """Kills what runs, and lets nothing start again."""
        with self._lock:
            self._ended = True
            for process in self._running:
                process.kill()


def run_companion(
    name: str,
    arguments: Sequence[str | PathLike[str]],
    folder: Path,
    programs: str | PathLike[str] | None,
    ends: Sequence[int] = (0,),
) -> Finished:
    """Runs a companion program in `folder`. Raises ProgramMissing; ProgramFailed, with its message,
    for an exit status that is none of `ends`."""
    finished = RunningPrograms().run([find_program(name, programs), *arguments], folder)
    if finished.status not in ends:
        raise ProgramFailed(name, finished.status, finished.errors or finished.output)
    return finished


def warn_of(finished: Finished, name: str, stacklevel: int) -> None:
    """Each line that the program warned with as a VarokelWarning.

    stacklevel: as of warnings.warn, counted from the function that calls this one.
    """
    for line in finished.errors.splitlines():
        warnings.warn(line.removeprefix(f"{name}: "), VarokelWarning, stacklevel=stacklevel + 1)


def _text(printed: bytes) -> str:
    return printed.decode("utf-8", errors="replace")
