// SPDX-License-Identifier: BSD-3-Clause
// Which reader takes a file, by its name, its first bytes or the option; and what is refused.
#include "files/measured/open_source.h"

#include "files/base/tool_error.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <complex>
#include <filesystem>

namespace {

class a_file : public testing::Test {
  protected:
    std::string file(const std::string &name, const std::string &bytes) const {
        support::write_file(place_.file(name), bytes);
        return place_.file(name);
    }
    std::unique_ptr<tools::spectrum_source> opened(const std::string &file,
                                                   const std::string &format = "",
                                                   const std::string &json = "",
                                                   std::optional<long long> points = {}) const {
        return tools::open_source(file, format, json, points);
    }
    // What is said of a file, and with which status.
    std::string refusal(const std::string &file, tools::exit_status status,
                        const std::string &format = "",
                        std::optional<long long> points = {}) const {
        try {
            opened(file, format, "", points);
        } catch (const tools::tool_error &error) {
            EXPECT_EQ(error.status(), status) << error.what();
            return error.what();
        }
        return "no error";
    }
    static bool has(const std::string &text, const std::string &words) {
        return text.find(words) != text.npos;
    }

    const std::string columns_ = "# real imaginary\n1.0 2.0\n3.0 4.0\n-1.0 0.5\n0.0 8.0\n";
    const std::string raw_ = " $SEQPAR\n hzpppm = 127.7\n deltat = 5.e-4\n $END\n $NMID\n"
                             " fmtdat = '(2E15.6)'\n $END\n 1.0 2.0\n 3.0 4.0\n";
    support::temporary_folder place_;
};

} // namespace

TEST_F(a_file, of_text_is_columns_whatever_its_ending_is_written_like) {
    for (const std::string name : {"a.txt", "a.csv", "a.tsv", "a.asc", "A.TXT"}) {
        const auto source = opened(file(name, columns_));
        EXPECT_EQ(source->format, "text columns") << name;
        EXPECT_EQ(source->points, 4) << name;
    }
}

TEST_F(a_file, of_text_that_begins_with_these_words_is_of_the_other_kind) {
    const std::string said =
        refusal(file("a.txt", "jMRUI Data TextFile\nno points\n"), tools::bad_input);
    EXPECT_TRUE(has(said, "Signal and FFT")) << said;
    // 256 bytes are looked at
    EXPECT_EQ(
        opened(file("b.txt", std::string(250, '#') + "\n# jmrui data textfile\n1 2\n"))->format,
        "text columns");
}

TEST_F(a_file, goes_to_the_reader_of_its_ending) {
    for (const std::string name : {"a.raw", "a.H2O"})
        EXPECT_EQ(opened(file(name, raw_))->format, "LCModel RAW") << name;
    const std::string bytes(64, '\0');
    EXPECT_TRUE(has(refusal(file("a.nii", bytes), tools::bad_input), "NIfTI"));
    EXPECT_TRUE(has(refusal(file("a.nii.gz", bytes), tools::bad_input), "NIfTI"));
    EXPECT_TRUE(has(refusal(file("a.sdat", bytes), tools::bad_input), "SPAR"));
    EXPECT_TRUE(has(refusal(file("a.rda", bytes), tools::bad_input), "a.rda"));
    for (const std::string name : {"a.f32", "a.bin", "a", "a.niix"}) {
        const auto source = opened(file(name, bytes), "", "", 8);
        EXPECT_EQ(source->format, "float32") << name;
        EXPECT_EQ(source->points, 8) << name;
    }
}

TEST_F(a_file, of_a_scanner_is_refused_with_the_way_to_go) {
    const std::string bytes(200, '\0');
    for (const std::string name : {"a.dat", "a.IMA", "a.dcm", "P1.7", "a.mrui", "a.data", "a.list"})
        EXPECT_TRUE(has(refusal(file(name, bytes), tools::bad_input), "a format that is not read"))
            << name;
    std::string dicom = bytes;
    dicom.replace(128, 4, "DICM");
    EXPECT_TRUE(has(refusal(file("a.f32", dicom), tools::bad_input), "DICOM, which is not read"));
    dicom = bytes;
    dicom.replace(127, 4, "DICM"); // by chance, somewhere else
    EXPECT_EQ(opened(file("b.f32", dicom), "", "", 25)->format, "float32");
    EXPECT_TRUE(has(refusal(file("a.basis", bytes), tools::wrong_usage), "varokel-import basis"));
}

