#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause
"""bench/presets.py PROGRAMS [--count N] [--fids FILE --json FILE --table FILE] [--class NAME ...]

How far from the optimum the strategies of varokel-start end. PROGRAMS is the build folder.

Classes of spectra with known optimum are simulated (or FIDs are taken from a file), and fitted from
start values that are off: by the errors of the table, by a common shift, or under a foreign line.
The optimum is that of an independent least squares (scipy's Levenberg-Marquardt with analytic
derivatives, model after docs/model.md, equations 2 to 5), started from the end of each fit and from
the values of the simulation, or, for FIDs from a file, from the unshifted table.

Printed for each class and strategy: fits that end more than 0.1 error bound (in any free parameter)
and more than 4 sigma^2 (in chi-square) off, the median and the largest distance of the others, and
the user time of the fits.

Needs numpy and scipy (python3-numpy, python3-scipy).
"""

import argparse
import json
import os
import re
import resource
import subprocess
import sys
import tempfile

import numpy as np
from scipy.optimize import least_squares

GAUSS_FWHM_PER_WIDTH = 1.67  # docs/model.md
AREA, FREQUENCY, GAUSS, PHASE, LORENTZ = range(5)

STRATEGIES = {
    # without alignment and alternation, the presets up to 0.1
    "plain": "tolerance: 1e-7\n"
             "step: gradient areas phases iterations=20\n"
             "step: gradient areas frequencies phases iterations=50\n"
             "step: gradient all iterations=200 times=3\n",
    "quick": "strategy: quick\n",
    "standard": "strategy: standard\n",
}

# Eleven signals in fifteen lines, 30 free parameters: areas, ppm, Lorentzian widths [Hz] and the
# errors of the start values (factor, Hz, factor).
TRUTH_31P = [
    # name, area, ppm, width, entries that follow: (factor of the area, offset in Hz)
    ("PCr", 4.4, 0.0, 15.0, [], (1.3, -1.9, 1.25)),
    ("Pi", 0.9, 4.82, 21.0, [], (0.7, -3.3, 1.25)),
    ("Pex", 0.35, 5.24, 21.0, [], (1.3, -0.6, None)),  # width of Pi
    ("PE", 2.2, 6.77, 20.0, [], (0.7, -3.9, 0.75)),
    ("PC", 0.45, 6.24, 20.0, [], (1.3, 0.2, None)),  # width of PE
    ("GPE", 0.8, 3.5, 20.0, [], (1.3, 3.0, None)),
    ("GPC", 1.3, 2.95, 20.0, [], (1.3, -1.4, None)),
    ("NAD", 0.6, -8.25, 30.0, [], (1.3, -0.9, 0.75)),
    ("gATP", 1.5, -2.48, 28.0, [(1.0, 16.0)], (0.7, -3.6, 1.25)),
    ("aATP", 1.5, -7.55, 26.0, [(1.0, 16.0)], (1.3, -2.5, 1.25)),
    ("bATP", 1.4, -16.15, 34.0, [(0.5, -16.0), (0.5, 16.0)], (0.7, 1.6, 0.75)),
]
FOLLOWS_WIDTH = {"Pex": "Pi", "PC": "PE", "GPE": "PE", "GPC": "PE"}
POINTS_31P, DWELL_31P, MHZ_31P, PHASE_31P = 1024, 2e-4, 120.3, 8.0
PEAK_TO_NOISE = 20.0

CLASSES = {
    # name: common shifts in Hz (each with both signs), height of a foreign line in units of the
    # largest one
    "no shift": ([0.0], 0.0),
    "shift 30 Hz": ([30.0], 0.0),
    "shift 60 Hz": ([60.0], 0.0),
    "shift 0.5 to 4 widths": ([7.5, 15.0, 22.5, 30.0, 45.0, 60.0], 0.0),
    "foreign line": ([0.0], 2.0),
    "foreign line, shift 30 Hz": ([30.0], 2.0),
}


def line_of_table(name, area, place, width, phase):
    return f"{name}  lorentz  {area}  {place}  {width}  {phase}\n"


def table_31p():
    text = "name  type  area  frequency[ppm]  lorentz[Hz]  phase[deg]\n"
    for k, (name, area, ppm, width, followers, (fa, hz, fw)) in enumerate(TRUTH_31P):
        wide = f"={FOLLOWS_WIDTH[name]}" if fw is None else f"{width * fw:.6g}"
        phase = "0" if k == 0 else "=PCr"
        text += line_of_table(name, f"{area * fa:.6g}", f"{ppm + hz / MHZ_31P:.6f}", wide, phase)
        for n, (factor, offset) in enumerate(followers):
            sign = "+" if offset > 0 else "-"
            text += line_of_table(f"{name}{n + 2}", f"={name}*{factor}",
                                  f"={name} {sign} {abs(offset)} Hz", f"={name}", "=PCr")
    return text + "interval: -20.7 to 20.7 ppm\n"


