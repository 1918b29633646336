// SPDX-License-Identifier: BSD-3-Clause
//
// Outputs by the thousand: files that appear together, their names from their numbers, texts that
// are printed at the end.
#include "files/base/held_text.h"
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/measured/choose_spectra.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <sstream>

namespace fs = std::filesystem;
using tools::output_batch;

namespace {

constexpr int many = 300; // more than have descriptors

std::vector<std::string> names_in(const std::string &folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry &each : fs::directory_iterator(folder))
        names.push_back(each.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> visible_in(const std::string &folder) {
    std::vector<std::string> names = names_in(folder);
    std::erase_if(names, [](const std::string &name) { return name.starts_with("."); });
    return names;
}

void add_many(output_batch &batch, const std::string &folder) {
    for (int k = 0; k < many; ++k)
        batch.add({folder + "/f" + std::to_string(k), "text " + std::to_string(k)});
}

// A source of FIDs that only says how many there are.
class counted_source : public tools::spectrum_source {
  public:
    explicit counted_source(std::vector<tools::source_axis> all) {
        axes = std::move(all);
        points = 4;
        stem = "s";
    }
    void add_to(const std::vector<tools::signal_share> &,
                std::vector<tools::complex_signal> &) override {}
};

} // namespace

TEST(ManyOutputs, AppearTogetherAndEachWithItsBytes) {
    const support::temporary_folder folder;
    output_batch batch({}, false);
    add_many(batch, folder.name());
    EXPECT_EQ(visible_in(folder.name()).size(), 0U);
    batch.commit();
    EXPECT_EQ(names_in(folder.name()).size(), static_cast<std::size_t>(many));
    for (const int k : {0, 255, 256, 257, many - 1})
        EXPECT_EQ(support::read_file(folder.file("f" + std::to_string(k))),
                  "text " + std::to_string(k));
}

TEST(ManyOutputs, LeaveNothingWhenTheyAreNotCommitted) {
    const support::temporary_folder folder;
    {
        output_batch batch({}, false);
        add_many(batch, folder.name());
    }
    EXPECT_EQ(names_in(folder.name()), std::vector<std::string>());
}

TEST(ManyOutputs, ReplaceNothingThatCameMeanwhile) {
    const support::temporary_folder folder;
    const std::string late = folder.file("f" + std::to_string(many - 1));
    output_batch batch({}, false);
    add_many(batch, folder.name());
    support::write_file(late, "somebody else's");
    EXPECT_THROW(batch.commit(), tools::tool_error);
    EXPECT_EQ(support::read_file(late), "somebody else's");
}

TEST(ManyOutputs, ReplaceWhatIsThereOnlyWhenTheyAreForced) {
    const support::temporary_folder folder;
    support::write_file(folder.file("f0"), "before");
    EXPECT_THROW(
        add_many(*std::make_unique<output_batch>(std::vector<std::string>(), false), folder.name()),
        tools::tool_error);
    EXPECT_EQ(support::read_file(folder.file("f0")), "before");
    output_batch batch({}, true);
    add_many(batch, folder.name());
    EXPECT_EQ(support::read_file(folder.file("f0")), "before");
    batch.commit();
    EXPECT_EQ(support::read_file(folder.file("f0")), "text 0");
    EXPECT_EQ(names_in(folder.name()).size(), static_cast<std::size_t>(many));
}

TEST(ManyOutputs, NoNameOfTheirsIsThatOfAnInput) {
    const support::temporary_folder folder;
    const std::string input = folder.file("f" + std::to_string(many - 1));
    support::write_file(input, "measured");
    output_batch batch({input}, true);
    EXPECT_THROW(add_many(batch, folder.name()), tools::tool_error);
    EXPECT_EQ(support::read_file(input), "measured");
}

// Places and members worked out from a number, against loops over all axes.
TEST(ChosenSpectra, AreThoseOfLoopsOverTheAxes) {
    const counted_source source({{"x", 3, true},
                                 {"y", 2, true},
                                 {"z", 1, true},
                                 {"DIM_DYN", 4, false},
                                 {"DIM_COIL", 2, false}});
    tools::choice_options options;
    options.average = {"DIM_DYN"};
    options.index = {"DIM_COIL=all"};
    const tools::choice chosen = tools::choose_spectra(source, options);
    ASSERT_EQ(chosen.spectra.size(), 12U);
    EXPECT_TRUE(chosen.grid);
    std::size_t output = 0;
    for (long long coil = 0; coil < 2; ++coil)
        for (long long y = 0; y < 2; ++y)
            for (long long x = 0; x < 3; ++x, ++output) {
                const tools::chosen_spectrum own = chosen.spectra[output];
                std::vector<long long> members;
                for (long long mean = 0; mean < 4; ++mean)
                    members.push_back(x + 3 * (y + 2 * (mean + 4 * coil)));
                EXPECT_EQ(own.spectra, members) << output;
                EXPECT_EQ(own.suffix, "_" + std::to_string(x) + "_" + std::to_string(y) +
                                          "_0_coil" + std::to_string(coil));
                EXPECT_EQ(own.place.dump(), "{\"DIM_COIL\":" + std::to_string(coil) +
                                                ",\"voxel\":[" + std::to_string(x) + "," +
                                                std::to_string(y) + ",0]}");
                EXPECT_EQ(own.averaged.dump(), "{\"DIM_DYN\":4}");
            }
    const tools::chosen_spectra fifth = chosen.spectra.every(5);
    ASSERT_EQ(fifth.size(), 3U);
    for (std::size_t s = 0; s < fifth.size(); ++s) {
        EXPECT_EQ(fifth.members(s), chosen.spectra.members(5 * s));
        EXPECT_EQ(fifth[s].suffix, chosen.spectra[5 * s].suffix);
    }
}

TEST(HeldText, ComesOutAsItWentInHoweverLongItIs) {
    const support::temporary_folder folder;
    for (const int lines : {0, 1, 300000}) {
        tools::held_text held;
        std::string wanted;
        for (int k = 0; k < lines; ++k) {
            const std::string line = "line " + std::to_string(k) + "\n";
            held.add(line, folder.name());
            wanted += line;
        }
        EXPECT_EQ(held.empty(), lines == 0);
        std::ostringstream out;
        held.print(out);
        EXPECT_TRUE(out.str() == wanted) << lines;
        EXPECT_EQ(names_in(folder.name()).size(), 0U);
    }
}
