# SPDX-License-Identifier: BSD-3-Clause
"""Interrupts of the keyboard while the library is at work."""

from __future__ import annotations

import signal
import threading
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from types import FrameType


@contextmanager
def interrupts_noted() -> Iterator[Callable[[], bool]]:
    """Holds SIGINT back: inside, a function tells whether one came; behind, its handler is called.

    Python would raise KeyboardInterrupt in the function that the library calls, even before its
    first statement, and ctypes drops what is raised there. Signals reach the main thread only; in
    any other, and where Python does not have the signal, nothing is held back.
    """
    noted: list[tuple[int, FrameType | None]] = []
    handler = signal.getsignal(signal.SIGINT)
    if threading.current_thread() is not threading.main_thread() or not callable(handler):
        yield lambda: False
        return
    signal.signal(signal.SIGINT, lambda number, frame: noted.append((number, frame)))
    try:
        yield lambda: bool(noted)
    finally:
        signal.signal(signal.SIGINT, handler)
        if noted:
            handler(*noted[0])
