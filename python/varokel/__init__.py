# SPDX-License-Identifier: BSD-3-Clause
"""Fits of in-vivo NMR spectra with the program varokel, from arrays to arrays.

    import varokel
    spectrum = varokel.import_file("brain.fid.f32")[0]
    fit = varokel.fit_spectrum(spectrum, Path("start.par"))
    print(fit.areas, fit.area_sd)

The programs are run, never loaded; find_program says where they are looked for. Nothing of the
caller's is changed: every run has a private folder.
"""

from .arrays import ComplexArray, EntryType, FloatArray, IntArray, Quantity
from .errors import (
    FileFormatError,
    FitFailed,
    ProgramFailed,
    ProgramMissing,
    VarokelError,
    VarokelWarning,
)
from .exl import ExlTable, FitSummary, read_exl
from .fitres import FitReport, read_fitres
from .fitting import FitOptions, Start, fit_fid, fit_spectrum
from .patterns import PatternContent
from .peaks import PeakTable, StartValues, start_from_peaks
from .pool import fit_many
from .programs import find_program
from .results import Fit, FitSignals, read_fit
from .sidecar import Sidecar, read_sidecar
from .signals import (
    fid_of_spectrum,
    pattern_of_fid,
    read_components,
    read_signal,
    spectrum_of_fid,
    write_signal,
)
from .spectra import Spectrum, import_file, read_imported, read_spectrum, run_import
from .start_file import Entry, Parameter, StartFile, Step, parse_start_file, read_start_file
from .tables import ResultsTable, read_names, read_parameter_matrix, read_results_table

__version__ = "2.4.0"

__all__ = [
    "ComplexArray",
    "Entry",
    "EntryType",
    "ExlTable",
    "FileFormatError",
    "Fit",
    "FitFailed",
    "FitOptions",
    "FitReport",
    "FitSignals",
    "FitSummary",
    "FloatArray",
    "IntArray",
    "Parameter",
    "PatternContent",
    "PeakTable",
    "ProgramFailed",
    "ProgramMissing",
    "Quantity",
    "ResultsTable",
    "Sidecar",
    "Spectrum",
    "Start",
    "StartFile",
    "StartValues",
    "Step",
    "VarokelError",
    "VarokelWarning",
    "fid_of_spectrum",
    "find_program",
    "fit_fid",
    "fit_many",
    "fit_spectrum",
    "import_file",
    "parse_start_file",
    "pattern_of_fid",
    "read_components",
    "read_exl",
    "read_fit",
    "read_fitres",
    "read_imported",
    "read_names",
    "read_parameter_matrix",
    "read_results_table",
    "read_sidecar",
    "read_signal",
    "read_spectrum",
    "read_start_file",
    "run_import",
    "spectrum_of_fid",
    "start_from_peaks",
    "write_signal",
]
