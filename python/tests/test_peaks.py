# SPDX-License-Identifier: BSD-3-Clause
from __future__ import annotations

from collections.abc import Callable
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest
import varokel
from conftest import TRUE_AREAS, two_line_fid, two_lines
from varokel import Entry, EntryType, FitOptions, Parameter, PeakTable, Sidecar

SIDECAR = Sidecar(512, 2.0, spectrometer_mhz=100.0, ppm_at_carrier=3.0, noise_window=(8, 120))


@pytest.fixture
def start_program(stand_in: Callable[[str, str], Path], tmp_path: Path, programs: Path) -> Path:
    """Folder with the real varokel and a stand-in for varokel-start.

    It takes what the real one takes, looks at it, and gives the start file of two lines.
    """
    (tmp_path / "two_lines.par").write_text(two_lines().to_text())
    folder = stand_in(
        "varokel-start",
        f"""
        [ "$*" = "peaks.txt --strategy quick -d spectrum.bin -o start.par" ] || exit 2
        if grep -q mistake peaks.txt; then
            echo "varokel-start: peaks.txt:1:1: mistake: expected a name" >&2; exit 3
        fi
        grep -q '"hz_per_point": 2.0' spectrum.json || exit 3
        [ "$(wc -c <spectrum.bin)" -eq 4096 ] || exit 3
        echo "varokel-start: estimated the areas" >&2
        cp "{tmp_path}/two_lines.par" start.par
        printf '# entries\\nsharp\\nbroad\\n' >names.txt""",
    )
    (folder / "varokel").symlink_to(programs / "varokel")
    return folder


def test_a_fit_may_start_from_a_table_of_peaks(start_program: Path) -> None:
    table = PeakTable("sharp lorentz", options=("--strategy", "quick"))
    with pytest.warns(varokel.VarokelWarning, match="estimated the areas"):
        fit = varokel.fit_fid(
            two_line_fid(), table, FitOptions(programs=start_program), sidecar=SIDECAR
        )
    assert fit.names == ("sharp", "broad")
    assert np.all(np.abs(fit.areas - TRUE_AREAS) < 4.0 * fit.area_sd)


def test_patterns_that_a_table_names_come_from_its_folder(
    tmp_path: Path, stand_in: Callable[[str, str], Path], programs: Path
) -> None:
    """The stand-in puts a pattern behind the two lines, if it finds its file."""
    start = two_lines()
    still = Parameter(0.0, link=3)
    own = Entry(
        EntryType.PATTERN, Parameter(0.5), still, still, still, still, pattern_file="own.pat"
    )
    text = replace(start, entries=(*start.entries, own)).to_text()
    (tmp_path / "with_pattern.par").write_text(text)
    (tmp_path / "own.pat").write_text(
        "start_pattern number_of_lines 1 parameters\n"
        "name line_type area frequency gauss_width zero_phase lorentz_width\n"
        "far lorentz 1.0 200.0 0.0 8.0\nend end_of_pattern\n"
    )
    (tmp_path / "peaks.txt").write_text("own own.pat\n")
    folder = stand_in(
        "varokel-start", f'[ -s own.pat ] && cp "{tmp_path}/with_pattern.par" start.par'
    )
    (folder / "varokel").symlink_to(programs / "varokel")
    options = FitOptions(programs=folder)
    table = PeakTable.read(tmp_path / "peaks.txt")
    fit = varokel.fit_fid(two_line_fid(), table, options, sidecar=SIDECAR)
    assert fit.names == ("line 1", "line 2", "pattern 3")
    # the data have no such line
    assert abs(fit.areas[2]) < 4.0 * fit.area_sd[2]
    with pytest.raises(varokel.ProgramFailed):
        varokel.fit_fid(two_line_fid(), PeakTable(table.text), options, sidecar=SIDECAR)


def test_a_mistake_in_the_table_is_that_of_the_program(start_program: Path) -> None:
    table = PeakTable("mistake", options=("--strategy", "quick"))
    with pytest.raises(varokel.ProgramFailed, match="peaks.txt:1:1"):
        varokel.fit_fid(two_line_fid(), table, FitOptions(programs=start_program), sidecar=SIDECAR)
    spectra = [varokel.spectrum_of_fid(two_line_fid())]
    options = FitOptions(programs=start_program)
    (failure,) = varokel.fit_many(spectra, table, options, method="classic", sidecar=SIDECAR)
    assert isinstance(failure, varokel.FitFailed) and "peaks.txt:1:1" in failure.reason


def test_a_table_needs_an_axis() -> None:
    with pytest.raises(ValueError, match="needs a sidecar"):
        varokel.fit_fid(two_line_fid(), PeakTable("sharp lorentz"))


def test_the_table_of_the_example_gives_its_fit(examples: Path) -> None:
    """With the real varokel-start."""
    folder = examples / "p31_brain"
    try:
        varokel.find_program("varokel-start")
    except varokel.ProgramMissing:
        pytest.skip("varokel-start is not built")
    table = PeakTable.read(folder / "peaks.txt")
    json = str(folder / "p31_brain.fid.json")
    spectrum = varokel.import_file(folder / "p31_brain.fid.f32", options=["--json", json])[0]
    made = varokel.start_from_peaks(table, spectrum.points, spectrum.sidecar)
    assert len(made.names) == len(made.start.entries) == 16
    fit = varokel.fit_spectrum(spectrum, table)
    expected = varokel.read_parameter_matrix(folder / "expected" / "p31_brain.mat")
    errors = varokel.read_parameter_matrix(folder / "expected" / "p31_brain.err")
    assert np.all(np.abs(fit.areas - expected[:, 0]) <= 0.2 * errors[:, 0])
