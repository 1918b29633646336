// SPDX-License-Identifier: BSD-3-Clause
// read_jmrui.h -- jMRUI text files
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// Rows of two or four columns; the first two are the FID. SamplingInterval and BeginTime are in
// milliseconds, TransmitterFrequency in hertz. The stored sense of frequency is opposite.
// Errors: bad_input, naming file, line and item.
std::unique_ptr<spectrum_source> read_jmrui(const std::string &file);

} // namespace tools