TEST_F(a_file, that_begins_as_another_format_does_is_refused_by_its_name) {
    const std::string bytes(200, '\0');
    const auto said = [&](const std::string &beginning) {
        return refusal(file("a.f32", beginning + bytes), tools::bad_input);
    };
    EXPECT_TRUE(has(said("MATLAB 5.0 MAT-file, written by"), "a MATLAB file, which is not read"));
    EXPECT_TRUE(has(said("MATLAB 7.3 MAT-file, Platform:"), "a MATLAB file, which is not read"));
    EXPECT_TRUE(has(said("\x89HDF\r\n\x1a\n"), "HDF5, which is not read here; write its FIDs as"));
    EXPECT_TRUE(has(said("PK\x03\x04"), "a zip archive; expected FIDs. Unpack it first"));
    EXPECT_TRUE(has(said("\x1f\x8b\x08"), "packed by gzip; expected FIDs. Unpack it first"));
    // one of 65536 measured numbers begins as gzip does, but not in three bytes
    for (const std::string beginning : {"MATLAB 6", "\x1f\x8bGBGBGB", "\x89HDFGBGB"})
        EXPECT_EQ(opened(file("b.f32", beginning + bytes), "", "", 26)->format, "float32");
    // the numbers of a scanner's folder are not told by their bytes
    const std::string fid = file("fid", bytes);
    EXPECT_EQ(opened(fid, "", "", 25)->format, "float32");
    for (const char *const parameters : {"acqus", "procpar"}) {
        const std::string beside = file(parameters, "##TITLE= parameters");
        for (const std::string &of : {fid, beside})
            EXPECT_TRUE(has(refusal(of, tools::bad_input), std::string("a scanner's file, with ") +
                                                               parameters + ", which is not"));
        EXPECT_EQ(opened(fid, "float32", "", 25)->format, "float32") << "as the option says";
        std::filesystem::remove(beside);
        std::filesystem::create_symlink(parameters, beside); // to itself
        EXPECT_EQ(opened(fid, "", "", 25)->format, "float32");
    }
}

TEST_F(a_file, taken_for_plain_points_by_nothing_but_its_ending_is_a_guess) {
    const std::string bytes(64, '\0');
    const auto guesses = [&](const std::string &file, const std::string &format = "") {
        std::string items;
        const auto source = opened(file, format, "", 8);
        for (const auto &each : source->guesses) items += each.item;
        return items;
    };
    EXPECT_EQ(guesses(file("a.dump", bytes)), "format");
    EXPECT_EQ(guesses(file("b.dump", bytes), "float32"), "");
    EXPECT_EQ(guesses(file("a.F32", bytes)), "");
    file("c.json", R"({"dwell_time_s": 1e-3})");
    EXPECT_EQ(guesses(file("c.dump", bytes)), "");
}

TEST_F(a_file, that_is_not_there_or_empty_is_said) {
    for (const std::string name : {"none.f32", "none.txt", "none.raw", "none.nii", "none.dat"})
        EXPECT_TRUE(has(refusal(place_.file(name), tools::bad_input), name)) << name;
    EXPECT_TRUE(has(refusal(file("empty.f32", ""), tools::bad_input), "complex points as float32"));
}

TEST_F(a_file, is_read_as_the_option_says) {
    const std::string columns = file("a.dat", columns_);
    EXPECT_EQ(opened(columns, "text")->format, "text columns");
    EXPECT_EQ(opened(file("b.dat", raw_), "raw")->format, "LCModel RAW");
    EXPECT_EQ(opened(file("c.txt", std::string(64, '\0')), "float32", "", 8)->format, "float32");
    EXPECT_TRUE(has(refusal(columns, tools::bad_input, "nifti"), "NIfTI"));
    EXPECT_EQ(refusal(columns, tools::wrong_usage, "word"), "--format word: no such format");
}

