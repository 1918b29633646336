// SPDX-License-Identifier: BSD-3-Clause
// Which spectrum of a shard comes next, and from which neighbour it starts.
#include "varokel-batch/fit_order.h"

#include "support/planned_batch.h"

#include <gtest/gtest.h>

#include <set>

using tools::fit_record;
using tools::fit_state;
using tools::fit_task;

namespace {

// Spectra with these places and waves, a block each list.
struct place {
    long long at;
    int wave;
};

class fit_order : public testing::Test {
  protected:
    void begin(const std::vector<std::vector<place>> &blocks, bool neighbours = true) {
        std::vector<int> sizes;
        for (const auto &each : blocks) sizes.push_back(static_cast<int>(each.size()));
        std::vector<tools::planned_spectrum> spectra = support::spectra_in_blocks(sizes);
        std::size_t next = 0;
        for (const auto &each : blocks)
            for (const place &p : each) {
                spectra[next].at = {p.at};
                spectra[next].wave = p.wave;
                spectra[next].state = states_.contains(next) ? tools::signal_state::all_zero
                                                             : tools::signal_state::fit;
                ++next;
            }
        plan_ = support::plan_with(spectra, place_.file("manifest.json"));
        plan_.axes[0].size = 100;
        plan_.values = neighbours ? "neighbour" : "same";
        plan_.records = {1, 0};
        plan_.start.entries.resize(1);
        plan_.start.entries[0].parameters[tools::area_of].value = 1.0;
        lines_ = std::make_unique<tools::plan_lines>(plan_);
        journal_ = std::make_unique<tools::shard_journal>(plan_, place_.file("0000_of_0001"), 0,
                                                          plan_.spectra);
        order_ = std::make_unique<tools::fit_order>(plan_, *lines_, *journal_, 0, plan_.spectra);
    }
    fit_record good(long long line) const {
        fit_record record = tools::record_without_fit(line, fit_state::fitted, "", 1);
        record.figures[0] = 1.0;
        record.values.assign(5, 4.0);
        record.errors.assign(5, 0.1);
        return record;
    }
    // Lines of all that wait for nothing now.
    std::vector<long long> all_now() {
        std::vector<long long> found;
        running_.clear();
        while (const std::optional<fit_task> task = order_->next()) {
            running_.push_back(*task);
            found.push_back(task->line());
        }
        return found;
    }
    // The line of the neighbour, -1 without.
    static long long neighbour_of(const fit_task &task) {
        return task.neighbour == nullptr ? -1 : task.neighbour->line;
    }
    typedef std::vector<long long> list;

    support::temporary_folder place_;
    tools::batch_plan plan_;
    std::set<std::size_t> states_; // of zeros
    std::unique_ptr<tools::plan_lines> lines_;
    std::unique_ptr<tools::shard_journal> journal_;
    std::unique_ptr<tools::fit_order> order_;
    std::vector<fit_task> running_;
};

} // namespace

TEST_F(fit_order, waits_for_the_waves_before_of_its_block_and_for_no_other_block) {
    begin({{{8, 0}, {7, 1}, {9, 1}, {6, 2}}, {{24, 0}, {23, 1}}});
    EXPECT_EQ(all_now(), (list{0, 4}));
    order_->finish(running_[0], good(0));
    const fit_task other = running_[1];
    EXPECT_EQ(all_now(), (list{1, 2}));
    order_->finish(running_[0], good(1));
    const fit_task late = running_[1];
    EXPECT_EQ(all_now(), list{}) << "one of wave 1 is at work";
    order_->finish(other, good(4));
    EXPECT_EQ(all_now(), list{5});
    order_->finish(late, good(2));
    EXPECT_EQ(all_now(), list{3});
}

TEST_F(fit_order, a_spectrum_starts_from_the_nearest_of_the_waves_before) {
    begin({{{8, 0}, {5, 1}, {11, 1}, {4, 2}, {12, 2}, {7, 2}}});
    for (const long long wave : {0, 1})
        for (const long long line : all_now()) {
            static_cast<void>(wave);
            order_->finish(running_[static_cast<std::size_t>(line == 2 ? 1 : 0)], good(line));
        }
    EXPECT_EQ(all_now(), (list{3, 4, 5}));
    EXPECT_EQ(neighbour_of(running_[0]), 1); // 4 is next to 5
    EXPECT_EQ(neighbour_of(running_[1]), 2); // 12 to 11
    EXPECT_EQ(neighbour_of(running_[2]), 0); // 7 to 8
}

TEST_F(fit_order, of_two_as_near_the_earlier_one_is_taken) {
    begin({{{6, 0}, {10, 0}, {8, 1}}});
    EXPECT_EQ(all_now(), (list{0, 1}));
    for (const fit_task &task : std::vector<fit_task>(running_))
        order_->finish(task, good(task.line()));
    EXPECT_EQ(all_now(), list{2});
    EXPECT_EQ(neighbour_of(running_[0]), 0);
}

// Whichever of a wave ends first, the others have the same neighbour.
TEST_F(fit_order, those_of_the_same_wave_are_no_neighbours) {
    begin({{{8, 0}, {20, 1}, {21, 1}}});
    EXPECT_EQ(all_now(), list{0});
    order_->finish(running_[0], good(0));
    const std::optional<fit_task> first = order_->next();
    ASSERT_TRUE(first);
    order_->finish(*first, good(1));
    const std::optional<fit_task> second = order_->next();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->line(), 2);
    EXPECT_EQ(neighbour_of(*second), 0) << "though 20 is next to 21 and done";
}

TEST_F(fit_order, a_fit_that_went_wrong_is_nobodys_neighbour) {
    begin({{{8, 0}, {9, 1}, {10, 2}}});
    all_now();
    order_->finish(running_[0], good(0));
    all_now();
    order_->finish(running_[0], tools::record_without_fit(1, fit_state::failed, "no end", 1));
    all_now();
    EXPECT_EQ(neighbour_of(running_[0]), 0);
}

TEST_F(fit_order, spectra_without_points_to_fit_go_into_the_journal_on_the_way) {
    states_ = {0, 2};
    begin({{{8, 0}, {7, 1}, {9, 1}}});
    EXPECT_EQ(all_now(), list{1}) << "nothing of wave 0 is left to wait for";
    EXPECT_EQ(neighbour_of(running_[0]), -1);
    for (const long long line : {0, 2}) {
        ASSERT_TRUE(journal_->has(line));
        EXPECT_EQ(journal_->read(line).state, fit_state::not_tried);
    }
    EXPECT_FALSE(journal_->has(1));
}

TEST_F(fit_order, what_the_journal_has_is_not_fitted_again_and_is_a_neighbour) {
    for (const bool neighbours : {true, false}) {
        begin({{{8, 0}, {7, 1}}}, neighbours);
        if (!journal_->has(0)) journal_->add(good(0), {});
        EXPECT_EQ(all_now(), list{1});
        EXPECT_EQ(neighbour_of(running_[0]), neighbours ? 0 : -1);
    }
}

TEST_F(fit_order, without_neighbours_all_lines_wait_for_nothing) {
    begin({{{8, 0}, {7, 1}, {9, 1}}, {{24, 0}, {23, 1}}}, false);
    EXPECT_EQ(all_now(), (list{0, 1, 2, 3, 4}));
    for (const fit_task &task : running_) EXPECT_EQ(task.neighbour, nullptr);
}
