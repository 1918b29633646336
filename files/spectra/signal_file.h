// SPDX-License-Identifier: BSD-3-Clause
// signal_file.h -- complex signals as little-endian float32 pairs, real and imaginary in turn
#pragma once

#include "files/spectra/complex_signal.h"

#include <string>
#include <string_view>

namespace tools {

// Complex points of a file. Errors: bad_input when it cannot be read, is empty, or does not hold
// whole points of 8 bytes.
long long count_points(const std::string &file);

// As count_points, of a file that holds one spectrum. Errors: bad_input, too, for more points than
// any fit takes (search_limits::points), which a file may say to have without storing them.
long long points_of_spectrum(const std::string &file);

// count points from point first (from 0) on. Errors: bad_input when they are not all there, or
// when one is not a finite number; the message names the first such points.
complex_signal read_points(const std::string &file, long long first, long long count);

// Whether all of these points are finite numbers. Errors: bad_input when they are not all there.
bool points_are_finite(const std::string &file, long long first, long long count);

// The points that these bytes are, any numbers; 8 bytes a point.
complex_signal signal_of_bytes(std::string_view bytes);

// The bytes of a file that holds x. Errors: bad_input when a value exceeds single precision.
std::string signal_bytes(const complex_signal &x);

} // namespace tools
