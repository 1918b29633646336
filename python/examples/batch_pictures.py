# SPDX-License-Identifier: BSD-3-Clause
"""Pictures of a merged batch: time courses of a series, or a table where two directions are no place.

    python3 batch_pictures.py series RUN PICTURE.svg [--step 3 --unit s]
    python3 batch_pictures.py table RUN PICTURE.svg [--entries NAA Cr Cho]

Both read RUN/results.tsv, as varokel-batch merge wrote it. A series has one direction. A table has
two: the first (receive coils) across, the second (repetitions) down; a panel for each entry has its
areas as colours and numbers, and below them, for each column, the scatter of its values and the
error bound that the fits state (one standard deviation each). Areas with an error bound above 50 % are drawn pale in both.
"""

from __future__ import annotations

import argparse
import importlib.util
import sys
from pathlib import Path

try:
    import matplotlib as mpl
    import numpy as np
    from matplotlib.figure import Figure
except ImportError as missing:
    sys.exit(
        f"batch_pictures.py: {missing.name} is not there; "
        "expected matplotlib and numpy (Debian: python3-matplotlib, python3-numpy)"
    )

if importlib.util.find_spec("varokel") is None:  # not installed: that of this source tree
    sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from varokel import FloatArray, read_results_table  # noqa: E402

