// SPDX-License-Identifier: BSD-3-Clause
// read_nifti_mrs.cpp -- NIfTI-MRS: .nii and .nii.gz, header versions 1 and 2, either byte order
#include "files/measured/measured_formats.h"

#include "files/base/packed_file.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/metadata.h"
#include "files/nifti/nifti_header.h"
#include "files/measured/text_items.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>

namespace tools {

static constexpr int seconds = 8, milliseconds = 16, microseconds = 24; // units of time
static constexpr int complex64 = 32, complex128 = 1792;                 // types of points

// Points of voxels are interleaved: x, y, z change faster than time, so the points of one FID lie
// a whole volume apart. They are picked while the file runs by once.
class nifti_mrs_source : public spectrum_source {
  public:
    void add_to(const std::vector<signal_share> &shares,
                std::vector<complex_signal> &sums) override;

    long long offset = 0;       // of the first point [bytes]
    std::size_t value_size = 4; // of a real or imaginary part [bytes]
    bool swapped = false;       // byte order is not that of this machine
    long long voxels = 1;

  private:
    double value_at(const unsigned char *byte) const;
    [[noreturn]] void refuse_cut(long long row) const; // row: of points of all voxels
    void add_volume(std::span<const signal_share> shares, finite_check &finite,
                    std::vector<complex_signal> &sums);
    std::unique_ptr<packed_file> stream_;
    std::vector<unsigned char> bytes_; // that were read last
    int passes_ = 0;
};

double nifti_mrs_source::value_at(const unsigned char *byte) const {
    unsigned char own[8] = {};
    for (std::size_t b = 0; b < value_size; ++b) own[b] = byte[swapped ? value_size - 1 - b : b];
    if (value_size == 4) {
        float single;
        std::memcpy(&single, own, 4);
        return static_cast<double>(single);
    }
    double value;
    std::memcpy(&value, own, 8);
    return value;
}

void nifti_mrs_source::refuse_cut(long long row) const {
    refuse_input(file, "ends, or is damaged, within point " + std::to_string(row % points) +
                           " of volume " + std::to_string(row / points) + "; expected " +
                           std::to_string(points * (spectra() / voxels)) + " volumes of " +
                           std::to_string(voxels) + " points. Is the file cut?");
}

// Shares of one volume: one place along the higher dimensions.
void nifti_mrs_source::add_volume(std::span<const signal_share> shares, finite_check &finite,
                                  std::vector<complex_signal> &sums) {
    const std::size_t point_size = 2 * value_size;
    const long long volume = shares.front().spectrum / voxels;
    std::size_t most = 0; // points
    for (const signal_share &share : shares) most = std::max(most, sums[share.sum].size());
    const long long first = shares.front().spectrum % voxels;
    const long long last = shares.back().spectrum % voxels;
    // Rows of many voxels are read one by one, from the first to the last voxel that is wanted;
    // short ones in blocks.
    const auto wanted = static_cast<std::size_t>(last - first + 1);
    const std::size_t row_size = static_cast<std::size_t>(voxels) * point_size;
    const std::size_t block = std::clamp<std::size_t>((std::size_t{1} << 18) / row_size, 1,
                                                      std::max<std::size_t>(most, 1));
    for (std::size_t k = 0; k < most; k += block) {
        const std::size_t rows = std::min(block, most - k);
        const std::size_t needed =
            (rows - 1) * row_size + wanted * point_size; // up to the last voxel of the last row
        const long long row = volume * points + static_cast<long long>(k);
        bytes_.resize(needed);
        const long long at = offset + row * static_cast<long long>(row_size) +
                             first * static_cast<long long>(point_size);
        if (!stream_->seek(at)) refuse_cut(row);
        const std::size_t got = stream_->read(bytes_.data(), needed);
        if (got != needed) refuse_cut(row + static_cast<long long>(got / row_size));
        for (std::size_t r = 0; r < rows; ++r) {
            for (const signal_share &share : shares) {
                complex_signal &sum = sums[share.sum];
                if (k + r >= sum.size()) continue;
                const auto voxel = static_cast<std::size_t>(share.spectrum % voxels - first);
                const unsigned char *const point =
                    bytes_.data() + r * row_size + voxel * point_size;
                const std::complex<double> value(value_at(point), value_at(point + value_size));
                if (finite(value, share.spectrum, static_cast<long long>(k + r)))
                    sum[k + r] += value;
            }
        }
    }
}

void nifti_mrs_source::add_to(const std::vector<signal_share> &shares,
                              std::vector<complex_signal> &sums) {
    if (!stream_) stream_ = std::make_unique<packed_file>(file, 1 << 18);
    // many passes would unpack all of a packed file as many times
    if (++passes_ == 3)
        stream_->unpack(offset + points * spectra() * 2 * static_cast<long long>(value_size));
    finite_check finite(*this);
    const std::span<const signal_share> all(shares);
    for (std::size_t s = 0, stop = 0; s < all.size(); s = stop) {
        while (stop < all.size() && all[stop].spectrum / voxels == all[s].spectrum / voxels) ++stop;
        add_volume(all.subspan(s, stop - s), finite, sums);
    }
    finite.finish();
}

// A dwell time of 0.0005 s is 0.000500000024 in the float32 of a version 1 header: the shortest
// decimal with the same float32 is what was meant.
static double as_written(double value) {
    const auto single = static_cast<float>(value);
    if (static_cast<double>(single) != value) return value; // a version 2 header holds doubles
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, single);
    double shortest = value;
    std::from_chars(text, end.ptr, shortest);
    return shortest;
}

