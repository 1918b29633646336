// SPDX-License-Identifier: BSD-3-Clause
// simulated_model.h -- the model of a start file, as a fit compares it with its data
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/start/start_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// What is said beside the model where its parameters are written.
struct simulated_noise {
    double sd = 0.0; // of the real and of the imaginary part of the spectrum [signal]
    std::uint64_t seed = 0;
};

class simulated_model {
  public:
    // Reads the start file and evaluates its model. Patterns are read by the names that the file
    // has. Errors: bad_input.
    explicit simulated_model(const std::string &start);

    const start_file &file() const { return file_; } // in single precision, as a fit reads it
    double dwell_time() const;                       // [s]
    std::optional<double> begin_time() const; // that the first-order phase means [s]; none for 0
    std::vector<std::string> pattern_files() const;

    // Model and noise of one seed: `points` points, of which those of the file hold the model.
    complex_signal with_noise(const simulated_noise &noise, std::size_t points) const;
    // Parameters of the model as JSON; spectra: how many were made of it, the seed rising by 1.
    std::string truth(const simulated_noise &noise, long long spectra) const;

  private:
    start_file file_;
    complex_signal spectrum_; // of the model
};

} // namespace tools