COLOURS = ("#0072b2", "#d55e00", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", "#000000")
LARGEST_PERCENT = 50.0  # areas that are known less well are drawn pale
PALE = 0.25


class Areas:
    """Areas of a batch by name of the entry, over its directions."""

    def __init__(self, run: Path) -> None:
        table = read_results_table(run / "results.tsv")
        self.axes = table.columns[1 : table.columns.index("status")]
        places = [table.numbers(axis) for axis in self.axes]
        self.shape = tuple(int(np.nanmax(place)) + 1 for place in places)
        rows = [table.numbers("area"), table.numbers("area_error_1sd")]
        names = table.texts("name")
        self.names = tuple(dict.fromkeys(name for name in names if name != "n/a"))
        self._values = np.full((len(self.names), 2, *self.shape), np.nan)
        for row, name in enumerate(names):
            if name == "n/a":
                continue
            at = tuple(int(place[row]) for place in places)
            for which in range(2):
                self._values[(self.names.index(name), which, *at)] = rows[which][row]

    def of(self, name: str) -> tuple[FloatArray, FloatArray]:
        """Area and error bound (one standard deviation), shape (sizes of the directions)."""
        values: FloatArray = self._values[self.names.index(name)]
        return values[0], values[1]


def metadata_of(picture: Path) -> dict[str, str | None] | None:
    """An SVG without its date."""
    return {"Date": None} if picture.suffix == ".svg" else None


def draw_series(run: Path, step: float, unit: str, picture: Path) -> None:
    areas = Areas(run)
    if len(areas.axes) != 1:
        raise SystemExit(f"{run}: directions {', '.join(areas.axes)}; a series has one")
    figure = Figure(figsize=(8.0, 4.6), constrained_layout=True)
    plot = figure.subplots()
    weakest = np.inf
    for k, name in enumerate(areas.names):
        area, sd = areas.of(name)
        known = 100.0 * sd < LARGEST_PERCENT * np.abs(area)
        # Weak areas stay in, with their bars: those that noise has lifted have the smaller errors
        # in percent, and leaving the others out would lift what is left.
        for shown, alpha in ((~known, PALE), (known, 1.0)):
            plot.errorbar(
                step * np.arange(area.size)[shown],
                area[shown],
                yerr=sd[shown],
                fmt="o",
                markersize=3.5,
                elinewidth=1.0,
                capsize=2.0,
                alpha=alpha,
                color=COLOURS[k % len(COLOURS)],
                label=name.replace("_", " ") if alpha == 1.0 else None,
            )
        plot.plot(step * np.arange(area.size), np.where(known, area, np.nan), linewidth=0.8,
                  color=COLOURS[k % len(COLOURS)])  # fmt: skip
        if known.any():
            weakest = min(weakest, float(np.nanmin(np.abs(area[known]))))
    # logarithmic above the weakest area that is known, linear through 0 below it: noise is of
    # either sign
    plot.set_yscale("symlog", linthresh=weakest if np.isfinite(weakest) else 1.0)
    plot.set_xlabel(f"{areas.axes[0]} ({unit})" if unit == "from 0" else f"time ({unit})")
    plot.set_ylabel("area (signal)")
    plot.grid(alpha=0.25)
    plot.legend(frameon=False)
    figure.savefig(picture, dpi=110, metadata=metadata_of(picture))


def draw_table(run: Path, entries: list[str], picture: Path) -> None:
    areas = Areas(run)
    if len(areas.axes) != 2:
        raise SystemExit(f"{run}: directions {', '.join(areas.axes)}; a table has two")
    names = entries or list(areas.names[:3])
    across, down = areas.axes
    columns, rows = areas.shape
    figure = Figure(figsize=(0.8 + 3.1 * len(names), 1.6 + 0.27 * rows), constrained_layout=True)
    for plot, name in zip(np.atleast_1d(figure.subplots(1, len(names))), names):
        if name not in areas.names:
            raise SystemExit(f"{run}: no entry {name}; it has {' '.join(areas.names)}")
        area, sd = areas.of(name)
        power = 10.0 ** np.floor(np.log10(np.nanmax(np.abs(area))))
        most = np.nanpercentile(area, 95.0)  # one wild value takes no colour from the others
        known = 100.0 * sd < LARGEST_PERCENT * np.abs(area)
        plot.imshow(area.T, cmap="viridis", aspect="auto", vmin=0.0, vmax=most,
                    alpha=np.where(known.T, 1.0, PALE))  # fmt: skip
        for x in range(columns):
            for y in range(rows):
                shade = "black" if area[x, y] > 0.5 * most or not known[x, y] else "white"
                plot.text(x, y, f"{area[x, y] / power:.2f}", ha="center", va="center",
                          fontsize=7.5, color=shade)  # fmt: skip
            scatter, bound = np.nanstd(area[x], ddof=1) / power, np.nanmean(sd[x]) / power
            text = f"scatter {scatter:.2f}\nbound {bound:.2f}"
            plot.text(x, rows - 0.3, text, ha="center", va="top", fontsize=6.5)
        plot.set_title(f"{name}, area / {power:.0e}", fontsize=10)
        plot.set_xticks(range(columns), [str(x) for x in range(columns)])
        plot.xaxis.tick_top()
        plot.set_yticks(range(rows), [str(y) for y in range(rows)])
        plot.tick_params(labelsize=7.5, length=2)
        plot.set_xlabel(across, fontsize=8, labelpad=24)
        plot.set_ylabel(down, fontsize=8)
    figure.savefig(picture, dpi=110, metadata=metadata_of(picture))


def main() -> None:
    parser = argparse.ArgumentParser(description=(__doc__ or "").splitlines()[0])
    parser.add_argument("kind", choices=("series", "table"))
    parser.add_argument("run", type=Path)
    parser.add_argument("picture", type=Path)
    parser.add_argument("--step", type=float, default=1.0, help="from one spectrum to the next")
    parser.add_argument("--unit", default="from 0", help="of --step, such as s")
    parser.add_argument("--entries", nargs="+", default=[], help="of a table (default: three)")
    own = parser.parse_args()
    # text stays text, and the same numbers give the same bytes
    mpl.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "varokel"})
    if own.kind == "series":
        draw_series(own.run, own.step, own.unit, own.picture)
    else:
        draw_table(own.run, own.entries, own.picture)
    print(f"picture: {own.picture}")


if __name__ == "__main__":
    main()
