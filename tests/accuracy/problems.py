# SPDX-License-Identifier: BSD-3-Clause
"""problems.py -- fits with a known truth: the data of tests/data/peer31p and simulated classes

Each generator gives problems as tests/oracle/least_squares.py has them, with "name" and "truth" (true
parameters, (5, entries); none where they are not known).
"""
import json
import pathlib
import sys

import numpy

gaussian, lorentzian, voigt = 1, 2, 3
tree = pathlib.Path(__file__).resolve().parent.parent.parent


def spectrum_of_fid(fid):
    """Equation 5 of docs/model.md."""
    s = fid.copy()
    s[0] *= 0.5
    return numpy.fft.fftshift(numpy.fft.fft(s)) / len(s)


def peer31p(folder=tree / "tests/data/peer31p"):
    """The 20 spectra; peaks.txt is read as it stands."""
    axis = json.loads((folder / "peer31p.fid.json").read_text())
    points = axis["n_points"]
    hz = 1.0 / (axis["dwell_time_s"] * points)
    rows = [line.split() for line in (folder / "peaks.txt").read_text().splitlines()
            if line.strip() and not line.startswith(("#", "name", "interval"))]
    number = {row[0]: k for k, row in enumerate(rows)}
    entries = []

    def parameter(words, scale, shift):
        text = words[0]
        if not text.startswith("="):
            return ("free", (float(text)) * scale + shift)
        source, _, factor = text[1:].partition("*")
        offset = float(words[2]) * (-1 if words[1] == "-" else 1) / hz if len(words) > 1 else 0.0
        return ("tied", 0.0, number[source], float(factor or 1), offset)

    for row in rows:
        middle = row[3:-2]  # "=gATP + 16 Hz" is four words
        entries.append((lorentzian, [parameter(row[2:3], 1.0, 0.0),
                                     parameter(middle, axis["spectrometer_MHz"] / hz, points / 2),
                                     ("fixed", 0.0), parameter(row[-1:], 1.0, 0.0),
                                     parameter(row[-2:-1], 1.0 / hz, 0.0)]))
    fids = numpy.fromfile(folder / "peer31p.fid.f32", "<f4").astype(float).view(complex)
    fids = fids.reshape(axis["n_spectra"], points)
    for i, fid in enumerate(fids):
        yield dict(name=f"peer31p/{i + 1}", points=points, entries=entries, truth=None,
                   noise_sd=0.7459 / points**0.5, spectrum=spectrum_of_fid(fid))


def examples():
    """The fits of examples/, as their start files have them."""
    sys.path.insert(0, str(tree / "python"))
    import varokel
    from varokel.results import hz_per_unit
    for folder in sorted((tree / "examples").iterdir()):
        if not (folder / "start.par").exists():
            continue
        start = varokel.read_start_file(folder / "start.par")
        step, hz = start.steps[-1], start.hz_per_point
        entries, patterns = [], {}
        for k, entry in enumerate(start.entries):
            if entry.pattern_file:
                patterns[k] = pattern_decay(folder / entry.pattern_file, start.points, hz)
            of = []
            for q, given in enumerate(entry.parameters):
                # widths to points, FWHM / 1.67 of a Gaussian one
                unit = hz_per_unit(varokel.Quantity(q), entry.type, hz)
                unit /= (1.0, hz, 1.67 * hz, 1.0, hz)[q]
                value, source = given.value * unit, given.link - 1
                if given.link == 0:
                    of.append(("free", value))
                elif source == k:
                    of.append(("fixed", value))
                else:
                    other = start.entries[source].parameters[q].value * unit
                    of.append(tied_to(source, value / other) if q == 0 else
                              tied_to(source, 1.0, value - other))
            entries.append((int(entry.type), of))
        spectrum = varokel.read_signal(folder / f"{folder.name}.bin", start.points)
        first, behind = start.noise_window
        yield dict(name=f"example/{folder.name}", points=start.points, entries=entries, truth=None,
                   first_order_phase=start.phi_1, ignored=start.ignored,
                   kept=step.time_points if step.time_points < start.points else 0,
                   intervals=step.intervals, spectrum=spectrum, patterns=patterns,
                   noise_sd=float(numpy.std(spectrum.real[first:behind])))


