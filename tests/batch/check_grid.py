#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause
"""Compares the results of a batch with the maps that make_grid.py drew.

    check_grid.py FOLDER RUN

Every number is taken twice, from results.tsv and from the maps. Ends with status 1 when something
is not as it should be.
"""
import gzip
import pathlib
import sys

import numpy as np

problems = []


def expect(text, good):
    print(("ok   " if good else "BAD  ") + text)
    if not good:
        problems.append(text)


def read_map(name):
    raw = gzip.open(name).read()
    assert np.frombuffer(raw, "<i4", 1)[0] == 540, name
    dim = np.frombuffer(raw, "<i8", 8, 16)
    assert np.frombuffer(raw, "<i2", 1, 12)[0] == 16, "float32"
    sizes = tuple(int(n) for n in dim[1 : dim[0] + 1])
    return np.frombuffer(raw, "<f4", int(np.prod(sizes)), 544).reshape(sizes, order="F"), raw


def main():
    folder, run = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    truth = np.load(folder / "truth.npz")
    names = (folder / "names.txt").read_text().split()
    sizes = truth["empty"].shape
    columns, rows = None, {}
    for line in open(run / "results.tsv"):
        cells = line.rstrip("\n").split("\t")
        if columns is None:
            columns = {name: i for i, name in enumerate(cells)}
            continue
        place = tuple(int(cells[columns[axis]]) for axis in "xyz")
        rows[place + (cells[columns["name"]],)] = cells
    count = int(np.prod(sizes))
    expect(f"{len(rows)} rows for {count} voxels of {len(names)} entries", len(rows) == count * len(names))

    left_out = truth["not_finite"] | truth["all_zero"]
    signal = ~truth["empty"] & ~left_out
    for k, name in enumerate(names):
        area, raw = read_map(run / "maps" / f"{name}_area.nii.gz")
        error, _ = read_map(run / "maps" / f"{name}_area_error_1sd.nii.gz")
        shift, _ = read_map(run / "maps" / f"{name}_frequency.nii.gz")
        width, _ = read_map(run / "maps" / f"{name}_lorentz_fwhm.nii.gz")
        expect(f"{name}: map of {area.shape}", area.shape == sizes)
        if k == 0:
            source = (folder / "grid.nii").read_bytes()
            here = np.frombuffer(raw, "<f8", 12, 400)
            there = np.concatenate([np.frombuffer(source, "<f8", 4, at) for at in (400, 432, 464)])
            expect("the geometry of the input", np.array_equal(here, there))
        column = columns["area"]
        table = np.full(sizes, np.nan)
        for place in np.ndindex(sizes):
            cell = rows[place + (name,)][column]
            if cell != "n/a":
                table[place] = float(cell)
        same = np.allclose(table, area, rtol=1e-6, equal_nan=True)  # nine digits against float32
        expect(f"{name}: map and table agree", same)
        expect(f"{name}: no value where no fit was possible", bool(np.all(np.isnan(area[left_out]))))
        fitted = np.isfinite(area)
        expect(f"{name}: a value in all other voxels with signal", bool(np.all(fitted[signal])))

        z = (area - truth["areas"][k])[signal] / error[signal]
        n = z.size
        # Limits: four standard deviations of what a sample of n shows, and what bounds of a
        # linearised problem leave out, which is of the size of the relative error itself.
        second = float(np.median(error[signal] / np.abs(area[signal])))
        inside = float(np.mean(np.abs(z) <= 2.0))
        expected = 0.9545  # of a normal distribution
        mean_limit = 4 / np.sqrt(n) + second
        spread_limit = 4 / np.sqrt(2 * n) + second
        # widening by a small part e moves 4 phi(2) e = 0.216 e across two standard deviations
        inside_limit = 4 * np.sqrt(expected * (1 - expected) / n) + 0.216 * second
        print(
            f"     {name}: area error/bound: mean {z.mean():+.3f}, sd {z.std():.3f}, within 2 sd "
            f"{100 * inside:.1f} % of {n}; median bound {100 * np.median(error[signal] / truth['areas'][k][signal]):.1f} %"
        )
        expect(f"{name}: no bias, to {mean_limit:.3f} of the bound", abs(z.mean()) < mean_limit)
        expect(f"{name}: spread as the bound says, to {spread_limit:.3f}", abs(z.std() - 1) < spread_limit)
        expect(
            f"{name}: 95.4 % within two standard deviations, to {100 * inside_limit:.1f}",
            abs(inside - expected) < inside_limit,
        )
        points = truth["shift_hz"][signal]
        print(f"     {name}: sd of frequency {np.std(shift[signal] - points):.3f} Hz")
        w = width[signal] / truth["widths_hz"][k][signal]
        # a median spreads 1.2533 times as a mean; 1.4826 turns the middle distance into an sd
        sd = 1.4826 * float(np.median(np.abs(w - np.median(w))))
        width_limit = 4 * 1.2533 * sd / np.sqrt(n) + sd**2
        expect(
            f"{name}: width right in the median, {100 * (np.median(w) - 1):+.2f} % to {100 * width_limit:.2f} %",
            abs(np.median(w) - 1.0) < width_limit,
        )

    # voxels without signal: areas that are not known, and said so
    percent, _ = read_map(run / "maps" / f"{names[0]}_area_error_percent_1sd.nii.gz")
    hidden = truth["empty"] & ~left_out & np.isfinite(percent)
    doubtful = float(np.mean(percent[hidden] > 20.0)) if hidden.any() else 1.0
    print(f"     noise only: {int(hidden.sum())} fitted, {100 * doubtful:.1f} % of them with an error above 20 %")
    reasons = {}
    for line in open(run / "quality.tsv"):
        cells = line.rstrip("\n").split("\t")
        reasons[cells[5]] = reasons.get(cells[5], 0) + 1
    for reason, number in sorted(reasons.items()):
        print(f"     {number:6d} {reason}")
    expect(
        "the voxels with not-a-numbers are named",
        reasons.get("holds points that are no finite numbers", 0) == int(truth["not_finite"].sum()),
    )
    expect(
        "the voxels that are all zero are named",
        reasons.get("all its points are zero", 0) == int(truth["all_zero"].sum()),
    )
    sys.exit(1 if problems else 0)


main()
