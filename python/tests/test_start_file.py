# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import re
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import TREE, two_lines
from varokel import EntryType, Quantity


def test_every_version_3_file_of_the_tree_survives_a_round_trip() -> None:
    read = 0
    for file in [*TREE.glob("examples/**/*.par"), *TREE.glob("tests/cli/**/*.par")]:
        try:
            start = varokel.read_start_file(file)
        except varokel.FileFormatError:
            continue  # cases that are wrong on purpose
        # compared as text: not-a-numbers are not equal to themselves
        assert repr(varokel.parse_start_file(start.to_text())) == repr(start), file
        read += 1
    assert read > 50


def test_what_the_example_says(examples: Path) -> None:
    start = varokel.read_start_file(examples / "p31_brain" / "start.par")
    assert (start.points, start.noise_window, start.lines, start.patterns) == (
        1024,
        (702, 830),
        16,
        0,
    )
    assert (start.phi_1, start.hz_per_point, start.tolerance) == (1080.0, 9.765625, 1e-12)
    assert len(start.steps) == 9
    assert start.steps[0].intervals == ((266, 635),)
    assert start.steps[0].align and start.steps[0].iterations == 20 and start.steps[0].part == 2
    assert not start.steps[0].lorentz_widths and not start.steps[-1].gauss_widths
    assert start.steps[-1].iterations == 200 and start.steps[-1].lorentz_widths
    assert start.types == (EntryType.LORENTZ,) * 16
    np.testing.assert_array_equal(start.links[4], [4, 4, 5, 1, 4])
    np.testing.assert_allclose(start.values[9], [4.37, 5000.0, 0.0, 180.0, 1.577984])
    assert start.free.sum() == 36


def test_patterns_and_ranges_are_read(examples: Path) -> None:
    start = varokel.read_start_file(examples / "h1_patterns" / "start.par")
    assert start.pattern_files == ("naa.pat", "creatine.bin", "macromolecules.pat")
    assert start.entries[6].pattern_file == "creatine.bin"
    searched = varokel.read_start_file(examples / "random_search" / "start.par")
    assert searched.ranges == 1
    limits = searched.entries[0].frequency.range
    assert limits is not None and limits[0] < searched.entries[0].frequency.value < limits[1]


def test_the_table_counts_where_values_differ() -> None:
    text = two_lines().to_text()
    changed = text.replace("2\t0\t432", "2\t0\t999")
    assert changed != text
    assert varokel.parse_start_file(changed).entries[0].frequency.value == 432.0


def test_the_mark_of_a_step_may_touch_its_number() -> None:
    text = two_lines().to_text()
    assert varokel.parse_start_file(text.replace("@ 2", "@2")) == varokel.parse_start_file(text)


@pytest.mark.parametrize(
    ("found", "put", "message"),
    [
        ("version_3", "version_4", 'start file:1: expected "version_3"'),
        (
            "noistp 120",
            "noistp many",
            'start file:4: noistp: expected a whole number, found "many"',
        ),
        ("phi__1", "phi_1", 'start file:7: expected "phi__1", found "phi_1"'),
        ("algor", "algo", 'expected "algor", found "algo"'),
        ("#2", "#3", 'expected "#2", found "#3"'),
        ("2\t0\t432", "1\t0\t432", "type, frequency of entry 1"),
        (
            "1\t0\t20\n",
            "1\t0\twide\n",
            'value, gauss_width of entry 2: expected a number, found "wide"',
        ),
        ("end_of_lsf", "", "the file ends where it should have: end_of_lsf"),
        ("nLines 2", "nLines 3", "start file:24: expected the starting values of entry 3"),
    ],
)
def test_a_mistake_is_named_with_its_line(found: str, put: str, message: str) -> None:
    text = two_lines().to_text()
    assert found in text
    with pytest.raises(varokel.FileFormatError, match=re.escape(message)):
        varokel.parse_start_file(text.replace(found, put))


def test_values_and_links_are_replaced_as_tables() -> None:
    start = two_lines()
    values = start.values
    values[:, Quantity.AREA] = [7.0, 8.0]
    changed = start.with_values(values)
    np.testing.assert_array_equal(changed.values, values)
    np.testing.assert_array_equal(changed.links, start.links)
    assert start.values[0, Quantity.AREA] == 4.0
    fixed = start.with_fixed(Quantity.FREQUENCY)
    np.testing.assert_array_equal(fixed.links[:, Quantity.FREQUENCY], [1, 2])
    np.testing.assert_array_equal(fixed.links[:, Quantity.AREA], [0, 0])
    with pytest.raises(ValueError, match=r"shape \(1, 5\); expected \(2, 5\)"):
        start.with_values(values[:1])
    values[1, Quantity.PHASE] = np.nan
    with pytest.raises(ValueError, match="no finite numbers"):
        start.with_values(values)


def test_what_a_file_cannot_say_is_refused() -> None:
    start = two_lines()
    with pytest.raises(ValueError, match="has no range"):
        replace(start, ranges=1).to_text()
    nameless = replace(start.entries[0], type=EntryType.PATTERN)
    with pytest.raises(ValueError, match="name of a file"):
        replace(start, entries=(start.entries[1], nameless)).to_text()
    pattern = replace(nameless, pattern_file="a.pat")
    with pytest.raises(ValueError, match="behind the lines"):
        replace(start, entries=(pattern, start.entries[1])).to_text()
