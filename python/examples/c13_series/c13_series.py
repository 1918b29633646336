# SPDX-License-Identifier: BSD-3-Clause
"""Time courses of four metabolites after an injection of hyperpolarised pyruvate.

    python3 c13_series.py [PICTURE.png]

Every time point is fitted twice. The first fit takes shift, widths and phase from the mean of
some time points and frees the areas only: that is linear, and right where a line may be absent.
Where the signal is strong, a second fit also frees one shift, one phase and common widths,
because the lines move and broaden while the bolus passes.

The program's error bounds take the noise of neighbouring points as independent. These data were
smoothed before they were published, so their noise is stronger in the early part of the decay,
where the lines are: the bounds are multiplied by what the noise spectrum says (see noise_factor).
They are also multiplied by the fit quality where it is above 1: there the residual is larger than
the noise window lets expect, by noise or by what the model misses. The last lines of the output
hold the error bars against the scatter of the time points that have next to no signal.
"""

from __future__ import annotations

import sys
from pathlib import Path

import numpy as np
import numpy.typing as npt
from matplotlib.figure import Figure

import varokel
from varokel import ComplexArray, Fit, FloatArray, Quantity, Spectrum, StartFile

HERE = Path(__file__).resolve().parent
REPETITION_TIME = 3.0  # [s]
MEAN_OF = slice(8, 24)  # behind the bolus, all four lines well above the noise
NOISE_OF = slice(32, None)  # time points in which no line reaches into the noise window
COLOURS = ("#0072b2", "#d55e00", "#009e73", "#cc79a7")
STRONG = 25.0  # strongest line over its standard deviation, from which on the shape is fitted


def fit_all(spectra: list[Spectrum], start: StartFile) -> list[Fit]:
    fits = []
    for fit in varokel.fit_many(spectra, start, method="classic"):
        if not isinstance(fit, Fit):
            raise fit
        fits.append(fit)
    return fits


def shape_of_mean(spectra: list[Spectrum], start: StartFile) -> StartFile:
    """Start values with the frequencies, widths and phase of the mean spectrum."""
    mean = np.mean([spectrum.points for spectrum in spectra[MEAN_OF]], axis=0)
    links = start.links
    links[:, Quantity.FREQUENCY] = 0
    fit = varokel.fit_spectrum(mean, start.with_links(links), sidecar=spectra[0].sidecar)
    return start.with_values(fit.values)


def noise_factor(spectra: list[Spectrum], components: ComplexArray) -> FloatArray:
    """True over printed standard deviation of the areas, shape (entries,).

    With noise of power p(t) in the decay instead of the mean power, the area of a line with the
    decay s(t) has the variance sum(|s|^2 p) / sum(|s|^2)^2. p(t) comes from the noise window: its
    inverse transform has one value for each n / window points of the decay.
    """
    sidecar = spectra[0].sidecar
    assert sidecar.noise_window is not None
    first, stop = sidecar.noise_window
    noise = np.array([spectrum.points[first:stop] for spectrum in spectra[NOISE_OF]])
    power = np.mean(np.abs(np.fft.ifft(noise, axis=1)) ** 2, axis=0)
    decays = [varokel.fid_of_spectrum(component) for component in components]
    strength = np.abs(np.array(decays)) ** 2
    strength = strength.reshape(len(strength), stop - first, -1).sum(axis=2)
    weighted: FloatArray = (strength @ power) / strength.sum(axis=1) / power.mean()
    return np.sqrt(weighted)


def draw(
    time: FloatArray,
    areas: FloatArray,
    sd: FloatArray,
    strong: npt.NDArray[np.bool_],
    names: tuple[str, ...],
    picture: Path,
) -> None:
    """The same courses three times: whole, the products, and the end, where the bars show."""
    figure = Figure(figsize=(8.0, 10.0), constrained_layout=True)
    plots = figure.subplots(3, 1)
    for plot in plots:
        for course, bars, name, colour in zip(areas.T, sd.T, names, COLOURS):
            plot.plot(time, course, color=colour, linewidth=0.8)
            for shown, face in ((strong, colour), (~strong, "white")):
                plot.errorbar(
                    time[shown],
                    course[shown],
                    yerr=bars[shown],
                    fmt="o",
                    markersize=3.5,
                    elinewidth=1.0,
                    capsize=2.0,
                    color=colour,
                    markerfacecolor=face,
                    label=name.replace("_", " ") if face == colour else None,
                )
        plot.axhline(0.0, color="0.6", linewidth=0.6)
        plot.set_ylabel("area (signal)")
        plot.grid(alpha=0.25)
    plots[0].legend(frameon=False)
    plots[0].set_title("Rat kidneys, hyperpolarised [1-$^{13}$C]pyruvate, 3 T; "
                       "bars: one standard deviation", fontsize=11)  # fmt: skip
    plots[1].set_ylim(-3.0, 75.0)
    plots[1].set_xlim(-3.0, 90.0)
    plots[2].set_ylim(-2.0, 9.0)
    plots[2].set_xlim(75.0, 192.0)
    plots[2].set_title("open: shape fixed, areas free", fontsize=10)
    plots[2].set_xlabel("time (s)")
    figure.savefig(picture, dpi=110)


def main() -> None:
    picture = Path(sys.argv[1]) if len(sys.argv) > 1 else Path("c13_series.png")
    spectra = varokel.import_file(HERE / "c13_series.fid.f32", options=["--index", "all"])
    names = varokel.read_names(HERE / "names.txt")
    start = shape_of_mean(spectra, varokel.read_start_file(HERE / "start.par"))

    shape = (Quantity.FREQUENCY, Quantity.GAUSS_WIDTH, Quantity.PHASE, Quantity.LORENTZ_WIDTH)
    fits = fit_all(spectra, start.with_fixed(*shape))
    strong = np.array([np.max(fit.areas / fit.area_sd) > STRONG for fit in fits])
    chosen = [spectrum for spectrum, is_strong in zip(spectra, strong) if is_strong]
    for number, fit in zip(np.flatnonzero(strong), fit_all(chosen, start)):
        fits[number] = fit

    signals = fits[int(np.flatnonzero(strong)[-1])].signals
    assert signals is not None
    factor = noise_factor(spectra, signals.components)
    time = REPETITION_TIME * np.arange(len(fits))
    areas = np.array([fit.areas for fit in fits])
    quality = np.array([fit.summary.quality for fit in fits])
    sd = np.array([fit.area_sd for fit in fits]) * factor * np.maximum(quality, 1.0)[:, np.newaxis]

    print("time_s", *(f"{name}\tsd" for name in names), "quality", sep="\t")
    for row in range(len(fits)):
        cells = [f"{a:.2f}\t{s:.2f}" for a, s in zip(areas[row], sd[row])]
        print(f"{time[row]:.0f}", *cells, f"{quality[row]:.2f}", sep="\t")
    scatter = np.std(np.diff(areas[-16:], axis=0), axis=0, ddof=1) / np.sqrt(2.0)
    for name, found, expected, f in zip(names, scatter, sd[-16:].mean(axis=0), factor):
        print(f"# {name}: scatter of the last 16 points {found:.2f}, error bar {expected:.2f} "
              f"(bound times {f:.2f} and quality)")  # fmt: skip

    draw(time, areas, sd, strong, names, picture)
    print(f"# picture: {picture}")


if __name__ == "__main__":
    main()
