# SPDX-License-Identifier: BSD-3-Clause
"""Fits that tell how far they are, and that are ended before they are done."""

from __future__ import annotations

import subprocess
import sys
import threading
from collections.abc import Iterator

import numpy as np
import pytest
import varokel
from conftest import PEAKS, SIDECAR, TREE, two_line_spectrum as spectrum, two_lines
from varokel import ExactFit, ExactOptions, FitFailed


def test_progress_is_told_and_may_end_the_fit() -> None:
    calls: list[tuple[int, int, float]] = []
    plain = varokel.fit(spectrum(), two_lines())
    told = varokel.fit(spectrum(), two_lines(), progress=lambda *now: calls.append((now[0], now[1], now[2])))
    np.testing.assert_array_equal(told.values, plain.values)
    assert len(calls) >= 3 and calls[-1][0] >= 1
    assert [c[1] for c in calls] == sorted(c[1] for c in calls)
    assert calls[-1][2] < calls[0][2] and calls[-1][2] > 0.9 * plain.sum_of_squares
    calls.clear()

    def twice(*now: object) -> bool:
        calls.append((0, 0, 0.0))
        return len(calls) < 2

    with pytest.raises(FitFailed, match="stopped"):
        varokel.fit(spectrum(), two_lines(), progress=twice)
    assert len(calls) == 2

    def fail(*now: object) -> None:
        raise LookupError("of the caller")

    with pytest.raises(LookupError, match="of the caller"):
        varokel.fit(spectrum(), two_lines(), progress=fail)
    with pytest.raises(ValueError, match="tells of no progress"):
        varokel.fit(spectrum(), two_lines(), method="classic", progress=fail)  # type: ignore[call-overload]


def slow_table(lines: int = 60) -> str:
    """Far more lines than the spectrum has: a search takes many steps, and many are asked for."""
    head = "noise: 8 to 120 points\ninterval: 0 to 511 points\n"
    head += "name  type  area  frequency[ppm]  gauss[Hz]  lorentz[Hz]  phase[deg]\n"
    return head + "\n".join(
        f"l{k}  lorentz  0.1  {1.0 + 0.07 * k:.3f}  -  8  {'=l0' if k else 0}" for k in range(lines)
    )


def test_an_interrupt_of_the_keyboard_ends_a_fit() -> None:
    """In a process of its own, while the library is at work."""
    script = f"""
import os, signal, sys, threading
sys.path[:0] = [{str(TREE / "python")!r}, {str(TREE / "python" / "tests")!r}]
import varokel
from conftest import PEAKS, SIDECAR, two_line_spectrum as spectrum
from test_exact_progress import slow_table
from varokel import exact

find = exact._find
def interrupted_soon(*given):
    threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
    return find(*given)
exact._find = interrupted_soon
for handler in (signal.default_int_handler, lambda *_: print("a handler of its own")):
    signal.signal(signal.SIGINT, handler)
    try:
        varokel.fit(spectrum(), slow_table(), varokel.ExactOptions(starts=900), sidecar=SIDECAR)
        print("ended by itself")
    except KeyboardInterrupt:
        print("interrupted")
    except varokel.FitFailed as failed:
        print(failed.reason)
    print(signal.getsignal(signal.SIGINT) is handler)
exact._find = find
print(varokel.fit(spectrum(), PEAKS, sidecar=SIDECAR).verdict)
"""
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=90)
    said = "interrupted\nTrue\na handler of its own\nthe fit was stopped\nTrue\noptimum\n"
    assert done.stdout == said and done.stderr == "", done.stdout + done.stderr


def test_leaving_many_fits_ends_those_under_way() -> None:
    ended = []

    def spectra() -> Iterator[varokel.ComplexArray]:
        for number in range(3):
            yield spectrum(number)

    def start_of(number: int) -> str:
        return PEAKS if number == 0 else slow_table()

    def run() -> None:
        fits = varokel.fit_many(
            spectra(), start_of, ExactOptions(starts=900), workers=2, sidecar=SIDECAR
        )
        ended.append(next(iter(fits)))
        getattr(fits, "close")()

    thread = threading.Thread(target=run, daemon=True)
    thread.start()
    thread.join(60.0)  # one of them alone takes minutes
    assert not thread.is_alive() and isinstance(ended[0], ExactFit)
