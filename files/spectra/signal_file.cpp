// SPDX-License-Identifier: BSD-3-Clause
// signal_file.cpp -- complex signals as little-endian float32 pairs, real and imaginary in turn
#include "files/spectra/signal_file.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>

namespace tools {

static constexpr long long point_size = 8; // bytes: two float32

long long count_points(const std::string &file) {
    std::error_code error;
    const std::filesystem::path name(file);
    if (!std::filesystem::exists(name, error))
        refuse_input(file, "no such file; expected complex points as float32");
    if (std::filesystem::is_directory(name, error))
        refuse_input(file, "a folder; expected a file of complex points");
    const std::uintmax_t size = std::filesystem::file_size(name, error);
    if (error) refuse_input(file, "cannot be read (" + error.message() + ")");
    if (size == 0) refuse_input(file, "empty; expected complex points as float32");
    if (size % point_size != 0)
        refuse_input(
            file, std::to_string(size) +
                      " bytes; expected whole points of 8 bytes (real and imaginary part as "
                      "little-endian float32, no header). Is the file cut or of another format?");
    return static_cast<long long>(size) / point_size;
}

long long points_of_spectrum(const std::string &file) {
    const long long points = count_points(file);
    if (points > search_limits::points)
        refuse_input(file, std::to_string(points) + " points; expected a spectrum, of up to " +
                               std::to_string(search_limits::points));
    return points;
}

static double float_at(std::string_view bytes, std::size_t index) {
    std::uint32_t bits = 0;
    for (std::size_t b = 0; b < 4; ++b)
        bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[4 * index + b]))
                << (8 * b);
    return static_cast<double>(std::bit_cast<float>(bits));
}

complex_signal signal_of_bytes(std::string_view bytes) {
    complex_signal x(bytes.size() / static_cast<std::size_t>(point_size));
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = {float_at(bytes, 2 * i), float_at(bytes, 2 * i + 1)};
    return x;
}

// Names the first few points that are not finite numbers.
static void refuse_not_finite(const std::string &file, long long first, const complex_signal &x) {
    std::string points;
    long long found = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (std::isfinite(x[i].real()) && std::isfinite(x[i].imag())) continue;
        if (++found <= 5) {
            points += found == 1 ? "" : ", ";
            points += std::to_string(first + static_cast<long long>(i));
        }
    }
    if (found == 0) return;
    if (found > 5) points += " ...";
    refuse_input(file, std::to_string(found) + (found == 1 ? " point is" : " points are") +
                           " not a finite number (nan or inf): point " + points +
                           ", counted from 0. Repair or cut the signal first.");
}

static complex_signal points_of(const std::string &file, long long first, long long count) {
    const long long there = count_points(file);
    if (first < 0 || count < 0 || first > there || count > there - first)
        refuse_input(file, "holds " + std::to_string(there) + " complex points; expected points " +
                               std::to_string(first) + " to " + std::to_string(first + count - 1));
    std::ifstream stream = open_input(file);
    std::string bytes(static_cast<std::size_t>(count * point_size), '\0');
    stream.seekg(first * point_size);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) refuse_input(file, "cannot be read; is it yours to read?");
    return signal_of_bytes(bytes);
}

complex_signal read_points(const std::string &file, long long first, long long count) {
    complex_signal x = points_of(file, first, count);
    refuse_not_finite(file, first, x);
    return x;
}

bool points_are_finite(const std::string &file, long long first, long long count) {
    const complex_signal x = points_of(file, first, count);
    return std::all_of(x.begin(), x.end(), [](const std::complex<double> &point) {
        return std::isfinite(point.real()) && std::isfinite(point.imag());
    });
}

std::string signal_bytes(const complex_signal &x) {
    std::string bytes;
    bytes.reserve(x.size() * static_cast<std::size_t>(point_size));
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (const double value : {x[i].real(), x[i].imag()}) {
            const float single = static_cast<float>(value);
            if (!std::isfinite(single))
                throw tool_error(bad_input, "point " + std::to_string(i) +
                                                " of the result exceeds single precision; scale "
                                                "the signal down first");
            const auto bits = std::bit_cast<std::uint32_t>(single);
            for (int b = 0; b < 4; ++b) bytes += static_cast<char>((bits >> (8 * b)) & 0xffU);
        }
    }
    return bytes;
}

} // namespace tools
