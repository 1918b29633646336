#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause
"""bench/neighbours.py PROGRAMS [--size N] [--seed N] [--method exact|classic] [--strategy FILE]

Whether fits that begin from a neighbour are ever worse than those that begin from common values.
PROGRAMS is the build folder.

A slice of N x N voxels of the 31P-like spectra of bench/presets.py is simulated: a disc of tissue whose
areas fall to a quarter at its edge, noise alone around it, the field a ramp of 80 Hz over the slice.
It is fitted twice by varokel-batch, --values same and --values neighbour. Printed: voxels whose
chi-square with neighbours is more than 4 sigma^2 above, and below, that with common values, all and
those with tissue; the largest such difference; the time of both.

Needs numpy and scipy (python3-numpy, python3-scipy), and perl.
"""

import argparse
import csv
import os
import subprocess
import tempfile

import numpy as np

import presets

TREE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def slice_of(size, seed):
    random, sd = np.random.default_rng(seed), presets.noise_sd_31p()
    clean = presets.fid_31p(0.0)
    t = np.arange(presets.POINTS_31P) * presets.DWELL_31P
    voxels = np.zeros((size, size, presets.POINTS_31P), complex)
    tissue = np.zeros((size, size), bool)
    middle = (size - 1) / 2.0
    for x in range(size):
        for y in range(size):
            r = np.hypot(x - middle, y - middle) / (0.4 * size)
            if r < 1.0:
                tissue[x, y] = True
                shift = 80.0 * (x / (size - 1.0) - 0.5)
                voxels[x, y] = (1.0 - 0.75 * r) * clean * np.exp(2j * np.pi * shift * t)
            voxels[x, y] += random.normal(0, sd, t.size) + 1j * random.normal(0, sd, t.size)
    return voxels, tissue


def write_nifti(voxels, file):
    """NIfTI-MRS keeps the conjugate; x runs fastest, then y, time last."""
    size, _, points = voxels.shape
    lines = np.conj(voxels).transpose(2, 1, 0).reshape(-1)
    text = "\n".join(f"{z.real:.7e} {z.imag:.7e}" for z in lines)
    with open(file, "wb") as stream:
        subprocess.run(["perl", TREE + "/tests/tools/fid_file.pl", "nifti",
                        f"dims={size},{size},1,{points}", f"dwell={presets.DWELL_31P}",
                        f"mhz={presets.MHZ_31P}", "nucleus=31P"],
                       input=text.encode(), stdout=stream, check=True)


def fit(programs, folder, values, method):
    words = [programs + "/varokel-batch"]
    with open(os.path.join(folder, "log"), "wb") as log:
        subprocess.run(words + ["plan", "grid.nii", "--peaks", "peaks.txt", "--values", values,
                                "--method", method, "-o", values], cwd=folder, stdout=log, stderr=log, check=True)
        begun = presets.resource.getrusage(presets.resource.RUSAGE_CHILDREN)
        subprocess.run(words + ["run", values, "-j", "2"], cwd=folder, stdout=log, stderr=log, check=True)
        ended = presets.resource.getrusage(presets.resource.RUSAGE_CHILDREN)
        subprocess.run(words + ["merge", values], cwd=folder, stdout=log, stderr=log, check=True)
    with open(os.path.join(folder, values, "quality.tsv"), encoding="utf-8") as stream:
        rows = {(int(r["x"]), int(r["y"])): r for r in csv.DictReader(stream, delimiter="\t")}
    return rows, ended.ru_utime - begun.ru_utime


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("programs")
    parser.add_argument("--size", type=int, default=16)
    parser.add_argument("--seed", type=int, default=7)
    parser.add_argument("--method", default="exact")
    parser.add_argument("--strategy", help="rows of a table, in place of the standard strategy")
    own = parser.parse_args()
    voxels, tissue = slice_of(own.size, own.seed)
    with tempfile.TemporaryDirectory() as folder:
        write_nifti(voxels, os.path.join(folder, "grid.nii"))
        steps = open(own.strategy, encoding="utf-8").read() if own.strategy else ""
        with open(os.path.join(folder, "peaks.txt"), "w", encoding="utf-8") as stream:
            stream.write(presets.table_31p() + steps)
        results = {v: fit(os.path.abspath(own.programs), folder, v, own.method)
                   for v in ("same", "neighbour")}
    same, near = results["same"][0], results["neighbour"][0]
    width = 2.0 * 20.7 * 2 * presets.MHZ_31P * presets.DWELL_31P * presets.POINTS_31P

    def chi(row):
        return width * float(row["fit_quality"]) ** 2 if row["status"] != "not_fitted" else np.inf

    all_differences = {at: chi(near[at]) - chi(same[at]) for at in same
                       if np.isfinite(chi(near[at])) or np.isfinite(chi(same[at]))}
    for what, chosen in (("all voxels", all_differences),
                         ("with tissue", {a: d for a, d in all_differences.items() if tissue[a]})):
        d = np.array(list(chosen.values()))
        print(f"{what:12s} {d.size:4d}   worse {int((d > 4).sum()):3d}   better {int((d < -4).sum()):3d}"
              f"   largest loss {d.max():9.3g}   largest gain {-d.min():9.3g}")
    print(f"user time    same {results['same'][1]:.1f} s   neighbour {results['neighbour'][1]:.1f} s")


if __name__ == "__main__":
    main()