TEST_F(a_file, that_states_its_points_holds_the_option_against_them) {
    const std::string named = file("a.rda", ">>> Begin of header <<<\n"
                                            "VectorSize: 2\nDwellTime: 500\nMRFrequency: 123.2\n"
                                            "CSIMatrixSize[0]: 1\nCSIMatrixSize[1]: 1\n"
                                            "CSIMatrixSize[2]: 1\n>>> End of header <<<\n" +
                                                std::string(32, '\0'));
    EXPECT_EQ(opened(named)->points, 2);
    EXPECT_EQ(opened(named, "", "", 2)->points, 2);
    EXPECT_TRUE(
        has(refusal(named, tools::wrong_usage, "", 4), "--points 4, but the file says 2 points"));
}

TEST_F(a_file, has_from_the_json_only_what_it_does_not_state) {
    const std::string json =
        file("facts.json", R"({"dwell_time_s": 1e-3, "spectrometer_MHz": 300.0, "nucleus": "31P",
                               "ppm_at_carrier": 4.7, "begin_time_s": 2e-3})");
    const auto source = opened(file("a.raw", raw_), "", json);
    EXPECT_EQ(source->facts.dwell_time, 5e-4);
    EXPECT_EQ(source->facts.mhz, 127.7);
    EXPECT_EQ(source->facts.begin_time, 2e-3);
    EXPECT_FALSE(opened(file("b.raw", raw_))->facts.nucleus);
    EXPECT_EQ(source->facts.nucleus, "31P");
    EXPECT_EQ(source->companions.back(), json);
    EXPECT_TRUE(opened(file("b.raw", raw_))->companions.empty()) << "none beside it is looked for";
}

TEST_F(a_file, that_was_imported_is_no_fid) {
    const std::string spectrum = file("a.bin", std::string(64, '\0'));
    const auto says = [&](const std::string &content) {
        file("a.json",
             "{\"signal\": \"a.bin\", \"content\": \"" + content + "\", \"dwell_time_s\": 1e-3}");
    };
    says("centred spectrum, complex, little-endian float32; carrier at point n/2");
    EXPECT_TRUE(has(refusal(spectrum, tools::bad_input), "a.bin: a centred spectrum, says "));
    says("binary patterns: spectra, conjugated and reversed");
    EXPECT_TRUE(has(refusal(spectrum, tools::bad_input), "a.bin: patterns, says "));
    // an FID in whose folder its spectrum lies, with the sidecar of that one
    says("centred spectrum, complex, little-endian float32; carrier at point n/2");
    EXPECT_EQ(opened(file("a.fid.f32", std::string(64, '\0')))->facts.dwell_time, 1e-3);
    says("FIDs of a phantom");
    EXPECT_EQ(opened(spectrum)->spectra(), 1);
    file("a.json", R"({"signal": 1, "content": ["FIDs"], "dwell_time_s": 1e-3})");
    EXPECT_EQ(opened(spectrum)->spectra(), 1) << "items of others";
}

TEST_F(a_file, of_plain_points_takes_the_json_beside_it_or_the_one_that_is_named) {
    const std::string plain = file("a.f32", std::string(64, '\0'));
    file("a.json", R"({"n_points": 4, "dwell_time_s": 1e-3})");
    EXPECT_EQ(opened(plain)->facts.dwell_time, 1e-3);
    EXPECT_EQ(opened(plain)->spectra(), 2);
    const std::string other = file("other.json", R"({"n_points": 8, "dwell_time_s": 2e-3})");
    EXPECT_EQ(opened(plain, "", other)->facts.dwell_time, 2e-3);
    EXPECT_EQ(opened(plain, "", other)->spectra(), 1);
}
