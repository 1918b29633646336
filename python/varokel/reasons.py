# SPDX-License-Identifier: BSD-3-Clause
"""Why a run left no results, in the program's own words."""

from __future__ import annotations

import re

_LONGEST = 12
_FATAL_FINDING = re.compile(r"fit_check_message -> fatal error")
_STARTS = (
    _FATAL_FINDING,
    re.compile(r"fatal error reading|fatal runtime error|implementation restriction"),
    re.compile(r"I/O-error|error in opening|could not be opened|is not available"),
    re.compile(r"program terminated due to"),
    re.compile(r"not fitted due to"),
)


def reason_of_log(log: str) -> str:
    """The lines that say why, at most twelve; the last lines where none is known to; else empty."""
    lines = [line.strip(" \t*") for line in log.splitlines()]
    lines = [line for line in lines if line]
    for pattern in _STARTS:
        at = next((i for i, line in enumerate(lines) if pattern.search(line)), None)
        if at is None:
            continue
        said = lines[at : at + _LONGEST]
        if pattern is _FATAL_FINDING:
            # one finding is enough: its lines reach to the next message
            end = next((i for i in range(1, len(said)) if _ends_finding(said[i])), len(said))
            said = said[:end]
        return "\n".join(said)
    return "\n".join(lines[-3:])


def _ends_finding(line: str) -> bool:
    return line.startswith(("fit_check_message", "testing input"))
