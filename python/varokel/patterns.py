# SPDX-License-Identifier: BSD-3-Clause
"""Pattern files of a run, in its private folder."""

from __future__ import annotations

import shutil
from os import PathLike
from pathlib import Path
from typing import TypeAlias, Union

import numpy as np

from .arrays import ComplexArray
from .signals import signal_bytes

PatternContent: TypeAlias = Union[str, ComplexArray, PathLike[str]]
"""Text of a ".pat", complex points of a ".bin", or the path of a file of either kind."""


_OF_THE_RUN = frozenset({"spectrum", "start", "names", "run", "compact", "lsf", "temp"})
"""Stems of the files that a run reads and writes in its folder."""


def place_pattern(folder: Path, name: str, content: PatternContent, points: int) -> None:
    """Puts a pattern of `points` points under `name` into `folder`.

    Raises ValueError for a name that leads out of the folder or belongs to another file of the run,
    such as spectrum.bin; OSError.
    """
    target = folder / name
    if len(Path(name).parts) == 1 and name.split(".")[0] in _OF_THE_RUN or target.exists():
        raise ValueError(f"pattern {name}: a run has a file of that name itself; give it another")
    if not target.resolve().is_relative_to(folder.resolve()):
        raise ValueError(f"pattern {name}: expected the name of a file without a folder above it")
    target.parent.mkdir(parents=True, exist_ok=True)
    if isinstance(content, str):
        target.write_text(content, encoding="utf-8")
    elif isinstance(content, np.ndarray):
        if content.shape != (points,):
            raise ValueError(f"pattern {name} of shape {content.shape}; expected ({points},)")
        target.write_bytes(signal_bytes(content))
    else:
        shutil.copyfile(content, target)