def fid_31p(noise):
    n = np.arange(POINTS_31P) * DWELL_31P
    fid = np.zeros(POINTS_31P, complex)
    for _, area, ppm, width, followers, _ in TRUTH_31P:
        for factor, offset in [(1.0, 0.0)] + followers:
            hz = ppm * MHZ_31P + offset
            fid += factor * area * np.exp((2j * np.pi * hz - np.pi * width) * n)
    return fid * np.exp(1j * np.radians(PHASE_31P)) + noise


def noise_sd_31p():
    """Per channel of the FID, so that the highest point stands 20 noise sd above the spectrum."""
    height = np.abs(np.fft.fft(fid_31p(0.0))).max()
    return height / PEAK_TO_NOISE / np.sqrt(POINTS_31P)


class Model:
    """A version 3 start file as a function of its free parameters."""

    def __init__(self, file):
        with open(file, encoding="utf-8") as stream:
            words = stream.read().split()
        at = {w: words.index(w) for w in ("n_pnts", "noistr", "noistp", "nLines", "phi__1", "Hz_p_p",
                                          "ignore", "pattrn", "number")}
        item = lambda key: float(words[at[key] + 1])
        self.points, self.lines = int(item("n_pnts")), int(item("nLines"))
        self.noise = (int(item("noistr")), int(item("noistp")))
        self.hz, self.delay = item("Hz_p_p"), item("phi__1") / 360.0
        if item("pattrn") or item("ignore"):
            raise SystemExit("lines only: neither patterns nor ignored points")
        step = max(i for i, w in enumerate(words[:at["number"]]) if w == "@")
        self.cut = int(words[step + 2])
        count = int(words[step + 13])
        ends = [int(w) for w in words[step + 14:step + 14 + 2 * count]]
        self.inside = np.zeros(self.points, bool)
        for first, last in zip(ends[0::2], ends[1::2]):
            self.inside[first:last + 1] = True
        ranges = int(words[words.index("ranges") + 1])
        block, per = at["number"] + 6, 3 if ranges == 2 else 5
        start = np.array(words[block:block + 6 * self.lines], float).reshape(-1, 6)[:, 1:]
        marks = block + 6 * self.lines
        self.kind, self.link = [], []
        for k in range(self.lines):
            rows = marks + k * (3 + 5 * per) + 3
            records = np.array(words[rows:rows + 5 * per], float).reshape(5, per)
            self.kind.append(int(records[0, 0]))
            self.link.append([int(x) for x in records[:, 1]])
        self.start = self.in_points(start)
        self.free = [(k, q) for k in range(self.lines) for q in range(5) if self.link[k][q] == 0]

    def in_points(self, matrix):
        own = np.array(matrix, float)
        for k, row in enumerate(own):
            row[FREQUENCY] /= self.hz
            row[GAUSS] /= self.hz * GAUSS_FWHM_PER_WIDTH
            if self.kind[k] == 3:
                row[LORENTZ] /= self.hz
        return own

    def read_result(self, file):
        """Natural units of .mat: as in the start file."""
        return self.in_points(np.loadtxt(file, ndmin=2))

    def whole(self, x):
        p = self.start.copy()
        for value, (k, q) in zip(x, self.free):
            p[k, q] = value
        for k in range(self.lines):
            for q in range(5):
                source = self.link[k][q] - 1
                if source < 0 or source == k:
                    continue
                if q == AREA:
                    p[k, q] = p[source, q] * self.start[k, q] / self.start[source, q]
                else:
                    p[k, q] = p[source, q] + self.start[k, q] - self.start[source, q]
        return p

    def spectrum(self, fid):
        fid = fid.copy()
        fid[0] *= 0.5
        return np.fft.fftshift(np.fft.fft(fid)) / self.points

    def derivatives(self, x):
        """Model and Jacobian, complex, over all points."""
        p, n = self.whole(x), np.arange(self.points)
        t = (n + self.delay) / self.points
        kept = n < max(2, self.cut)
        total = np.zeros(self.points, complex)
        columns = {f: np.zeros(self.points, complex) for f in self.free}
        for k, (area, f, g, phase, w) in enumerate(p):
            g, w = (0.0 if self.kind[k] == 2 else g), (0.0 if self.kind[k] == 1 else w)
            omega = 2 * np.pi * (f + self.points // 2)
            unit = kept * np.exp(-(np.pi * g * t) ** 2 - np.pi * w * t + 1j * omega * t
                                 + 1j * np.radians(phase) - 1j * np.pi * self.delay)
            curve = area * unit
            total += curve
            by = (unit, 2j * np.pi * t * curve, -2 * np.pi**2 * t**2 * g * curve,
                  1j * np.pi / 180 * curve, -np.pi * t * curve)
            for q in range(5):
                source = self.link[k][q] - 1
                if source == k or (self.kind[k] == 2 and q == GAUSS) or (
                        self.kind[k] == 1 and q == LORENTZ):
                    continue
                column = by[q]
                if source >= 0 and q == AREA:
                    column = column * self.start[k, q] / self.start[source, q]
                columns[(k if source < 0 else source, q)] += column
        return self.spectrum(total), np.array([self.spectrum(columns[f]) for f in self.free])

    @staticmethod
    def parts(z):
        return np.concatenate([z.real, z.imag], axis=-1)

    def optimum(self, data, sd, x):
        """The minimum of the valley of x: its place, its chi-square in sigma^2 and the bounds."""
        measured = self.parts(data[self.inside]) / sd

        def misfit(v):
            return self.parts(self.derivatives(v)[0][self.inside]) / sd - measured

        def jacobian(v):
            return (self.parts(self.derivatives(v)[1][:, self.inside]) / sd).T

        found = least_squares(misfit, x, jacobian, method="lm", x_scale="jac", xtol=1e-12,
                              ftol=1e-14, gtol=1e-12, max_nfev=300)
        scale = np.linalg.norm(found.jac, axis=0)
        scaled = found.jac / scale
        bounds = np.sqrt(np.abs(np.diag(np.linalg.pinv(scaled.T @ scaled)))) / scale
        return found.x, 2.0 * found.cost, bounds

    def chi(self, data, sd, x):
        return np.sum(np.abs(data[self.inside] - self.derivatives(x)[0][self.inside]) ** 2) / sd**2

    def values(self, p):
        return np.array([p[k, q] for k, q in self.free])


def run(words, folder):
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    with open(os.path.join(folder, "run.log"), "wb") as log:
        subprocess.run(words, cwd=folder, stdout=log, stderr=log, check=True)
    return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before


def truth_of_31p(model):
    p = model.start.copy()
    names = []
    for name, area, ppm, width, followers, _ in TRUTH_31P:
        for factor, offset in [(1.0, 0.0)] + followers:
            names.append((factor * area, ppm * MHZ_31P + offset, width))
    # ppm may fall or rise with the points; the table tells which by the place of its first lines
    sense = np.sign(np.corrcoef(p[:, FREQUENCY], [hz for _, hz, _ in names])[0, 1])
    for row, (area, hz, width) in zip(p, names):
        row[:] = area, model.points // 2 + sense * hz / model.hz, 0.0, PHASE_31P, width / model.hz
    return model.values(p)


def distance(model, data, sd, result, best, in_its_valley):
    """Largest distance in error bounds, and in chi-square, from best or the minimum beside the result."""
    x = model.values(result)
    if not in_its_valley:  # under a foreign line a model that fits it would be lower
        other = model.optimum(data, sd, x)
        if other[1] < best[1]:
            best = other
    place, chi, bounds = best
    off = x - place
    turn = [i for i, (_, q) in enumerate(model.free) if q == PHASE]
    off[turn] = (off[turn] + 180.0) % 360.0 - 180.0
    return np.max(np.abs(off) / bounds), model.chi(data, sd, x) - chi


def fits_of_class(own, name, strategies, fids, table, sidecar, folder):
    shifts, foreign = CLASSES[name]
    made, ppm_per_hz = [], 1.0
    t = np.arange(fids.shape[1]) * sidecar["dwell_time_s"]
    for i, fid in enumerate(fids):
        shift = shifts[i // 2 % len(shifts)] * (1.0 if i % 2 else -1.0)
        signal = fid.copy()
        if foreign > 0.0:  # between the lines, as wide as the highest one
            hz = (-1500.0, 1300.0, -650.0, 1000.0)[i % 4]
            signal += foreign * 4.4 * np.exp((2j * np.pi * hz - np.pi * 15.0) * t)
        made.append(signal * np.exp(2j * np.pi * shift * t))
    place = os.path.join(folder, re.sub(r"\W+", "_", name))
    os.makedirs(place)
    np.array(made, np.complex64).tofile(os.path.join(place, "class.fid.f32"))
    with open(os.path.join(place, "class.fid.json"), "w", encoding="utf-8") as stream:
        json.dump({**sidecar, "n_spectra": len(made)}, stream)
    run([own.programs + "/varokel-import", "class.fid.f32", "--json", "class.fid.json", "-o", ".", "--index", "all"],
        place)
    spectra = sorted(f[:-4] for f in os.listdir(place) if f.endswith(".bin"))
    rows = {s: [] for s in strategies}
    times = dict.fromkeys(strategies, 0.0)
    for i, spectrum in enumerate(spectra):
        shift = shifts[i // 2 % len(shifts)] * (1.0 if i % 2 else -1.0)
        for strategy in strategies:  # in turn, so that a busy machine slows them alike
            there = os.path.join(place, strategy + "_" + spectrum)
            os.makedirs(there)
            for ending in (".bin", ".json"):
                os.link(os.path.join(place, spectrum + ending), os.path.join(there, spectrum + ending))
            with open(os.path.join(there, "table.txt"), "w", encoding="utf-8") as stream:
                stream.write(table + own.steps.get(strategy, STRATEGIES.get(strategy, "")))
            run([own.programs + "/varokel-start", "table.txt", "-d", spectrum + ".bin", "-o",
                 "start.par"], there)
            times[strategy] += run([own.programs + "/varokel", ".", spectrum + ".bin", "start.par"],
                                   there)
            model = Model(os.path.join(there, "start.par"))
            data = np.fromfile(os.path.join(there, spectrum + ".bin"), np.complex64).astype(complex)
            first, stop = model.noise
            sd = np.std(data[first:stop].real)
            if strategy == strategies[0]:
                truth = truth_of_31p(model)
                moved = [j for j, (_, q) in enumerate(model.free) if q == FREQUENCY]
                truth[moved] += shift / model.hz
                best = model.optimum(data, sd, truth)
            rows[strategy].append(distance(model, data, sd, model.read_result(
                os.path.join(there, spectrum + ".mat")), best, foreign > 0.0))
    base = times[strategies[0]]
    for strategy in strategies:
        bounds, chi = np.array(rows[strategy]).T
        far = bounds > 0.1
        good = bounds[~far] if (~far).any() else np.array([np.nan])
        print(f"{name:28s} {strategy:12s} {int(far.sum()):3d} of {len(far):3d}   "
              f"{int((chi > 4.0).sum()):3d} of {len(far):3d}   {np.median(good):8.4f} {good.max():8.4f}"
              f"   {np.median(chi):9.2g}   {times[strategy] / len(far):7.3f} s"
              f"   {times[strategy] / base:5.2f}", flush=True)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("programs")
    parser.add_argument("--count", type=int, default=20)
    parser.add_argument("--seed", type=int, default=31)
    parser.add_argument("--fids")
    parser.add_argument("--json")
    parser.add_argument("--table")
    parser.add_argument("--class", dest="classes", action="append")
    parser.add_argument("--strategy", action="append")
    parser.add_argument("--steps", action="append", default=[], metavar="NAME=FILE",
                        help="a strategy of one's own: rows of a table")
    own = parser.parse_args()
    own.programs = os.path.abspath(own.programs)
    own.steps = {s.split("=", 1)[0]: open(s.split("=", 1)[1], encoding="utf-8").read()
                 for s in own.steps}
    if own.fids:
        with open(own.json, encoding="utf-8") as stream:
            sidecar = json.load(stream)
        fids = np.fromfile(own.fids, np.complex64).reshape(sidecar["n_spectra"], -1)[:own.count]
        fids = fids.astype(complex)
        with open(own.table, encoding="utf-8") as stream:
            table = stream.read()
    else:
        sidecar = {"n_points": POINTS_31P, "dwell_time_s": DWELL_31P, "spectrometer_MHz": MHZ_31P,
                   "ppm_at_carrier": 0.0, "nucleus": "31P", "ppm_rises_with_points": True}
        random, sd = np.random.default_rng(own.seed), noise_sd_31p()
        fids = np.array([fid_31p(random.normal(0, sd, POINTS_31P)
                                 + 1j * random.normal(0, sd, POINTS_31P))
                         for _ in range(own.count)])
        table = table_31p()
    print("class                        strategy     > 0.1 bound   > 4 sigma^2   median  largest   "
          "median chi   time a fit   ratio")
    with tempfile.TemporaryDirectory() as folder:
        for name in own.classes or CLASSES:
            fits_of_class(own, name, list(own.strategy or ["plain", "standard"]) + list(own.steps),
                          fids, table, sidecar, folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
