#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause
"""Simulates a grid of voxels with four metabolites whose maps are known, as NIfTI-MRS.

    make_grid.py FOLDER [--size 32,32,10] [--points 512] [--noise 0.05] [--seed 1] [--start VALUES]

writes FOLDER/grid.nii (FIDs), FOLDER/truth.npz (the maps), FOLDER/start.par and FOLDER/names.txt.

Four Lorentzian lines decay as exp(-pi w t). Areas vary smoothly over the grid, frequencies shift
together by up to 3 Hz (an uneven field), the widths by a third. Of the voxels, 5 % hold noise only,
and of each 1000 two hold a point that is not a number (and one is all zero). The same arguments give
the same bytes: the noise comes from a counter-based generator with a fixed algorithm (Philox).
"""
import argparse
import json
import pathlib

import numpy as np

METABOLITES = ("PCr", "GATP", "AATP", "BATP")
SHIFT_PPM = (0.0, -2.5, -7.5, -16.1)
MHZ = 51.7
DWELL = 1.0 / 2500.0


def smooth(x, y, z, k):
    """A map between 0.5 and 1.5 without symmetry."""
    return 1.0 + 0.5 * np.sin(1.7 * x + 0.9 * k) * np.cos(1.3 * y - 0.4 * k) * np.cos(0.8 * z + k)


