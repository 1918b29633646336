# SPDX-License-Identifier: BSD-3-Clause
"""A 31P spectrum of the brain: from the FID to a table and a picture.

    python3 p31_brain.py [PICTURE.png]
"""

from __future__ import annotations

import sys
from pathlib import Path

import numpy as np
from matplotlib.figure import Figure

import varokel
from varokel import ComplexArray, Fit, FitOptions, Spectrum

DATA = Path(__file__).resolve().parents[2] / "examples" / "p31_brain"
NAMES = ("bATP", "bATP-", "bATP+", "aATP", "aATP-", "gATP", "gATP-", "UDPG", "NAD", "PCr", "GPC",
         "GPE", "Pi_in", "Pi_ex", "PC", "PE")  # fmt: skip


def in_phase(spectrum: ComplexArray, fit: Fit) -> ComplexArray:
    """Takes the common phase and that of the acquisition delay off, so that lines stand upright."""
    points = np.arange(spectrum.size)
    degrees = fit.phases_degrees[fit.entry("PCr")] + fit.final.phi_1 * points / spectrum.size
    upright: ComplexArray = spectrum * np.exp(-1j * np.deg2rad(degrees))
    return upright


def print_table(fit: Fit) -> None:
    print(f"{'name':8}{'area':>9}{'1 sd':>8}{'ppm':>10}{'width Hz':>10}")
    for k, name in enumerate(fit.names):
        print(f"{name:8}{fit.areas[k]:9.4f}{fit.area_sd[k]:8.4f}{fit.ppm[k]:10.4f}"
              f"{fit.lorentz_widths_hz[k]:10.2f}")  # fmt: skip
    print(f"fit quality {fit.summary.quality:.3f} (1: nothing but noise is left)")


def draw(spectrum: Spectrum, fit: Fit, picture: Path) -> None:
    assert fit.signals is not None and spectrum.sidecar.fit_interval is not None
    first, last = spectrum.sidecar.fit_interval
    shown = slice(first, last + 1)
    ppm = spectrum.sidecar.ppm_axis[shown]
    data, model, residual = (
        in_phase(signal, fit).real[shown]
        for signal in (fit.signals.data, fit.signals.model, fit.signals.residual)
    )
    height = float(data.max())
    figure = Figure(figsize=(10.0, 6.5), constrained_layout=True)
    plot = figure.subplots()
    plot.plot(ppm, data, color="0.55", linewidth=1.2, label="data")
    plot.plot(ppm, model, color="#d55e00", linewidth=1.1, label="fit")
    for k, component in enumerate(fit.signals.components):
        curve = in_phase(component, fit).real[shown] - 0.3 * height
        plot.plot(ppm, curve, color="#0072b2", linewidth=0.7, label="lines" if k == 0 else None)
    plot.plot(ppm, residual - 0.45 * height, color="#009e73", linewidth=0.9, label="residual")
    plot.set_xlim(ppm.max(), ppm.min())
    plot.set_xlabel("chemical shift (ppm)")
    plot.set_yticks([])
    plot.set_title(f"31P, brain, 7 T (simulated): fit quality {fit.summary.quality:.2f}")
    plot.legend(frameon=False)
    figure.savefig(picture, dpi=110)
    print(f"picture: {picture}")


def main() -> None:
    picture = Path(sys.argv[1]) if len(sys.argv) > 1 else Path("p31_brain.png")
    json = str(DATA / "p31_brain.fid.json")
    spectrum = varokel.import_file(DATA / "p31_brain.fid.f32", options=["--json", json])[0]
    fit = varokel.fit_spectrum(spectrum, DATA / "start.par", FitOptions(names=NAMES))
    print_table(fit)
    draw(spectrum, fit, picture)


if __name__ == "__main__":
    main()