static ordered_json extension_of(const nifti_header &header, const std::string &file) {
    if (header.extension) {
        std::string text = header.extension->bytes;
        while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) text.pop_back();
        ordered_json json = json_of_text(text, file + ": the header extension with code 44");
        if (!json.is_object())
            refuse_input(file, "the header extension with code 44 is no JSON object; convert the "
                               "measurement again");
        return json;
    }
    refuse_input(file, "no header extension with code 44 (the JSON of NIfTI-MRS); is this an "
                       "image, or was it saved by a program that drops extensions?");
}

// First element of an array, or the value itself: both are found in files.
static const ordered_json *first_value(const ordered_json &meta, const char *item) {
    const auto at = meta.find(item);
    if (at == meta.end() || at->is_null()) return nullptr;
    if (!at->is_array()) return &*at;
    return at->empty() ? nullptr : &at->front();
}

static std::optional<double> meta_number(const ordered_json &meta, const char *item,
                                         const std::string &file) {
    const ordered_json *const value = first_value(meta, item);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number() || !std::isfinite(value->get<double>()))
        refuse_input(file, std::string("item ") + item + " of the JSON is no number; expected one");
    return value->get<double>();
}

static void take_dwell_time(const nifti_header &header, const ordered_json &meta,
                            nifti_mrs_source &source) {
    double unit = 1.0;
    if (header.time_unit == milliseconds)
        unit = 1e-3;
    else if (header.time_unit == microseconds)
        unit = 1e-6;
    const double dwell = as_written(header.pixdim_4) * unit;
    const std::optional<double> width = meta_number(meta, "SpectralWidth", source.file);
    // Some writers leave 1 where they know no dwell time; no spectrum is sampled that slowly.
    if (!(dwell > 0.0) || dwell > 0.1) {
        if (!width || !(*width > 0.0)) return;
        source.facts.dwell_time = 1.0 / *width;
        source.guesses.push_back({"dwell_time_s", *source.facts.dwell_time,
                                  "pixdim[4] holds no dwell time, taken from SpectralWidth"});
        return;
    }
    source.facts.dwell_time = dwell;
    if (header.time_unit != seconds && unit == 1.0)
        source.guesses.push_back(
            {"dwell_time_s", dwell, "the header names no unit of time, taken as seconds"});
    if (width && std::abs(*width * dwell - 1.0) > 1e-3)
        source.warnings.push_back("SpectralWidth of the JSON does not fit pixdim[4], which is "
                                  "used; is the file of one piece?");
}

