// SPDX-License-Identifier: BSD-3-Clause
// spectrum_source.cpp -- FIDs of an input file with what it says about them, whatever its format
#include "files/measured/spectrum_source.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <cmath>
#include <filesystem>

namespace tools {

long long spectrum_source::spectra() const {
    long long count = 1;
    for (const source_axis &axis : axes) count *= axis.size;
    return count;
}

std::vector<long long> spectrum_source::position(long long spectrum) const {
    std::vector<long long> at;
    for (const source_axis &axis : axes) {
        at.push_back(spectrum % axis.size);
        spectrum /= axis.size;
    }
    return at;
}

std::string spectrum_source::label(long long spectrum) const {
    const std::vector<long long> at = position(spectrum);
    std::string voxel, text;
    bool has_grid = false;
    for (std::size_t a = 0; a < axes.size(); ++a) {
        if (axes[a].spatial) {
            has_grid = has_grid || axes[a].size > 1;
            voxel += (voxel.empty() ? "" : ",") + std::to_string(at[a]);
        } else if (axes[a].size > 1) {
            text += (text.empty() ? "" : ", ") + axes[a].name + " " + std::to_string(at[a]);
        }
    }
    if (!has_grid) return text;
    return "voxel " + voxel + (text.empty() ? "" : ", " + text);
}

bool finite_check::operator()(std::complex<double> value, long long spectrum, long long point) {
    if (std::isfinite(value.real()) && std::isfinite(value.imag())) return true;
    if (source_.faulty != nullptr) {
        source_.faulty->insert(spectrum);
        return false;
    }
    if (++found_ <= 5) {
        const std::string label = source_.label(spectrum);
        places_ += found_ == 1 ? "" : ", ";
        if (!label.empty())
            places_ += label + " point ";
        else if (found_ == 1)
            places_ += "point ";
        places_ += std::to_string(point);
    }
    return false;
}

void finite_check::finish() const {
    if (found_ == 0) return;
    refuse_input(source_.file,
                 std::to_string(found_) + (found_ == 1 ? " point is" : " points are") +
                     " not a finite number (nan or inf): " + places_ + (found_ > 5 ? " ..." : "") +
                     ", counted from 0. Repair or cut the signal first.");
}

void contiguous_source::add_to(const std::vector<signal_share> &shares,
                               std::vector<complex_signal> &sums) {
    const std::string &name = points_file.empty() ? file : points_file;
    std::ifstream stream = open_input(name);
    if (!stream) refuse_input(name, "cannot be read; is it yours to read?");
    finite_check finite(*this);
    std::vector<unsigned char> bytes;
    for (const signal_share &share : shares) {
        complex_signal &sum = sums[share.sum];
        bytes.resize(sum.size() * point_size);
        stream.seekg(offset + share.spectrum * points * static_cast<long long>(point_size));
        stream.read(reinterpret_cast<char *>(bytes.data()),
                    static_cast<std::streamsize>(bytes.size()));
        if (!stream) refuse_input(name, "ends within its points; is the file cut?");
        for (std::size_t k = 0; k < sum.size(); ++k) {
            const std::complex<double> value = decode(bytes.data() + k * point_size);
            if (finite(value, share.spectrum, static_cast<long long>(k))) sum[k] += value;
        }
    }
    finite.finish();
}

void text_source::add_to(const std::vector<signal_share> &shares,
                         std::vector<complex_signal> &sums) {
    finite_check finite(*this);
    std::size_t next = 0; // first share that is not done
    long long spectrum = 0, k = 0;
    const auto take = [&](std::complex<double> value) {
        for (std::size_t s = next; s < shares.size() && shares[s].spectrum == spectrum; ++s) {
            complex_signal &sum = sums[shares[s].sum];
            if (k < static_cast<long long>(sum.size()) && finite(value, spectrum, k))
                sum[static_cast<std::size_t>(k)] += scale * value;
        }
        if (++k == points) {
            k = 0;
            while (next < shares.size() && shares[next].spectrum == spectrum) ++next;
            ++spectrum;
        }
        return next < shares.size();
    };
    if (!shares.empty()) for_each_point(take);
    finite.finish();
}

long long text_source::count_points_of_text() const {
    long long count = 0;
    for_each_point([&](std::complex<double>) {
        ++count;
        return true;
    });
    return count;
}

void split_into_spectra(spectrum_source &source, long long points_in_file,
                        const std::optional<long long> &points) {
    source.points = points.value_or(points_in_file);
    if (points_in_file < 1) refuse_input(source.file, "holds no points; is the file cut?");
    if (source.points < 1 || points_in_file % source.points != 0)
        refuse_input(source.file, std::to_string(points_in_file) +
                                      " complex points are no whole number of spectra of " +
                                      std::to_string(source.points) +
                                      " points; is --points or the JSON right?");
    source.axes = {{"spectrum", points_in_file / source.points, false}};
}

long long size_of_input(const std::string &file, const std::string &expected) {
    std::error_code error;
    const std::filesystem::path name(file);
    if (!std::filesystem::exists(name, error))
        refuse_input(file, "no such file; expected " + expected);
    if (std::filesystem::is_directory(name, error))
        refuse_input(file, "a folder; expected " + expected);
    const std::uintmax_t size = std::filesystem::file_size(name, error);
    if (error) refuse_input(file, "cannot be read (" + error.message() + ")");
    if (size == 0) refuse_input(file, "empty; expected " + expected);
    return static_cast<long long>(size);
}

std::string stem_of(const std::string &file) {
    const std::string name = std::filesystem::path(file).filename().string();
    for (const char *ending : {".fid.f32", ".nii.gz"}) {
        const std::string_view end(ending);
        if (name.size() > end.size() && name.ends_with(end))
            return name.substr(0, name.size() - end.size());
    }
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

} // namespace tools
