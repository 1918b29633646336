// SPDX-License-Identifier: BSD-3-Clause
// read_sdat.cpp -- Philips SPAR/SDAT pairs
#include "files/measured/measured_formats.h"

#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>

namespace tools {

static double vax_float(const unsigned char *byte) {
    const std::uint32_t bits =
        static_cast<std::uint32_t>(byte[1]) << 24 | static_cast<std::uint32_t>(byte[0]) << 16 |
        static_cast<std::uint32_t>(byte[3]) << 8 | static_cast<std::uint32_t>(byte[2]);
    const bool negative = (bits >> 31) != 0;
    const int exponent = static_cast<int>((bits >> 23) & 0xffU);
    if (exponent == 0) // zero, or with the sign set a reserved operand, which is no number
        return negative ? std::numeric_limits<double>::quiet_NaN() : 0.0;
    const double fraction = static_cast<double>((bits & 0x7fffffU) | 0x800000U);
    const double value = std::ldexp(fraction, exponent - 128 - 24);
    return negative ? -value : value;
}

static std::complex<double> vax_pair(const unsigned char *byte) {
    return {vax_float(byte), vax_float(byte + 4)};
}

// The other file of the pair: the same stem, the other ending, in whatever case.
static std::string partner(const std::string &file, const std::string &ending) {
    const std::filesystem::path path(file);
    const std::string wanted = lower_case(path.stem().string() + ending);
    const std::filesystem::path folder =
        path.parent_path().empty() ? std::filesystem::path(".") : path.parent_path();
    std::error_code error;
    std::string found;
    for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (lower_case(name) != wanted) continue;
        const std::string full = (path.parent_path() / name).string();
        if (entry.path().stem() == path.stem()) return full; // before one of another case
        found = full;
    }
    if (found.empty())
        refuse_input(file, "no " + path.stem().string() + ending +
                               " beside it; expected the pair .SPAR and .SDAT in one folder");
    return found;
}

struct spar_items : header_items {
    std::optional<double> number(const char *name) const {
        const std::optional<std::string> word = text(name);
        if (!word) return std::nullopt;
        const std::optional<double> value = number_of(*word);
        if (!value || !std::isfinite(*value))
            refuse(name, std::string("item ") + name + " is no number; expected one");
        return value;
    }
    std::optional<double> positive(const char *name) const {
        const std::optional<double> value = number(name);
        if (value && !(*value > 0.0)) refuse_value(name, "a number above 0");
        return value;
    }
    std::optional<long long> count(const char *name) const {
        const std::optional<double> value = positive(name);
        if (value && (*value != std::floor(*value) || *value > 1e9))
            refuse_value(name, "a whole number above 0");
        return value ? std::optional(static_cast<long long>(*value)) : std::nullopt;
    }

  private:
    [[noreturn]] void refuse_value(const char *name, const std::string &expected) const {
        refuse(name,
               std::string("item ") + name + " is " + find(name)->value + "; expected " + expected);
    }
};

static spar_items items_of(const std::string &file) {
    spar_items read{{file, {}}};
    line_reader text(file);
    while (text.next()) {
        const std::string_view line = trimmed(text.line());
        if (!line.starts_with('!')) read.take(line, text.number());
    }
    return read;
}

std::unique_ptr<spectrum_source> read_sdat(const std::string &file) {
    size_of_input(file, "a SPAR/SDAT pair");
    const bool is_parameters = lower_case(file).ends_with(".spar");
    const std::string parameters = is_parameters ? file : partner(file, ".SPAR");
    const std::string data = is_parameters ? partner(file, ".SDAT") : file;
    const spar_items items = items_of(parameters);

    auto source = source_of<contiguous_source>(data, "SPAR/SDAT");
    source->companions = {parameters};
    source->opposite_sense = true;
    source->decode = vax_pair;
    const std::optional<long long> samples = items.count("samples");
    if (!samples)
        refuse_input(parameters,
                     "item samples is missing; expected the points of one row, \"samples : 2048\"");
    const long long rows = items.count("rows").value_or(1);
    source->points = *samples;
    source->axes = {{"row", rows, false}};
    const long long size = size_of_input(data, "points as VAX floats");
    if (size / 8 / *samples != rows || size % 8 != 0 || size / 8 % *samples != 0)
        refuse_input(data, std::to_string(size) + " bytes; expected 8 times " +
                               std::to_string(*samples) + " samples times " + std::to_string(rows) +
                               " rows, as " + parameters +
                               " says. Is it cut, or of another measurement?");
    signal_facts &facts = source->facts;
    if (const auto width = items.positive("sample_frequency")) facts.dwell_time = 1.0 / *width;
    if (const auto hertz = items.positive("synthesizer_frequency")) facts.mhz = *hertz / 1e6;
    if (const auto time = items.number("echo_time")) facts.echo_time = *time / 1e3;
    if (const auto time = items.number("repetition_time"); time && *time > 0.0)
        facts.repetition_time = *time / 1e3;
    if (const auto count = items.number("averages"); count && *count > 0.0) facts.averages = count;
    const auto ap = items.number("ap_size"), lr = items.number("lr_size"),
               cc = items.number("cc_size");
    if (ap && lr && cc && *ap > 0.0 && *lr > 0.0 && *cc > 0.0)
        facts.voxel_mm = std::array<double, 3>{*ap, *lr, *cc};
    if (const auto day = items.text("scan_date")) facts.date = date_of(*day);
    if (const auto nucleus = items.text("nucleus")) facts.nucleus = nucleus_of(*nucleus);
    return source;
}

} // namespace tools
