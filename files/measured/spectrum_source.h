// SPDX-License-Identifier: BSD-3-Clause
// spectrum_source.h -- FIDs of an input file with what it says about them, whatever its format
//
// A reader fills in what the file states and hands out its points as they are stored. What is done
// to them (choice, mean, sense, phase, length, transform) is the same for every format and stands
// in other files.
#pragma once

#include "files/base/ordered_json.h"
#include "files/spectra/complex_signal.h"

#include <array>
#include <complex>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// First and last point of a stretch of the centred spectrum, inclusive.
typedef std::optional<std::pair<long long, long long>> point_stretch;

// What turns points into seconds, hertz and ppm.
struct signal_facts {
    std::optional<double> dwell_time;              // [s]
    std::optional<double> mhz;                     // spectrometer frequency [MHz]
    std::optional<double> ppm_at_carrier;          // [ppm]
    std::optional<double> begin_time;              // of the first point [s]
    std::optional<double> echo_time;               // [s]
    std::optional<double> repetition_time;         // [s]
    std::optional<double> averages;                // that an FID is the sum or the mean of
    std::optional<std::array<double, 3>> voxel_mm; // edges of the voxel [mm], in the file's order
    std::optional<std::string> date;               // of the measurement, as the file has it
    std::optional<std::string> nucleus;            // such as "31P"
    bool ppm_rises_with_points = false;            // once opposite_sense is undone
    point_stretch noise_points, fit_points;
};

// A value that the file does not state. It is shown as a warning and kept in the sidecar.
struct guessed_value {
    std::string item; // of the sidecar
    ordered_json value;
    std::string reason;
};

// One direction in which an input has several FIDs, such as receive coils.
struct source_axis {
    std::string name;
    long long size = 1;
    bool spatial = false;                    // a voxel coordinate
    std::optional<double> step_seconds = {}; // from one place to the next, where it is known
};

// The FID of one spectrum is added to one sum.
struct signal_share {
    long long spectrum;
    std::size_t sum;
};

class spectrum_source {
  public:
    virtual ~spectrum_source() = default;

    // Adds points 0 to sums[k].size() - 1 of each spectrum to its sum. shares are in rising order
    // of the spectrum. One pass over the file; storage does not grow with the file.
    // Errors: bad_input for a short file, and for points that are not finite, which are named,
    // unless faulty is set. Such points are not added.
    virtual void add_to(const std::vector<signal_share> &shares,
                        std::vector<complex_signal> &sums) = 0;

    // What was done to the FID of a spectrum that was handed out, for its sidecar; null for
    // nothing.
    virtual ordered_json notes_of(long long) const { return {}; }
    // The same for a user, a sentence each.
    virtual std::vector<std::string> remarks() const { return {}; }

    // Where coils are combined: the weights of the FID that was handed out, and whether those of
    // another file are taken from now on in place of own ones.
    virtual std::vector<std::complex<double>> coil_weights(long long) const { return {}; }
    virtual void use_coil_weights(const std::vector<std::complex<double>> &) {}
    // FIDs that each one handed out is the mean of, coils apart.
    virtual long long averaged_each() const { return 1; }

    long long spectra() const;
    // "voxel 3,4,0, DIM_COIL 2"; empty for a file of one spectrum
    std::string label(long long spectrum) const;
    // Place along each axis.
    std::vector<long long> position(long long spectrum) const;

    std::string file, format;
    std::string stem;                    // file name without folder and ending
    std::vector<std::string> companions; // files read beside it
    long long points = 0;                // of one FID
    std::vector<source_axis> axes;       // the first one changes fastest
    signal_facts facts;
    bool opposite_sense = false; // the format stores the conjugate of what this program works with
    std::vector<guessed_value> guesses;
    std::vector<std::string> warnings;
    ordered_json notes; // of the format, for the sidecar
    // Not null: spectra with points that are no finite numbers are noted here, and are no error.
    std::set<long long> *faulty = nullptr;
};

// Collects points that are not finite numbers, and names the first few.
class finite_check {
  public:
    explicit finite_check(const spectrum_source &source) : source_(source) {}
    // true for a finite value; else it is noted
    bool operator()(std::complex<double> value, long long spectrum, long long point);
    // Errors: bad_input when there was one, and the source has no list for it.
    void finish() const;

  private:
    const spectrum_source &source_;
    long long found_ = 0;
    std::string places_;
};

// FIDs that stand one behind the other, each point in the same number of bytes.
class contiguous_source : public spectrum_source {
  public:
    void add_to(const std::vector<signal_share> &shares,
                std::vector<complex_signal> &sums) override;

    std::string points_file; // empty: file
    long long offset = 0;    // of the first point [bytes]
    std::size_t point_size = 8;
    std::complex<double> (*decode)(const unsigned char *) = nullptr;
};

// FIDs as numbers of a text, one behind the other.
class text_source : public spectrum_source {
  public:
    void add_to(const std::vector<signal_share> &shares,
                std::vector<complex_signal> &sums) override;

    // Calls take for each point of the file in turn until it returns false.
    // Errors: bad_input, naming the line.
    std::function<void(const std::function<bool(std::complex<double>)> &take)> for_each_point;
    double scale = 1.0;

    // All points, once: every line is seen, so a mistake in any of them is found here.
    long long count_points_of_text() const;
};

// File name without folder and ending (.nii.gz and .fid.f32 are one ending each).
std::string stem_of(const std::string &file);

// A source of a kind, with the names of its file and its format.
template <class kind>
std::unique_ptr<kind> source_of(const std::string &file, const char *format) {
    auto source = std::make_unique<kind>();
    source->file = file;
    source->format = format;
    source->stem = stem_of(file);
    return source;
}

// Splits points_in_file into spectra of so many points, or one, along the axis "spectrum".
// Errors: bad_input when they are no whole number of spectra.
void split_into_spectra(spectrum_source &source, long long points_in_file,
                        const std::optional<long long> &points);

// Size of a file. Errors: bad_input when there is none, for a folder, and for an empty file;
// expected names what it should have been.
long long size_of_input(const std::string &file, const std::string &expected);

} // namespace tools
