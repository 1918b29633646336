# SPDX-License-Identifier: BSD-3-Clause
"""What a reader of a fit should know before its numbers, as varokel-report judges it."""

from __future__ import annotations

import json
from dataclasses import dataclass
from os import PathLike
from pathlib import Path

from .programs import run_companion


@dataclass(frozen=True)
class Finding:
    """One thing to know.

    kind     a word, as in the column "warnings" of results.tsv and quality.tsv
    level    "note", "amber" (look before you use the numbers) or "red" (do not use them as they
             are)
    text     a sentence
    entries  rows of the entries that it is about, from 0; empty: the whole fit
    """

    kind: str
    level: str
    text: str
    entries: tuple[int, ...] = ()


@dataclass(frozen=True)
class Judgement:
    """The judgement of a fit, in the words of its report and its tables.

    status    "converged", "at_limit", "fitted" or "not_fitted"
    level     the gravest of the findings: "none", "note", "amber" or "red"
    reason    why there are no results, or why it counts as at_limit; empty for converged
    findings  what was found, gravest matters of the whole fit first
    """

    status: str
    level: str
    reason: str
    findings: tuple[Finding, ...]

    @property
    def warnings(self) -> tuple[str, ...]:
        """The sentences."""
        return tuple(finding.text for finding in self.findings)

    def has(self, kind: str) -> bool:
        return any(finding.kind == kind for finding in self.findings)


def read_judgement(
    folder: str | PathLike[str],
    name: str,
    *,
    programs: str | PathLike[str] | None = None,
) -> Judgement:
    """Has varokel-report judge the run of spectrum `name` in a folder; it writes nothing.

    Raises ProgramMissing; ProgramFailed with the program's message.
    """
    words: list[str | PathLike[str]] = [Path(folder).absolute(), "--judgement"]
    words += ["--spectrum", name]
    ends = (0, 1)  # 1: it was not fitted
    finished = run_companion("varokel-report", words, Path.cwd(), programs, ends)
    own = json.loads(finished.output)[0]
    findings = tuple(
        Finding(each["kind"], each["level"], each["text"], tuple(each["entries"]))
        for each in own["findings"]
    )
    return Judgement(own["status"], own["level"], own["reason"], findings)
