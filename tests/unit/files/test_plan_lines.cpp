// SPDX-License-Identifier: BSD-3-Clause
// The list of spectra of a plan, its shards, and what the marker of a finished one may say.
#include "files/batch/plan_lines.h"

#include "files/base/tool_error.h"
#include "files/batch/finished_shard.h"

#include "support/refusal.h"
#include "support/planned_batch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

using tools::planned_spectrum;

namespace {

class plan_lines : public testing::Test {
  protected:
    typedef std::vector<planned_spectrum> list;

    tools::batch_plan plan_of(const list &spectra) const {
        return support::plan_with(spectra, file_);
    }
    // What is said of a good list, or of its plan, after a change.
    std::string refusal(const std::function<void(list &)> &change) const {
        list spectra = good();
        change(spectra);
        return refusal_of_plan(plan_of(spectra));
    }
    std::string refusal_of_plan(const tools::batch_plan &plan) const {
        return support::refusal_of(tools::bad_input, [&] { const tools::plan_lines lines(plan); });
    }
    static bool has(const std::string &text, const std::string &words) {
        return text.find(words) != text.npos;
    }
    static list good() {
        list spectra = support::spectra_in_blocks({3, 2});
        spectra[1].wave = 1;
        spectra[2].wave = 1;
        spectra[4].wave = 8;
        spectra[3].state = tools::signal_state::all_zero;
        spectra[4].state = tools::signal_state::not_finite;
        spectra[1].name = "b,\"\xc3\xa4"; // a mark that JSON escapes, a letter of two bytes
        return spectra;
    }

    support::temporary_folder place_;
    std::string file_ = place_.file("manifest.json");
};

} // namespace

TEST_F(plan_lines, come_back_one_by_one_in_any_order) {
    const list spectra = good();
    const tools::batch_plan plan = plan_of(spectra);
    const tools::plan_lines lines(plan);
    for (const long long line : {4, 0, 3, 1, 2}) {
        const planned_spectrum &wanted = spectra[static_cast<std::size_t>(line)];
        const planned_spectrum found = lines.read(line);
        EXPECT_EQ(found.number, wanted.number);
        EXPECT_EQ(found.name, wanted.name);
        EXPECT_EQ(found.at, wanted.at);
        EXPECT_EQ(found.state, wanted.state);
        EXPECT_EQ(found.block, wanted.block);
        EXPECT_EQ(found.wave, wanted.wave);
        EXPECT_EQ(found.sha256, wanted.sha256);
    }
    EXPECT_THROW(lines.read(-1), tools::tool_error);
    EXPECT_THROW(lines.read(5), tools::tool_error);
}

TEST_F(plan_lines, that_are_not_those_of_the_head_are_refused) {
    list spectra = support::spectra_in_blocks({2, 2});
    tools::batch_plan plan = plan_of(spectra);
    EXPECT_EQ(refusal_of_plan(plan), "no error");
    plan.list_sha256[63] = plan.list_sha256[63] == '0' ? '1' : '0';
    EXPECT_TRUE(has(refusal_of_plan(plan), "a list of spectra that was changed"));
    plan = plan_of(spectra);
    spectra[2].name = "other"; // a sound list, but another
    const std::string before = plan.list_sha256;
    plan = plan_of(spectra);
    plan.list_sha256 = before;
    EXPECT_TRUE(has(refusal_of_plan(plan), "a list of spectra that was changed"));
    for (const long long blocks : {1, 3}) {
        plan = plan_of(support::spectra_in_blocks({2, 2}));
        plan.blocks = blocks;
        EXPECT_NE(refusal_of_plan(plan), "no error") << blocks;
    }
    plan = plan_of(support::spectra_in_blocks({2, 2}));
    plan.spectra = 3;
    EXPECT_NE(refusal_of_plan(plan), "no error") << "there is a line behind the list";
}

TEST_F(plan_lines, that_repeat_a_number_or_a_name_are_refused) {
    EXPECT_TRUE(
        has(refusal([](list &all) { all[2].number = 0; }), "spectrum 2 has a number twice"));
    EXPECT_TRUE(has(refusal([](list &all) { all[4].name = all[1].name; }),
                    "spectrum 4 has the name of another"));
}

