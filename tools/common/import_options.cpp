// SPDX-License-Identifier: BSD-3-Clause
// import_options.cpp -- the command line's side of an import, for every program that imports
#include "common/import_options.h"

#include "files/measured/open_source.h"

#include <iostream>
#include <iterator>
#include <vector>

#include <unistd.h>

namespace tools {

// Options that are added while this lives stand under one heading.
class heading {
  public:
    heading(option_parser &app, const std::string &group) : app_(app), changed_(!group.empty()) {
        if (changed_) before_ = app_.set_heading(group);
    }
    heading(const heading &) = delete;
    heading &operator=(const heading &) = delete;
    ~heading() {
        if (changed_) app_.set_heading(before_);
    }

  private:
    option_parser &app_;
    bool changed_;
    std::string before_;
};

void add_format_option(option_parser &app, std::string &format, const std::string &what) {
    const std::vector<std::string> names(std::begin(input_formats), std::end(input_formats));
    std::string list = names.front();
    for (std::size_t i = 1; i < names.size(); ++i)
        list += (i + 1 < names.size() ? ", " : " or ") + names[i];
    app.add_option("--format NAME", format, what + list + " (default: by the name's ending)",
                   one_of(names));
}

void add_input_options(option_parser &app, input_options &options, const std::string &group) {
    const heading all(app, group);
    add_format_option(app, options.format);
    app.add_option("--json FILE", options.json,
                   "what is known about INPUT (default for text and float32: the .json beside it, "
                   "if any)");
    app.add_option("--points N", options.points,
                   "points of one FID, where INPUT does not say (default: item n_points, else all)",
                   positive_number);
    app.add_option("--dimensions NAME=N,...", options.dimensions,
                   "what the FIDs of INPUT are where it only counts them, the fastest first: "
                   "DIM_COIL=8,DIM_DYN (default: item dimensions)");
    app.add_option("--index [DIM=]I", options.choice.index,
                   "which FID of several, counted from 0: I, DIM=I such as DIM_COIL=0, or all, "
                   "DIM=all; may be repeated");
    app.add_option("--average DIM", options.choice.average,
                   "take the mean over this dimension, such as DIM_DYN; may be repeated");
    app.add_flag("--combine-coils", options.combine_coils,
                 "combine the coils of DIM_COIL by their signal and the covariance of their noise");
    app.add_flag("--align-averages", options.align_averages,
                 "align the FIDs of DIM_DYN in frequency and phase, and take their mean");
    app.add_option("--voxel X,Y,Z", options.choice.voxel,
                   "one voxel of a grid, counted from 0 (default: all that are not zero)");
    app.add_option("--resize N", options.resize,
                   "cut the FID to N points, or fill it with zeros; a power of two, or cut or fill "
                   "for the next one");
    app.add_option("--phase DEG", options.phase,
                   "turn the FID by this phase; auto makes its first point real");
    app.add_flag("--conjugate", options.conjugate, "reverse the sense of frequency");
}

void add_spectrum_options(option_parser &app, spectrum_options &options, const std::string &group) {
    const heading all(app, group);
    app.add_option("--dwell S", options.dwell_time, "dwell time [s]", positive_number);
    app.add_option("--bandwidth HZ", options.bandwidth,
                   "spectral width [Hz], one over the dwell time", positive_number);
    app.add_option("--frequency MHZ", options.mhz, "spectrometer frequency [MHz]", positive_number);
    app.add_option("--ppm-at-carrier PPM", options.ppm_at_carrier, "chemical shift of the carrier");
    app.add_option("--reference-peak PPM", options.reference_text,
                   "set the ppm axis by this line of known shift, looked for around it, as \"NAA "
                   "2.01 ppm\" or \"2.01 +- 0.3\"");
    app.add_option("--axis SENSE", options.axis,
                   "ppm along the points of INPUT's spectrum, before --conjugate: rising (default "
                   "for float32) or falling (for all others)",
                   one_of({"rising", "falling"}));
    app.add_option("--begin-time S", options.begin_time, "time of the first point [s]");
    app.add_option("--nucleus NAME", options.nucleus, "such as 31P");
    app.add_option("--noise FIRST:LAST", options.noise,
                   "points of the spectrum that hold noise only");
    app.add_option("--remove-water LOW:HIGH", options.remove_water,
                   "take the lines between two shifts out of the FID, such as residual water: "
                   "4.2:5.1 [ppm]");
    app.add_option(
        "--water-order N", options.water_order,
        "damped oscillations that describe the FID for --remove-water (default: 25, 40 or "
        "60, by what is left)",
        in_range(1, 200));
}

void add_reference_options(option_parser &app, spectrum_options &options,
                           const std::string &group) {
    const heading all(app, group);
    app.add_option("--reference FILE", options.reference,
                   "FID of a strong single line (water) of the same voxel: written as .ref, the "
                   "measured lineshape of fit mode 2");
    app.add_flag("--eddy", options.eddy, "correct eddy currents with the phase of the reference");
}

void add_water_options(option_parser &app, water_options &options) {
    app.add_option("--water FILE", options.file,
                   "FID of the water of the same voxel, or of each, without suppression: amounts "
                   "of what rows amount: of the table name");
    app.add_option("--water-scale X", options.scale,
                   "factor from the unit of that file to that of the data (gain, sums of averages; "
                   "default 1)",
                   positive_number);
    app.add_option("--echo-time S", options.echo_time,
                   "for amounts, where neither file nor table say it", positive_number);
    app.add_option("--repetition-time S", options.repetition_time, "as --echo-time",
                   positive_number);
}

void show_passed(std::size_t done, std::size_t of) {
    if (isatty(STDERR_FILENO) == 0) return;
    std::cerr << '\r' << done << " of " << of << " spectra" << (done == of ? "\n" : "")
              << std::flush;
}

} // namespace tools
