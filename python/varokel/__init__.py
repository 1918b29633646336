# SPDX-License-Identifier: BSD-3-Clause
"""Fits of in-vivo NMR spectra, from arrays to arrays.

    import varokel
    spectrum = varokel.import_file("brain.fid.f32")[0]
    fit = varokel.fit(spectrum, varokel.PeakTable.read("peaks.txt"))
    print(fit.areas, fit.area_sd, fit.verdict)

fit calls libvarokel in this process; find_library says where it is looked for. Programs are run in
private folders, and find_program says where they are. Nothing of the caller's is changed. Errors
are ONE standard deviation everywhere.
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
from .exact import ExactOptions
from .exact_fit import DerivedValue, ExactFit, Reason, StartTried
from .exl import ExlTable, FitSummary, read_exl
from .fitres import FitReport, read_fitres
from .fitting import FitOptions, Start, fit_fid, fit_spectrum
from .frames import plot, to_dataframe
from .judgement import Finding, Judgement, read_judgement
from .library import LibraryMissing, find_library
from .methods import fit
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
from .spectra import (
    Spectrum,
    import_file,
    read_imported,
    read_spectrum,
    run_import,
    spectrum_from_fid,
)
from .start_file import Entry, Parameter, StartFile, Step
from .start_file_reading import parse_start_file, read_start_file
from .tables import ResultsTable, read_names, read_parameter_matrix, read_results_table

__version__ = "2.4.0"

__all__ = [
    "ComplexArray",
    "DerivedValue",
    "Entry",
    "EntryType",
    "ExactFit",
    "ExactOptions",
    "ExlTable",
    "FileFormatError",
    "Finding",
    "Fit",
    "FitFailed",
    "FitOptions",
    "FitReport",
    "FitSignals",
    "FitSummary",
    "FloatArray",
    "IntArray",
    "LibraryMissing",
    "Judgement",
    "Parameter",
    "PatternContent",
    "PeakTable",
    "ProgramFailed",
    "ProgramMissing",
    "Quantity",
    "Reason",
    "ResultsTable",
    "Sidecar",
    "Spectrum",
    "Start",
    "StartFile",
    "StartTried",
    "StartValues",
    "Step",
    "VarokelError",
    "VarokelWarning",
    "fid_of_spectrum",
    "find_library",
    "find_program",
    "fit",
    "fit_fid",
    "fit_many",
    "fit_spectrum",
    "import_file",
    "parse_start_file",
    "pattern_of_fid",
    "plot",
    "read_components",
    "read_exl",
    "read_fit",
    "read_fitres",
    "read_imported",
    "read_judgement",
    "read_names",
    "read_parameter_matrix",
    "read_results_table",
    "read_sidecar",
    "read_signal",
    "read_spectrum",
    "read_start_file",
    "run_import",
    "spectrum_from_fid",
    "spectrum_of_fid",
    "start_from_peaks",
    "to_dataframe",
    "write_signal",
]
