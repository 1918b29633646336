// SPDX-License-Identifier: BSD-3-Clause
// read_rda.cpp -- Siemens RDA files
#include "files/measured/measured_formats.h"

#include "files/base/tool_error.h"
#include "files/measured/text_items.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace tools {

static double double_at(const unsigned char *byte) {
    std::uint64_t bits = 0;
    for (int b = 0; b < 8; ++b) bits |= static_cast<std::uint64_t>(byte[b]) << (8 * b);
    return std::bit_cast<double>(bits);
}

static std::complex<double> double_pair(const unsigned char *byte) {
    return {double_at(byte), double_at(byte + 8)};
}

struct rda_header : header_items {
    long long size = 0; // bytes

    std::optional<double> positive(const char *name) const {
        const std::optional<std::string> word = text(name);
        if (!word) return std::nullopt;
        const std::optional<double> value = number_with_comma(*word);
        if (!value || !(*value > 0.0) || !std::isfinite(*value))
            refuse(name, std::string(name) + " is " + (value ? "not above 0" : "no number") +
                             "; expected a number above 0");
        return value;
    }
    // Of what only amounts need: 0 and words are as good as nothing.
    std::optional<double> if_positive(const char *name) const {
        const std::optional<double> value = number_with_comma(text(name).value_or(""));
        return value && *value > 0.0 && std::isfinite(*value) ? value : std::nullopt;
    }
    // Edges of the voxel [mm]; of a grid or without one of them they are not known.
    std::optional<std::array<double, 3>> edges(const std::array<const char *, 3> &names) const {
        std::array<double, 3> mm{};
        for (std::size_t i = 0; i < 3; ++i) {
            const std::optional<double> value = if_positive(names[i]);
            if (!value) return std::nullopt;
            mm[i] = *value;
        }
        return mm;
    }
    long long count(const char *name, long long absent) const {
        const std::optional<double> value = positive(name);
        if (value && (*value != std::floor(*value) || *value > 1e6))
            refuse(name, std::string(name) + " is no whole number up to 1000000");
        return value ? static_cast<long long>(*value) : absent;
    }
};

static rda_header rda_header_of(const std::string &file) {
    rda_header header{{file, {}}, 0};
    line_reader text(file);
    // Points have no line ends: a file without the end mark must not be read to its end as a line.
    while (text.number() < 10000 && text.next()) {
        const std::string_view line = trimmed(text.line());
        if (text.number() == 1) {
            if (line.find("Begin of header") == line.npos)
                text.refuse("expected \">>> Begin of header <<<\"; is this an RDA file?");
            continue;
        }
        if (line.find("End of header") != line.npos) {
            header.size = text.bytes_read();
            return header;
        }
        header.take(line, text.number());
    }
    refuse_input(file, "no \">>> End of header <<<\"; is the file cut?");
}

std::unique_ptr<spectrum_source> read_rda(const std::string &file) {
    const long long size = size_of_input(file, "an RDA file");
    const rda_header header = rda_header_of(file);
    auto source = source_of<contiguous_source>(file, "RDA");
    source->decode = double_pair;
    source->point_size = 16;
    source->offset = header.size;
    source->points = header.count("VectorSize", 0);
    if (source->points == 0)
        refuse_input(file, "VectorSize is missing; expected the points of an FID");
    source->axes = {{"x", header.count("CSIMatrixSize[0]", 1), true},
                    {"y", header.count("CSIMatrixSize[1]", 1), true},
                    {"z", header.count("CSIMatrixSize[2]", 1), true}};
    const double expected =
        16.0 * static_cast<double>(source->points) * static_cast<double>(source->axes[0].size) *
        static_cast<double>(source->axes[1].size) * static_cast<double>(source->axes[2].size);
    if (static_cast<double>(size - header.size) < expected)
        refuse_input(file, std::to_string(size - header.size) +
                               " bytes behind the header; expected 16 times " +
                               std::to_string(source->points) + " points times " +
                               std::to_string(source->axes[0].size) + " x " +
                               std::to_string(source->axes[1].size) + " x " +
                               std::to_string(source->axes[2].size) + " voxels. Is the file cut?");
    signal_facts &facts = source->facts;
    if (const auto dwell_us = header.positive("DwellTime")) facts.dwell_time = *dwell_us / 1e6;
    facts.mhz = header.positive("MRFrequency");
    if (const auto echo_ms = header.positive("TE")) facts.echo_time = *echo_ms / 1e3;
    if (const auto repetition_ms = header.positive("TR"))
        facts.repetition_time = *repetition_ms / 1e3;
    facts.averages = header.if_positive("NumberOfAverages");
    facts.voxel_mm = header.edges({"VOIReadoutFOV", "VOIPhaseFOV", "VOIThickness"});
    if (const auto day = header.text("StudyDate")) facts.date = date_of(*day);
    if (const auto nucleus = header.text("Nucleus")) facts.nucleus = nucleus_of(*nucleus);
    return source;
}

} // namespace tools
