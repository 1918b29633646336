// SPDX-License-Identifier: BSD-3-Clause
// open_source.cpp -- the reader that fits a file
#include "files/measured/open_source.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/measured/measured_formats.h"
#include "files/measured/read_plain_fid.h"
#include "files/measured/text_items.h"

#include <array>
#include <filesystem>

namespace tools {

static std::string first_bytes(const std::string &file) {
    std::ifstream stream = open_input(file);
    std::array<char, 256> bytes{};
    stream.read(bytes.data(), bytes.size());
    return std::string(bytes.data(), static_cast<std::size_t>(stream.gcount()));
}

// What is no plain numbers, whatever it is called, with what may be done; empty for others.
static std::string foreign_format(const std::string &file) {
    static const std::string converted =
        ", which is not read here; spec2nii converts files of scanners to NIfTI-MRS, which is";
    static const std::string written =
        ", which is not read here; write its FIDs as NIfTI-MRS, two columns of text or float32";
    static const std::string unpacked = "; expected FIDs. Unpack it first";
    // long enough that no measured number begins so by chance
    static const std::array<std::array<std::string, 2>, 5> beginnings{
        {{"MATLAB 5.0 MAT-file", "a MATLAB file" + written},
         {"MATLAB 7.3 MAT-file", "a MATLAB file" + written},
         {"\x89HDF\r\n\x1a\n", "HDF5" + written},
         {"PK\x03\x04", "a zip archive" + unpacked},
         {"\x1f\x8b\x08", "packed by gzip" + unpacked}}};
    const std::string bytes = first_bytes(file);
    // 128 bytes of any kind, then this word
    if (bytes.substr(0, 132).ends_with("DICM")) return "DICOM" + converted;
    for (const auto &[beginning, said] : beginnings)
        if (bytes.starts_with(beginning)) return said;
    // in a scanner's folder, with the parameters beside
    const std::filesystem::path path(file);
    const std::string name = path.filename().string();
    std::error_code error;
    for (const char *const parameters : {"procpar", "acqus"})
        if ((name == "fid" || name == "ser" || name == parameters) &&
            std::filesystem::is_regular_file(path.parent_path() / parameters, error))
            return "a scanner's file, with " + std::string(parameters) + converted;
    return "";
}

static std::string format_of(const std::string &file) {
    const std::string name = lower_case(file);
    const auto ends = [&](std::initializer_list<const char *> endings) {
        for (const char *ending : endings)
            if (name.ends_with(ending)) return true;
        return false;
    };
    if (ends({".nii", ".nii.gz"})) return "nifti";
    if (ends({".raw", ".h2o"})) return "raw";
    if (ends({".sdat", ".spar"})) return "sdat";
    if (ends({".rda"})) return "rda";
    if (ends({".txt", ".csv", ".tsv", ".asc"})) {
        const std::string head = lower_case(first_bytes(file));
        return head.find("jmrui data textfile") == head.npos ? "text" : "jmrui";
    }
    size_of_input(file, "complex points as float32");
    if (ends({".basis"}))
        refuse_usage(file, "a basis set; varokel-import basis turns it into patterns");
    std::string foreign = foreign_format(file);
    if (foreign.empty() && ends({".dat", ".ima", ".dcm", ".7", ".mrui", ".data", ".list"}))
        foreign = "a format that is not read here; spec2nii converts files of scanners to "
                  "NIfTI-MRS, which is";
    if (!foreign.empty())
        refuse_input(file,
                     foreign + ". --format names the format of a file with an unusual ending");
    return "float32";
}

std::unique_ptr<spectrum_source> open_source(const std::string &file, const std::string &format,
                                             const std::string &json,
                                             const std::optional<long long> &points) {
    const std::string kind = format.empty() ? format_of(file) : format;
    if (kind == "float32" || kind == "text") {
        const std::string about = json.empty() ? json_beside(file) : json;
        auto source = kind == "text" ? read_text_columns(file, about, points)
                                     : read_plain_fid(file, about, points);
        if (kind == "float32" && format.empty() && about.empty() &&
            !lower_case(file).ends_with(".f32"))
            source->guesses.push_back({"format", kind,
                                       "neither the ending nor a JSON beside it says what the file "
                                       "holds; --format names another"});
        return source;
    }
    std::unique_ptr<spectrum_source> source;
    if (kind == "nifti") source = read_nifti_mrs(file);
    if (kind == "raw") source = read_lcmodel_raw(file, points);
    if (kind == "jmrui") source = read_jmrui(file);
    if (kind == "sdat") source = read_sdat(file);
    if (kind == "rda") source = read_rda(file);
    if (!source) refuse_usage("--format " + kind, "no such format");
    if (points && *points != source->points)
        refuse_usage(file, "--points " + std::to_string(*points) + ", but the file says " +
                               std::to_string(source->points) + " points; --resize cuts or fills");
    if (!json.empty()) { // what the file does not state itself
        const signal_facts more = read_json_facts(json, source->points).facts;
        signal_facts &facts = source->facts;
        const auto fill = [](auto &item, const auto &other) {
            if (!item) item = other;
        };
        fill(facts.dwell_time, more.dwell_time);
        fill(facts.mhz, more.mhz);
        fill(facts.ppm_at_carrier, more.ppm_at_carrier);
        fill(facts.begin_time, more.begin_time);
        fill(facts.nucleus, more.nucleus);
        source->companions.push_back(json);
    }
    return source;
}

} // namespace tools