// Name of a dimension beyond time: its tag, or its number where there is none that may name a
// column.
static std::string dimension_name(const ordered_json &meta, int d,
                                  const std::vector<source_axis> &before) {
    const std::string number = "dim_" + std::to_string(d);
    const auto tag = meta.find(number);
    if (tag == meta.end() || !tag->is_string()) return number;
    const std::string name = tag->get<std::string>();
    if (name.empty() ||
        name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789") != std::string::npos)
        return number;
    // of two dimensions with one name none could be chosen, and a table had a column twice
    const bool is_taken = std::any_of(before.begin(), before.end(),
                                      [&](const source_axis &axis) { return axis.name == name; });
    return is_taken ? number : name;
}

static void take_dimensions(const nifti_header &header, const ordered_json &meta,
                            nifti_mrs_source &source) {
    for (int d = 1; d <= 7; ++d) {
        const long long length = header.dim[static_cast<std::size_t>(d - 1)];
        if (d == 4) {
            source.points = length;
        } else if (d < 4) {
            source.voxels *= length;
            source.axes.push_back({std::string(1, "xyz"[d - 1]), length, true});
        } else {
            source.axes.push_back({dimension_name(meta, d, source.axes), length, false});
        }
    }
}

// What is wrong with it before a point is read.
static void refuse_other_content(const nifti_header &header, const ordered_json &meta,
                                 const nifti_mrs_source &source, long long size) {
    const std::string &file = source.file;
    // A header that promises more than the file can hold is found before storage is asked for.
    // Deflate packs 1032 bytes into one at most.
    const double room = static_cast<double>(size) * (lower_case(file).ends_with(".gz") ? 1032 : 1);
    if (static_cast<double>(source.offset) +
            header.voxels_and_more * 2 * static_cast<double>(source.value_size) >
        room)
        refuse_input(
            file,
            std::to_string(size) +
                " bytes, which is less than the dimensions of the header need; is the file cut?");
    if (header.dimensions < 4)
        refuse_input(file, "has " + std::to_string(header.dimensions) +
                               " dimensions; expected 4 to 7, the fourth one time");
    const auto k_space = meta.find("kSpace");
    if (k_space == meta.end()) return;
    bool any = k_space->is_boolean() && k_space->get<bool>();
    if (k_space->is_array())
        for (const ordered_json &each : *k_space)
            any = any || (each.is_boolean() && each.get<bool>());
    if (any)
        refuse_input(file, "item kSpace of the JSON is true: the voxels are not transformed yet; "
                           "expected them in space. Reconstruct the measurement first");
}

static void take_nifti_facts(const nifti_header &header, const ordered_json &meta,
                             nifti_mrs_source &source) {
    const std::string &file = source.file;
    signal_facts &facts = source.facts;
    take_dwell_time(header, meta, source);
    facts.mhz = meta_number(meta, "SpectrometerFrequency", file);
    if (facts.mhz && !(*facts.mhz > 0.0))
        refuse_input(file,
                     "item SpectrometerFrequency of the JSON is not above 0; expected it in MHz");
    if (const ordered_json *const nucleus = first_value(meta, "ResonantNucleus");
        nucleus != nullptr && nucleus->is_string())
        facts.nucleus = nucleus_of(nucleus->get<std::string>());
    facts.echo_time = meta_number(meta, "EchoTime", file);
    facts.repetition_time = meta_number(meta, "RepetitionTime", file);
    std::array<double, 3> edges = header.geometry.voxel_mm;
    for (double &mm : edges) mm = as_written(mm);
    // 10000 stands for "not localised", 1 on all sides for a header that nobody filled in
    if (std::all_of(edges.begin(), edges.end(), [](double mm) { return mm > 0.0 && mm < 1e3; }) &&
        edges != std::array<double, 3>{1.0, 1.0, 1.0})
        facts.voxel_mm = edges;
    facts.begin_time = meta_number(meta, "AcquisitionStartTime", file);
    // our own item; items outside of the standard are objects with Value and Description
    if (const auto own = meta.find("PpmAtCarrier"); own != meta.end() && own->is_object())
        facts.ppm_at_carrier = meta_number(*own, "Value", file);
    if (const auto own = meta.find("NoisePoints"); own != meta.end() && own->is_object())
        facts.noise_points =
            metadata(file, *own).point_pair("Value", static_cast<long long>(source.points) - 1);
    if (const auto offset = meta_number(meta, "TxOffset", file); offset && *offset != 0.0) {
        source.notes["tx_offset_ppm_not_applied"] = *offset;
        source.warnings.push_back("TxOffset of the JSON is taken for the place of the pulses, not "
                                  "added to the ppm at the carrier; --ppm-at-carrier sets it");
    }
}

std::unique_ptr<spectrum_source> read_nifti_mrs(const std::string &file) {
    const long long size = size_of_input(file, "a NIfTI-MRS file");
    const nifti_header header = read_nifti_header(file, mrs_extension);
    if (header.datatype != complex64 && header.datatype != complex128)
        refuse_input(file, "points are of type " + header.datatype_name() +
                               "; expected complex64 or complex128. Is this an image?");
    // JSON before the name: files that are images have neither
    const ordered_json meta = extension_of(header, file);

    auto source = source_of<nifti_mrs_source>(file, "NIfTI-MRS");
    source->offset = header.offset;
    source->value_size = header.datatype == complex64 ? 4 : 8;
    source->swapped = header.swapped;
    if (!header.intent_name.starts_with("mrs_v"))
        source->warnings.push_back("intent_name does not name a version of NIfTI-MRS");
    take_dimensions(header, meta, *source);
    refuse_other_content(header, meta, *source, size);
    take_nifti_facts(header, meta, *source);
    return source;
}

} // namespace tools
