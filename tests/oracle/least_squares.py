# SPDX-License-Identifier: BSD-3-Clause
"""least_squares.py -- the lowest minimum of a fit, by another program's search from many starts

The model of docs/model.md in numpy, point by point in the time domain, and MINPACK's
Levenberg-Marquardt through scipy.optimize.least_squares. Shares nothing with the engine.

A problem is a dictionary:

  points, first_order_phase, ignored, kept, noise_sd, spectrum (complex, centred)
  intervals  first and last point of each, of both channels; without any, all are fitted
  entries  list of (type, five parameters): 1 Gaussian, 2 Lorentzian, 3 Voigt, 4 pattern; parameters
           area, frequency [points], Gaussian width [points, FWHM / 1.67], phase [degrees],
           Lorentzian width [points], each ("free", start), ("fixed", value) or ("tied", start,
           source, factor, offset)
  patterns stored decays by the number of their entry, from 0; equation 6
"""
import numpy
import scipy.optimize

area, frequency, gauss_width, phase, lorentz_width = range(5)


class fit_model:
    """Parameters of all entries are links @ y + offsets, y what the fit moves."""

    def __init__(self, problem):
        self.points = problem["points"]
        self.noise_sd = problem["noise_sd"]
        # the decay of which the spectrum is the transform
        self.data = numpy.fft.ifft(numpy.fft.ifftshift(problem["spectrum"])) * self.points
        entries = problem["entries"]
        self.owner = [(k, q) for k, (_, given) in enumerate(entries) for q in range(5)
                      if given[q][0] == "free"]
        self.kinds = numpy.array([q for _, q in self.owner])
        count = len(self.owner)
        self.links = numpy.zeros((5, len(entries), count))
        self.offsets = numpy.zeros((5, len(entries)))
        self.start = numpy.array([entries[k][1][q][1] for k, q in self.owner], float)
        for c, (k, q) in enumerate(self.owner):
            self.links[q, k, c] = 1.0
        for k, (_, given) in enumerate(entries):  # sources come before what follows them
            for q in range(5):
                if given[q][0] == "fixed":
                    self.offsets[q, k] = given[q][1]
                elif given[q][0] == "tied":
                    _, _, source, factor, offset = given[q]
                    self.links[q, k] = factor * self.links[q, source]
                    self.offsets[q, k] = factor * self.offsets[q, source] + offset
        self.d = problem.get("first_order_phase", 0.0) / 360.0
        n = numpy.arange(self.points)
        self.time = (n + self.d) / self.points
        self.weight = numpy.ones(self.points)
        self.weight[0] = 0.5
        self.patterns = problem.get("patterns", {})
        self.is_line = numpy.array([k not in self.patterns for k in range(len(entries))])
        self.weight[: problem.get("ignored", 0)] = 0.0
        if problem.get("kept", 0):
            self.weight[problem["kept"]:] = 0.0
        self.data[self.weight == 0.0] = 0.0
        self.fitted = numpy.zeros(self.points, bool)
        for first, last in problem.get("intervals", ()) or [(0, self.points - 1)]:
            self.fitted[first: last + 1] = True

    def parameters(self, y):
        """(5, entries)"""
        return self.links @ y + self.offsets

    def curves(self, p):
        """Decays with area 1, (entries, points), equations 1 to 4 and 6."""
        # exp(z n) as exp(z 32 i) exp(z j), n = 32 i + j
        half_band = self.is_line * (self.points // 2)
        z = 2j * numpy.pi * (p[frequency] + half_band) - numpy.pi * p[lorentz_width]
        z /= self.points
        step = min(32, self.points)
        whole = numpy.exp(numpy.outer(z, step * numpy.arange(self.points // step) + self.d)
                          + 2j * numpy.pi * (p[phase] / 360.0 - self.is_line * self.d / 2.0)[:, None])
        e = whole[:, :, None] * numpy.exp(numpy.outer(z, numpy.arange(step)))[:, None, :]
        e = e.reshape(len(z), self.points) * self.weight
        for k, decay in self.patterns.items():
            e[k] *= decay
        for k in numpy.flatnonzero(p[gauss_width]):
            e[k] *= numpy.exp(-((numpy.pi * p[gauss_width][k] * self.time) ** 2))
        return e

    def spectra(self, decays):
        """Centred, equation 5; the half band stands in the frequency already."""
        return numpy.fft.fftshift(numpy.fft.fft(decays, axis=-1), axes=-1) / self.points

    def to_values(self, decays):
        """Real and imaginary parts [noise_sd]. Where all points of the spectrum are fitted, the sum
        of squares is that over the decay (Parseval), and nothing needs a transform."""
        if self.fitted.all():
            return decays.view(float) * (self.points**-0.5 / self.noise_sd)
        fitted = numpy.ascontiguousarray(self.spectra(decays)[..., self.fitted])
        return fitted.view(float) / self.noise_sd

    def residual(self, y):
        p = self.parameters(y)
        return self.to_values(p[area] @ self.curves(p) - self.data)

    def jacobian(self, y):
        """(values, columns)"""
        p = self.parameters(y)
        e = self.curves(p)
        c = p[area][:, None] * e
        t = self.time
        by = [e, 2j * numpy.pi * t * c, -2.0 * numpy.pi**2 * p[gauss_width][:, None] * t**2 * c,
              1j * numpy.pi / 180.0 * c, -numpy.pi * t * c]
        out = numpy.empty((len(y), 2 * numpy.count_nonzero(self.fitted)))
        for q in range(5):  # links are between parameters of one kind
            own = self.kinds == q
            out[own] = self.links[q][:, own].T @ self.to_values(by[q])
        return out.T

    def covariance(self, y):
        j = self.jacobian(y)
        scale = 1.0 / numpy.sqrt(numpy.sum(j * j, axis=0))
        return numpy.linalg.inv((j * scale).T @ (j * scale)) * numpy.outer(scale, scale)


def search(model, start, precise=False):
    """Minimum from a start: Lorentzian widths enter as squares, so that they are never negative.
    Returns (sum of squares, y)."""
    squared = model.kinds == lorentz_width

    def values(u):
        return numpy.where(squared, u * u, u)

    u = numpy.where(squared, numpy.sqrt(numpy.maximum(start, 1e-4)), start)
    options = dict(xtol=1e-15, ftol=1e-15, gtol=1e-15, max_nfev=2000) if precise else \
        dict(xtol=1e-4, ftol=1e-4, gtol=1e-15, max_nfev=100)
    with numpy.errstate(over="ignore", invalid="ignore"):
        try:
            found = scipy.optimize.least_squares(
                lambda u: model.residual(values(u)), u, method="lm", x_scale="jac",
                jac=lambda u: model.jacobian(values(u)) * numpy.where(squared, 2.0 * u, 1.0), **options)
        except ValueError as error:
            if "finite" not in str(error) and "NaN" not in str(error):
                raise
            return numpy.inf, start  # the model overflowed on the way
    y = values(found.x)
    y[model.kinds == gauss_width] = abs(y[model.kinds == gauss_width])
    return 2.0 * found.cost, y


def lowest_minimum(model, random, starts=32, known=()):
    """Lowest of searches from the model's start, from `known`, and from random places around the
    start: common shifts by 4 linewidths, areas by factors of 3, widths of 2, phases of 30 degrees.
    Returns (sum of squares, y)."""
    width = max(1.0, numpy.median(model.start[numpy.isin(model.kinds, (gauss_width, lorentz_width))]))
    ends = [search(model, model.start)] + [search(model, y) for y in known]
    while len(ends) < starts:
        y = model.start.copy()
        size = len(y)
        y[model.kinds == frequency] += random.uniform(-4.0, 4.0) * width
        y = numpy.select(
            [model.kinds == area, model.kinds == frequency, model.kinds == phase],
            [y * 3.0 ** random.uniform(-1, 1, size), y + random.normal(0, 0.5 * width, size),
             y + random.uniform(-30, 30, size)], y * 2.0 ** random.uniform(-1, 1, size))
        ends.append(search(model, y))
    # rough ends, of which the lowest few, those of one minimum once, are finished
    ends.sort(key=lambda end: end[0])
    finished = []
    for sum_of_squares, y in ends:
        if len(finished) == 3 or sum_of_squares > 1.05 * ends[0][0]:
            break
        if any(abs(sum_of_squares - rough) < 1e-3 * ends[0][0] for rough, _ in finished):
            continue
        finished.append((sum_of_squares, search(model, y, precise=True)))
    return min((end for _, end in finished), key=lambda end: end[0])
