// SPDX-License-Identifier: BSD-3-Clause
// batch_view.h -- what a merged batch left: its spectra, their results, and the curves that were
// kept
#pragma once

#include "files/spectra/spectrum_axis.h"
#include "files/spectra/complex_signal.h"
#include "files/results/rebuilt_model.h"
#include "files/batch/batch_plan.h"
#include "files/batch/table_reader.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct batch_spectrum {
    std::string name, status, reason;
    std::string level, warnings; // of the judgement, as quality.tsv has them
    std::vector<long long> at;   // along the axes
    double quality = 0.0, snr = 0.0;
    std::string verdict; // of an exact fit; empty without
    std::string sha256;  // of its points in spectra.f32
};

// A number for each spectrum that a table of the batch has beside those above: another column of
// quality.tsv, or a derived value.
struct batch_column {
    std::string name, unit;
    std::vector<double> values, errors; // by the number of the spectrum; errors (one standard
                                        // deviation) may be empty
};

// Columns of results.tsv that the overview shows, in this order.
enum batch_quantity : int {
    batch_area,
    batch_area_sd,
    batch_area_percent,
    batch_ppm,
    batch_ppm_sd,
    batch_gauss,
    batch_gauss_sd,
    batch_lorentz,
    batch_lorentz_sd,
    batch_phase,
    batch_phase_sd,
    batch_snr,
    batch_frequency,
    batch_quantities
};

class batch_view {
  public:
    // Errors: bad_input when the folder holds no merged batch, or its tables are damaged.
    explicit batch_view(const std::string &folder);

    // Value of an entry (from 0) of a spectrum; not a number where the table has n/a.
    double value(std::size_t spectrum, std::size_t entry, batch_quantity quantity) const {
        return values_[(spectrum * entries.size() + entry) * batch_quantities + quantity];
    }
    // Words of the warnings that name an entry; empty for none.
    std::string warnings_of(std::size_t spectrum, std::size_t entry) const;
    // The spectrum as it was fitted. Errors: bad_input when the file holds something else now.
    complex_signal data_of(std::size_t spectrum) const;
    // Its fit, when it was kept. Errors: as above.
    std::optional<complex_signal> fit_of(std::size_t spectrum) const;
    // Phase that turns most of the spectrum into absorption [degrees].
    double phase_of(std::size_t spectrum) const;

    std::string folder;
    std::vector<plan_axis> axes;
    std::vector<batch_spectrum> spectra; // by their number
    std::vector<std::string> entries;
    long long points = 0;
    spectrum_axis scale;
    ordered_json noise_window; // of the manifest: its points, and who chose them; may be nothing
    std::vector<batch_column> further;
    // Label of the region in which each spectrum lies, 0 for none; empty where nobody gave any.
    std::vector<long long> regions;
    std::optional<double> repetition_time; // [s]
    std::vector<std::string> notes;        // what was done to all spectra before the fits
    std::vector<std::string> guesses;      // what neither the files nor the table of peaks state
    rebuilt_model start; // intervals and first-order phase; read is false when they are not known
    std::vector<std::string> derived; // of derived.tsv, where there is one: NAME=EXPRESSION
    std::vector<std::string> files_read;

  private:
    std::size_t spectrum_of(const table_reader &table, std::size_t column,
                            const std::string &file) const;
    void read_manifest();
    void read_quality();
    void read_results();
    void read_derived();
    void find_curves();

    std::vector<double> values_;
    std::map<std::size_t, std::string> entry_warnings_; // by spectrum and entry
    std::map<std::string, std::size_t> by_name_;
    // place in pictures.f32 and the digest of the curve, empty where merge wrote none
    std::map<std::size_t, std::pair<long long, std::string>> curves_;
};

// Whether a folder is that of a batch.
bool is_batch(const std::string &folder);

} // namespace tools