TEST_F(plan_lines, that_are_not_in_the_order_of_blocks_and_waves_are_refused) {
    const auto refused = [&](std::size_t line, long long block, int wave) {
        return has(refusal([&](list &all) {
                       all[line].block = block;
                       all[line].wave = wave;
                   }),
                   "is not in the order of blocks and waves");
    };
    EXPECT_FALSE(refused(0, 0, 1)) << "the first wave may be any";
    EXPECT_TRUE(refused(0, 0, 2)) << "a later one is lower then";
    EXPECT_TRUE(refused(2, 0, 0));
    EXPECT_TRUE(refused(0, 1, 0)) << "the first block is 0";
    EXPECT_TRUE(has(refusal([](list &all) {
                        all.push_back(all[4]); // so that the last says the number of blocks
                        all[5].number = 5;
                        all[5].name = "s5";
                        all[4].block = 0;
                    }),
                    "spectrum 4 is not in the order"))
        << "back to a block before";
    EXPECT_FALSE(refused(3, 1, 8)) << "a new block begins anew";
}

TEST_F(plan_lines, whose_numbers_are_out_of_bounds_are_refused) {
    const std::vector<std::function<void(planned_spectrum &)>> changes = {
        [](planned_spectrum &one) { one.number = 5; },
        [](planned_spectrum &one) { one.number = -1; },
        [](planned_spectrum &one) { one.at = {5}; },
        [](planned_spectrum &one) { one.at = {-1}; },
        [](planned_spectrum &one) { one.at = {}; },
        [](planned_spectrum &one) {
            one.at = {1, 0};
        },
        [](planned_spectrum &one) { one.wave = tools::last_wave + 1; },
        [](planned_spectrum &one) { one.name = "../up"; },
        [](planned_spectrum &one) { one.name = ""; },
        [](planned_spectrum &one) { one.sha256 = std::string(64, 'g'); }};
    for (std::size_t k = 0; k < changes.size(); ++k)
        EXPECT_TRUE(has(refusal([&](list &all) { changes[k](all[1]); }),
                        "spectrum 1 does not stand where it should"))
            << k;
}

TEST_F(plan_lines, of_shards_are_whole_blocks_as_even_as_they_come) {
    const std::vector<int> sizes = {3, 1, 4, 2, 5, 1, 1};
    const tools::batch_plan plan = plan_of(support::spectra_in_blocks(sizes));
    const tools::plan_lines lines(plan);
    for (long long shards = 1; shards <= 7; ++shards) {
        long long next = 0;
        for (long long shard = 0; shard < shards; ++shard) {
            const auto [first, stop] = lines_of_shard(plan, lines, shard, shards);
            EXPECT_EQ(first, next) << shard << " of " << shards;
            next = stop;
            if (first == stop) continue;
            // both ends are edges of blocks
            EXPECT_TRUE(first == 0 || lines.read(first - 1).block != lines.read(first).block);
            EXPECT_TRUE(stop == 17 || lines.read(stop - 1).block != lines.read(stop).block);
            const long long blocks = lines.read(stop - 1).block - lines.read(first).block + 1;
            EXPECT_GE(blocks, 7 / shards) << shard << " of " << shards;
            EXPECT_LE(blocks, (7 + shards - 1) / shards) << shard << " of " << shards;
        }
        EXPECT_EQ(next, 17) << shards;
    }
}

TEST_F(plan_lines, of_a_marker_are_counted_whether_they_were_fitted_or_not) {
    const tools::batch_plan plan = plan_of(support::spectra_in_blocks({3, 3, 2}));
    const tools::plan_lines lines(plan);
    const std::string name = place_.file("0000_of_0001.done");
    const auto said = [&](int fitted, int failed, int not_tried) -> std::string {
        tools::ordered_json marker;
        marker["plan"] = plan.id;
        marker["part_sha256"] = std::string(64, '0');
        marker["first"] = 0;
        marker["stop"] = 8;
        marker["fitted"] = fitted;
        marker["failed"] = failed;
        marker["not_tried"] = not_tried;
        support::write_file(name, marker.dump());
        return support::refusal_of(tools::bad_input, [&] {
            const tools::finished_shard found = tools::read_marker(plan, lines, name);
            EXPECT_EQ(found.fitted, fitted);
            EXPECT_EQ(found.failed, failed);
            EXPECT_EQ(found.not_tried, not_tried);
        });
    };
    EXPECT_EQ(said(8, 0, 0), "no error");
    EXPECT_EQ(said(3, 1, 4), "no error");
    EXPECT_EQ(said(0, 0, 8), "no error");
    for (const auto &[fitted, failed, not_tried] :
         std::vector<std::array<int, 3>>{{8, 0, 1}, {7, 0, 0}, {3, 1, 3}, {3, 2, 4}, {8, 8, 8}})
        EXPECT_TRUE(has(said(fitted, failed, not_tried), "counts other fits than its lines"))
            << fitted << ' ' << failed << ' ' << not_tried;
    EXPECT_TRUE(has(said(9, 0, 0), "item fitted is no number of spectra of this plan"));
}