def make(sizes, points, noise, seed):
    rng = np.random.Generator(np.random.Philox(seed))
    nx, ny, nz = sizes
    x, y, z = np.meshgrid(
        np.linspace(-1, 1, nx), np.linspace(-1, 1, ny), np.linspace(-1, 1, nz), indexing="ij"
    )
    truth = {}
    t = np.arange(points) * DWELL
    fids = np.zeros(sizes + (points,), np.complex64)
    areas = np.stack([(4.0, 2.5, 3.0, 2.0)[k] * smooth(x, y, z, k) for k in range(4)])
    shift = 3.0 * np.sin(0.9 * x + 0.5) * np.cos(1.1 * y) + 0.5 * z  # Hz
    widths = np.stack([(8.0, 14.0, 12.0, 18.0)[k] * (1.0 + 0.33 * smooth(y, z, x, k) - 0.33) for k in range(4)])
    empty = rng.random(sizes) < 0.05
    areas[:, empty] = 0.0
    for ix in range(nx):  # a slab at a time: storage
        signal = np.zeros((ny, nz, points), complex)
        for k in range(4):
            # higher ppm is lower frequency in such files
            f = -SHIFT_PPM[k] * MHZ + shift[ix]
            signal += areas[k, ix][..., None] * np.exp(
                (2j * np.pi * f[..., None] - np.pi * widths[k, ix][..., None]) * t
            )
        both = rng.standard_normal((ny, nz, points, 2))
        fids[ix] = signal + noise * np.sqrt(points) * (both[..., 0] + 1j * both[..., 1])
    count = nx * ny * nz
    faulty = rng.permutation(count)[: max(3, 3 * count // 1000)]
    flat = fids.reshape(-1, points)
    not_finite = np.zeros(count, bool)
    zero = np.zeros(count, bool)
    for place, voxel in enumerate(faulty):
        if place % 3 == 2:
            flat[voxel] = 0
            zero[voxel] = True
        else:
            flat[voxel, place % points] = np.nan
            not_finite[voxel] = True
    truth["areas"] = areas
    truth["shift_hz"] = shift
    truth["widths_hz"] = widths
    truth["empty"] = empty
    truth["not_finite"] = not_finite.reshape(sizes)
    truth["all_zero"] = zero.reshape(sizes)
    return fids, truth


def write_nifti_mrs(name, fids):
    """A version 2 header by hand: the few items that a reader needs, and a rotated grid."""
    meta = json.dumps({"SpectrometerFrequency": [MHZ], "ResonantNucleus": ["31P"]}).encode()
    esize = (len(meta) + 8 + 15) // 16 * 16
    offset = 544 + esize
    h = bytearray(540)

    def put(at, kind, *values):
        raw = np.array(values, dtype=kind).tobytes()
        h[at : at + len(raw)] = raw

    put(0, "<i4", 540)
    h[4:12] = b"n+2\0\r\n\x1a\n"
    put(12, "<i2", 32, 64)  # complex64
    put(16, "<i8", 4, *fids.shape, 1, 1, 1)
    put(104, "<f8", 1, 8, 8, 12, DWELL, 1, 1, 1)
    put(168, "<i8", offset)
    put(176, "<f8", 1.0)
    put(344, "<i4", 2, 2)  # qform_code, sform_code
    put(352, "<f8", 0.0, 0.0, 0.17364817766693033)  # 20 degrees about z
    put(376, "<f8", -110.0, -95.0, -30.0)
    c, s = np.cos(np.radians(20)), np.sin(np.radians(20))
    put(400, "<f8", 8 * c, -8 * s, 0, -110)
    put(432, "<f8", 8 * s, 8 * c, 0, -95)
    put(464, "<f8", 0, 0, 12, -30)
    put(500, "<i4", 2 | 8)  # millimetres, seconds
    h[508:516] = b"mrs_v0_9"
    with open(name, "wb") as f:
        f.write(h + b"\1\0\0\0")
        f.write(np.array([esize, 44], "<i4").tobytes() + meta.ljust(esize - 8, b"\0"))
        for k in range(fids.shape[3]):
            f.write(np.asfortranarray(fids[..., k]).tobytes(order="F"))


def write_start(name, points, first, last):
    hz = 1.0 / (DWELL * points)
    middle = points // 2 * hz
    areas, widths = (3.5, 2.2, 2.6, 1.8), (9.0, 15.0, 13.0, 19.0)
    text = f"""version_3
n_pnts {points}
noistr {first}
noistp {last}
nLines 4
lsfcfs 0
phi__1 0.0
Hz_p_p {hz:.10g}
f__tol 1e-9
fit_mo 1
verbos 0
showli 1
clcerr 1
sg_idl none
ranges 2
ignore 0
pattrn 0
   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx   n_int   min   max
@ 2 {points} 1 1 1 1 1 0 1 0 200 2 1 0 {points - 1}
number       area          frequency      gausswidth        phase        lorentzwidth
"""
    rows, blocks = "", ""
    for k in range(4):
        f = middle - SHIFT_PPM[k] * MHZ
        values = (areas[k], f, 0.0, 0.0, widths[k] / hz)
        # one phase for all; frequencies follow the first at their distance
        links = (0, 0 if k == 0 else 1, k + 1, 0 if k == 0 else 1, 0)
        rows += f"{k + 1}\t" + "\t".join(f"{v:.8E}" for v in values) + "\n"
        blocks += f"#{k + 1}\nlsffit 0\n"
        blocks += "".join(f"2\t{link}\t{v:.8E}\n" for link, v in zip(links, values))
    name.write_text(text + rows + blocks + "lsf_coefs\nend_of_lsf\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--size", default="32,32,10")
    parser.add_argument("--points", type=int, default=512)
    parser.add_argument("--noise", type=float, default=0.02, help="sd of a part of a point of the spectrum")
    parser.add_argument("--seed", type=int, default=1)
    own = parser.parse_args()
    own.folder.mkdir(parents=True, exist_ok=True)
    sizes = tuple(int(word) for word in own.size.split(","))
    fids, truth = make(sizes, own.points, own.noise, own.seed)
    write_nifti_mrs(own.folder / "grid.nii", fids)
    np.savez(own.folder / "truth.npz", **truth)
    # left of the lines and right of them there is noise only
    write_start(own.folder / "start.par", own.points, own.points // 64, own.points // 4)
    (own.folder / "names.txt").write_text("\n".join(METABOLITES) + "\n")


if __name__ == "__main__":
    main()