def pattern_decay(file, points, hz):
    """What a pattern file stands for: a sum of lines, or the conjugate of a centred spectrum. Of
    examples without an acquisition delay."""
    import least_squares
    if file.suffix != ".pat":
        spectrum = numpy.fromfile(file, "<f4").astype(float).view(complex)
        return numpy.conj(numpy.fft.ifft(numpy.fft.ifftshift(spectrum))) * points
    rows = [line.split() for line in file.read_text().splitlines()]
    types = {"gauss": gaussian, "lorentz": lorentzian, "voigt": voigt}
    entries = []
    for row in rows:
        if len(row) < 6 or row[1] not in types:
            continue
        kind, numbers = types[row[1]], iter(numpy.float32(row[2:]).astype(float))
        area, place = next(numbers), next(numbers)
        gauss = 0.0 if kind == lorentzian else next(numbers)
        phase = next(numbers)
        lorentz = 0.0 if kind == gaussian else next(numbers)
        values = (area, place / hz, gauss / 1.67 / hz, phase, lorentz / hz)
        entries.append((kind, [("fixed", value) for value in values]))
    model = least_squares.fit_model(dict(points=points, noise_sd=1.0, entries=entries,
                                         spectrum=numpy.zeros(points, complex)))
    p = model.parameters(numpy.zeros(0))
    return p[0] @ model.curves(p) / model.weight


def tied_to(source, factor=1.0, offset=0.0):
    return ("tied", 0.0, source, factor, offset)


def multiplet(entries, shape, amplitudes, splitting):
    """Appends the lines of a multiplet: the first free, the others at fixed distances."""
    first = len(entries)
    for j, height in enumerate(amplitudes):
        if j == 0:
            entries.append((shape["type"], shape["of"]))
            continue
        follow = [tied_to(first, height / amplitudes[0]), tied_to(first, 1.0, j * splitting)]
        follow += [tied_to(first) if p[0] != "fixed" else p for p in shape["of"][2:]]
        entries.append((shape["type"], follow))


def shape_of(type_, area, frequency, gauss, lorentz, phase):
    return dict(type=type_, of=[
        ("free", area), ("free", frequency),
        ("free", gauss) if type_ != lorentzian else ("fixed", 0.0), phase,
        ("free", lorentz) if type_ != gaussian else ("fixed", 0.0)])


def lines_31p(random):
    entries = []
    u = random.uniform
    where = numpy.array([60, 105, 125, 165, 260, 335, 372, 450]) + u(-3, 3, 8)
    for j in range(8):
        phase = ("free", u(-20, 20)) if j == 0 else tied_to(0)
        shape = shape_of(lorentzian, u(0.5, 4), where[j], 0, u(1.5, 5), phase)
        multiplet(entries, shape, [1, 2, 1] if j == 7 else [1, 1] if j in (4, 6) else [1], u(3, 6))
    return 512, entries


def lines_13c(random):
    entries = []
    u = random.uniform
    for f in numpy.cumsum(u(60, 220, random.integers(3, 6))):
        phase = ("free", u(-30, 30)) if not entries else tied_to(0)
        multiplet(entries, shape_of(lorentzian, u(0.5, 6), f, 0, u(1.2, 4), phase), [1], 0)
    return 1024, entries


def lines_1h(random):
    """Long echo time: choline, creatine, N-acetyl aspartate, an inverted lactate doublet."""
    entries = []
    u = random.uniform
    for f, height in ((180, 1.2), (196, 1.0), (300, 2.0)):
        phase = ("free", u(-20, 20)) if not entries else tied_to(0)
        multiplet(entries, shape_of(lorentzian, height * u(0.7, 1.4), f + u(-1, 1), 0, u(2, 5), phase), [1], 0)
    multiplet(entries, shape_of(lorentzian, -u(0.4, 1.5), 360 + u(-2, 2), 0, u(2, 5), tied_to(0)), [1, 1], 3.7)
    return 512, entries


