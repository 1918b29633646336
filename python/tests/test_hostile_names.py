# SPDX-License-Identifier: BSD-3-Clause
"""Names and texts that a run must not take as they come."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest
import varokel
from varokel.patterns import place_pattern
from varokel.tables import read_names

CURVE = np.ones(8, dtype=complex)


@pytest.mark.parametrize(
    "name", ["spectrum.bin", "spectrum.fit", "start.par", "names.txt", "run.log", "../out.bin"]
)
def test_a_pattern_takes_the_place_of_no_file_of_the_run(tmp_path: Path, name: str) -> None:
    folder = tmp_path / "run"
    folder.mkdir()
    with pytest.raises(ValueError, match="pattern"):
        place_pattern(folder, name, CURVE, 8)
    assert list(folder.iterdir()) == []
    place_pattern(folder, "creatine.bin", CURVE, 8)
    with pytest.raises(ValueError, match="a file of that name"):
        place_pattern(folder, "creatine.bin", CURVE, 8)


def test_names_that_are_no_utf8_are_refused_with_their_place(tmp_path: Path) -> None:
    file = tmp_path / "names.txt"
    file.write_bytes(b"# lines\nPCr\ngl\xfc\n")
    with pytest.raises(varokel.FileFormatError, match="byte 3 is no UTF-8") as refused:
        read_names(file)
    assert "3" in str(refused.value)
    file.write_bytes("PCr\nglü\n".encode())
    assert read_names(file) == ("PCr", "glü")


def test_a_results_table_that_is_no_utf8_is_refused_with_its_line(tmp_path: Path) -> None:
    file = tmp_path / "results.tsv"
    file.write_bytes(b"spectrum\tname\nbrain\tPCr\nbrain\tgl\xfc\n")
    with pytest.raises(varokel.FileFormatError, match="UTF-8") as refused:
        varokel.read_results_table(file)
    assert refused.value.line == 3


def test_json_that_is_nested_beyond_the_stack_is_an_error_of_the_file(tmp_path: Path) -> None:
    file = tmp_path / "spectrum.json"
    file.write_text("[" * 200_000)
    with pytest.raises(varokel.FileFormatError, match="nested"):
        varokel.read_sidecar(file)


def test_the_mark_before_a_name_that_looks_like_a_formula_is_taken_off(tmp_path: Path) -> None:
    file = tmp_path / "results.tsv"
    file.write_text("spectrum\tname\tarea\n'=1+1\t'\"open\t-1.5\n")
    table = varokel.read_results_table(file)
    assert table.texts("spectrum") == ("=1+1",) and table.texts("name") == ('"open',)
    assert table.numbers("area")[0] == -1.5
