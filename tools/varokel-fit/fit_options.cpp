// SPDX-License-Identifier: BSD-3-Clause
// fit_options.cpp -- the options of varokel-fit
#include "varokel-fit/fit_options.h"

#include "common/import_options.h"
#include "files/start/fit_method.h"

namespace tools {

void add_fit_options(option_parser &app, fit_options &own) {
    app.add_option("INPUT", own.input.input, "measured FIDs, any file that varokel-import reads")
        ->required();
    app.add_option("PEAKS", own.peaks, "table of peaks, as varokel-start takes it")->required();
    app.add_option("-o,--output FOLDER", own.output, "folder of the results")->required();
    app.add_option("-j,--jobs N", own.jobs, "fits at a time (default 1)", in_range(1, 256));
    app.add_option("--method M", own.method,
                   "both: the search of the fitter, then the exact fit from its end and from the "
                   "table (default); exact: that alone; classic: the search alone",
                   one_of(method_names()));
    app.add_option("--starts N", own.starts,
                   "further starts of the exact fit, whatever its verdict (default 0)",
                   in_range(0, 1000));
    app.add_option("--limit S", own.limit, "stop a fit after so many seconds (default: never)");
    app.add_option("--derive EXPR", own.derive,
                   "what follows from the results, such as \"PCr/GATP\" or \"pH = "
                   "pH(frequency(Pi), 6.77, 3.23, "
                   "5.7)\"; printed and on the page; may be repeated");
    app.add_flag("--look", own.look,
                 "fit nothing: write look.html, the spectrum with the peaks of the table where the "
                 "fit would begin, the points to fit, the noise window and every guess");
    add_water_options(app, own.water);
    app.add_flag("!--no-report", own.report, "no page and pictures, tables only");
    app.add_option("--varokel FILE", own.program,
                   "the fitter (default: beside this program, or in PATH)");
    app.add_flag("--force", own.input.force, "replace existing output files");
    const std::string group = "Import (see varokel-import --help)";
    add_input_options(app, own.input, group);
    add_spectrum_options(app, own.spectrum, group);
    add_reference_options(app, own.spectrum, group);
    app.option_named("--resize")->add_to_description(" (default: fill)");
}

} // namespace tools