def lines_merged(random):
    """Two pairs of lines that lie 0.6 to 1.5 widths apart, and one alone."""
    entries = []
    u = random.uniform
    for f in (120, 260, 400):
        width = u(2, 6)
        phase = ("free", u(-20, 20)) if not entries else tied_to(0)
        first = len(entries)
        multiplet(entries, shape_of(lorentzian, u(1, 3), f, 0, width, phase), [1], 0)
        if f == 400:
            continue
        entries.append((lorentzian, [("free", u(1, 3)), ("free", f + width * u(0.6, 1.5)),
                                     ("fixed", 0.0), tied_to(0), tied_to(first)]))
    return 512, entries


def lines_voigt(random):
    entries = []
    u = random.uniform
    for f in numpy.cumsum(u(50, 110, random.integers(2, 5))):
        phase = ("free", u(-20, 20)) if not entries else tied_to(0)
        multiplet(entries, shape_of(voigt, u(1, 4), f, u(1.5, 4), u(1, 4), phase), [1], 0)
    return 512, entries


classes = {"31P": lines_31p, "13C": lines_13c, "1H": lines_1h, "merged": lines_merged,
           "Voigt": lines_voigt}


def simulated(kind, count, seed):
    """Data of one class with starts that are off: all frequencies by 0.5 to 4 linewidths together,
    widths by factors up to 2, areas up to 3, the phase by up to 30 degrees. SNR 15 to 300: highest
    point of the spectrum over the noise of a channel."""
    import least_squares
    random = numpy.random.default_rng([seed, list(classes).index(kind)])
    for i in range(count):
        points, entries = classes[kind](random)
        problem = dict(name=f"{kind}/{seed}.{i + 1}", points=points, entries=entries, noise_sd=1.0,
                       spectrum=numpy.zeros(points, complex))
        model = least_squares.fit_model(problem)
        problem["truth"] = model.parameters(model.start)
        clean = model.spectra(problem["truth"][0] @ model.curves(problem["truth"]))
        snr = 15.0 * 20.0 ** random.uniform()
        problem["noise_sd"] = numpy.max(abs(clean)) / snr
        problem["spectrum"] = clean + problem["noise_sd"] * (
            random.standard_normal(points) + 1j * random.standard_normal(points))
        problem["snr"] = snr
        width = numpy.median(problem["truth"][4] + 1.67 * problem["truth"][2])
        shift = random.choice([-1, 1]) * random.uniform(0.5, 4.0) * width
        # same changes for every class: one factor for each free parameter
        moved = []
        for type_, given in entries:
            new = list(given)
            for q in range(5):
                if given[q][0] != "free":
                    continue
                x = given[q][1]
                by = random.uniform(-1, 1)
                new[q] = ("free", (x * 3.0**by, x + shift, x * 2.0**by, x + 30 * by, x * 2.0**by)[q])
            moved.append((type_, new))
        problem["entries"] = moved
        yield problem


def write(problems, text, spectra):
    """The files that fit_problems reads."""
    offset = 0
    with open(text, "w") as out, open(spectra, "wb") as data:
        for p in problems:
            p["spectrum"].astype("<c16").tofile(data)
            print("problem", p["name"], p["points"], p.get("first_order_phase", 0), p.get("ignored", 0),
                  p.get("kept", 0), repr(float(p["noise_sd"])), offset, file=out)
            offset += p["points"]
            stored = {}
            for k, decay in p.get("patterns", {}).items():
                decay.astype("<c16").tofile(data)
                stored[k] = offset
                offset += p["points"]
            for first, last in p.get("intervals", ()):
                print("interval", first, last, file=out)
            for k, (type_, given) in enumerate(p["entries"]):
                print("entry", type_, stored.get(k, ""), file=out)
                for how, *numbers in given:
                    print(how, *(repr(x if isinstance(x, int) else float(x)) for x in numbers), file=out)
            print("fit", file=out)
