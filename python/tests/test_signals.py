# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

import errno
import os
import struct
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import TREE, masked_array


def test_a_signal_file_is_little_endian_float32_pairs(tmp_path: Path) -> None:
    file = tmp_path / "two.bin"
    file.write_bytes(struct.pack("<4f", 1.5, -2.0, 0.25, 8.0))
    np.testing.assert_array_equal(varokel.read_signal(file), [1.5 - 2.0j, 0.25 + 8.0j])
    varokel.write_signal(tmp_path / "again.bin", [1.5 - 2.0j, 0.25 + 8.0j])
    assert (tmp_path / "again.bin").read_bytes() == file.read_bytes()


def test_a_short_or_broken_signal_is_refused_and_named(tmp_path: Path) -> None:
    file = tmp_path / "short.bin"
    file.write_bytes(bytes(16))
    with pytest.raises(varokel.FileFormatError, match=r"short\.bin: holds 2 points; expected 3"):
        varokel.read_signal(file, 3)
    file.write_bytes(bytes(12))
    with pytest.raises(varokel.FileFormatError, match="12 bytes"):
        varokel.read_signal(file)
    assert varokel.read_signal(file, 1).shape == (1,)


def test_an_existing_file_is_not_overwritten(tmp_path: Path) -> None:
    file = tmp_path / "mine.bin"
    file.write_bytes(b"mine")
    with pytest.raises(FileExistsError):
        varokel.write_signal(file, [1.0 + 0.0j])
    assert file.read_bytes() == b"mine"


def test_a_signal_that_finds_no_room_leaves_nothing(tmp_path: Path) -> None:
    limited = (
        "import resource, sys\n"
        f"sys.path.insert(0, {str(TREE / 'python')!r})\n"
        "import numpy, varokel\n"
        "resource.setrlimit(resource.RLIMIT_FSIZE, (1024, 1024))\n"
        "varokel.write_signal(sys.argv[1], numpy.ones(1000, complex))\n"
    )
    command = [sys.executable, "-B", "-c", limited, str(tmp_path / "large.bin")]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    assert done.returncode == 1
    assert "OSError" in done.stderr
    assert list(tmp_path.iterdir()) == []


def test_a_signal_is_written_where_there_are_no_links(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    def no_links(source: object, target: object) -> None:
        raise PermissionError(errno.EPERM, "no links here")

    monkeypatch.setattr(os, "link", no_links)
    varokel.write_signal(tmp_path / "one.bin", [1.0 + 2.0j])
    assert [file.name for file in tmp_path.iterdir()] == ["one.bin"]
    with pytest.raises(FileExistsError):
        varokel.write_signal(tmp_path / "one.bin", [1.0 + 2.0j])


@pytest.mark.parametrize("bad", [np.nan, np.inf, 1e39])
def test_points_that_are_not_finite_are_named(tmp_path: Path, bad: float) -> None:
    with pytest.raises(ValueError, match="point 2 of the signal"):
        varokel.write_signal(tmp_path / "bad.bin", [1.0, 2.0, bad, 4.0])
    assert not (tmp_path / "bad.bin").exists()


def test_the_spectrum_of_a_decay_is_its_definition() -> None:
    n = 16
    rng = np.random.default_rng(3)
    fid = rng.standard_normal(n) + 1j * rng.standard_normal(n)
    weights = np.ones(n)
    weights[0] = 0.5
    k = np.arange(n)
    for j in range(n):
        expected = np.sum(weights * fid * np.exp(-2j * np.pi * (j - n // 2) * k / n)) / n
        assert abs(varokel.spectrum_of_fid(fid)[j] - expected) < 1e-14
    np.testing.assert_allclose(
        varokel.fid_of_spectrum(varokel.spectrum_of_fid(fid)), fid, atol=1e-14
    )


def test_the_spectrum_is_that_of_the_importer(examples: Path, tmp_path: Path) -> None:
    source = examples / "p31_brain" / "p31_brain.fid.f32"
    fid = varokel.read_signal(source)
    json = str(examples / "p31_brain" / "p31_brain.fid.json")
    imported = varokel.import_file(source, options=["--json", json])[0].points
    # a float32 file: half of its last digit
    scale = np.abs(imported).max()
    assert np.abs(varokel.spectrum_of_fid(fid) - imported).max() < 2.0**-24 * scale


def test_a_decay_is_cut_or_filled_to_the_points_asked_for() -> None:
    fid = np.exp(-0.1 * np.arange(10)).astype(complex)
    with pytest.raises(ValueError, match="not 10"):
        varokel.spectrum_of_fid(fid)
    filled = varokel.fid_of_spectrum(varokel.spectrum_of_fid(fid, 16))
    np.testing.assert_allclose(filled[:10], fid, atol=1e-15)
    np.testing.assert_allclose(filled[10:], 0.0, atol=1e-15)
    cut = varokel.fid_of_spectrum(varokel.spectrum_of_fid(fid, 8))
    np.testing.assert_allclose(cut, fid[:8], atol=1e-15)


def test_a_pattern_is_that_of_the_importer(tmp_path: Path, examples: Path, programs: Path) -> None:
    import subprocess

    source = examples / "h1_patterns" / "creatine.fid.f32"
    subprocess.run(
        [programs / "varokel-import", "pattern", source, "-o", tmp_path / "creatine.bin"],
        check=True,
        capture_output=True,
    )
    wanted = varokel.read_signal(tmp_path / "creatine.bin")
    made = varokel.pattern_of_fid(varokel.read_signal(source))
    assert np.abs(made - wanted).max() < 2.0**-24 * np.abs(wanted).max()


def test_components_are_curves_of_so_many_points(tmp_path: Path) -> None:
    varokel.write_signal(tmp_path / "x.nln0", np.arange(12) * 1j)
    curves = varokel.read_components(tmp_path / "x.nln0", 4)
    assert curves.shape == (3, 4)
    assert curves[2, 1] == 9j
    with pytest.raises(varokel.FileFormatError, match="no whole number of curves of 5"):
        varokel.read_components(tmp_path / "x.nln0", 5)


@pytest.mark.parametrize("use", [varokel.spectrum_of_fid, varokel.pattern_of_fid])
def test_masked_points_are_refused(use: object) -> None:
    assert callable(use)
    with pytest.raises(ValueError, match="masked"):
        use(masked_array(np.ones(4, dtype=complex), 1))
    use(masked_array(np.ones(4, dtype=complex)))
