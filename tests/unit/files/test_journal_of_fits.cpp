// SPDX-License-Identifier: BSD-3-Clause
// What a shard knows of its fits when it goes on, and what it leaves when it is done.
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/shard_journal.h"
#include "files/batch/shard_lock.h"
#include "support/refusal.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr long long first = 1, stop = 6;

class journal_of_fits : public testing::Test {
  protected:
    journal_of_fits() {
        plan_.id = std::string(tools::shard_head_size, 'a');
        plan_.points = 4;
        plan_.keep = 2;
        plan_.spectra = 8;
        plan_.records = {1, 0};
        plan_.start.entries.resize(1);
    }

    tools::fit_record fit(long long line, double quality) const {
        tools::fit_record record = tools::record_without_fit(line, tools::fit_state::fitted, "", 1);
        record.figures[0] = quality;
        return record;
    }
    // Points that tell whose curve it is.
    std::string curve(long long line) const {
        return std::string(8 * 4, static_cast<char>('A' + line));
    }
    void add(tools::shard_journal &journal, long long line, double quality) const {
        journal.add(fit(line, quality), curve(line));
    }
    std::string file(const char *ending) const { return stem_ + ending; }
    std::string journal_bytes() const { return support::read_file(file(".journal")); }
    // A shard of five fits, and what its marker says.
    tools::finished_shard finished() const {
        {
            tools::shard_journal journal(plan_, stem_, first, stop);
            for (const long long line : {5, 2, 4, 1, 3})
                add(journal, line, 1.0 + 0.1 * static_cast<double>(line));
            journal.finish();
        }
        tools::finished_shard done;
        done.stem = stem_;
        done.first = first;
        done.stop = stop;
        done.part_sha256 = tools::sha256_of_file(file(".part"));
        done.curves_sha256 = tools::sha256_of_file(file(".curves"));
        return done;
    }
    support::temporary_folder place_;
    tools::batch_plan plan_;
    std::string stem_ = place_.file("0000_of_0001");
};

} // namespace

TEST_F(journal_of_fits, goes_on_where_the_one_before_ended) {
    {
        tools::shard_journal journal(plan_, stem_, first, stop);
        add(journal, 4, 1.5);
        add(journal, 2, 1.2);
        add(journal, 4, 1.7); // again: the later one counts, once
        EXPECT_EQ(journal.finished(), 2);
        EXPECT_EQ(journal.read(4).figures[0], 1.7);
    }
    const tools::shard_journal journal(plan_, stem_, first, stop);
    EXPECT_EQ(journal.finished(), 2);
    EXPECT_FALSE(journal.has(1) || journal.has(3) || journal.has(5));
    EXPECT_EQ(journal.read(4).figures[0], 1.7);
    EXPECT_EQ(journal.read(2).figures[0], 1.2);
}

TEST_F(journal_of_fits, a_torn_end_is_cut_off_at_every_length) {
    const std::size_t size = tools::record_size(plan_.records);
    {
        tools::shard_journal journal(plan_, stem_, first, stop);
        add(journal, 1, 1.5);
        add(journal, 3, 1.5);
    }
    const std::string whole = journal_bytes();
    ASSERT_EQ(whole.size(), tools::shard_head_size + 2 * size);
    for (std::size_t kept = 0; kept <= whole.size(); kept += 7) {
        support::write_file(file(".journal"), whole.substr(0, kept));
        const tools::shard_journal journal(plan_, stem_, first, stop);
        const std::size_t records =
            kept < tools::shard_head_size ? 0 : (kept - tools::shard_head_size) / size;
        EXPECT_EQ(journal.finished(), static_cast<long long>(records)) << kept;
        EXPECT_EQ(journal_bytes().size(), tools::shard_head_size + records * size) << kept;
    }
    std::string changed = whole;
    changed[tools::shard_head_size + size / 2] ^= 1; // nothing behind it is taken on trust
    support::write_file(file(".journal"), changed);
    EXPECT_EQ(tools::shard_journal(plan_, stem_, first, stop).finished(), 0);
}

TEST_F(journal_of_fits, lines_of_other_shards_are_not_taken) {
    for (const long long line : {first - 1, stop}) {
        {
            tools::shard_journal wide(plan_, stem_, 0, 8);
            add(wide, line, 1.0);
        }
        EXPECT_EQ(tools::shard_journal(plan_, stem_, first, stop).finished(), 0) << line;
        EXPECT_EQ(journal_bytes().size(), tools::shard_head_size) << line;
    }
}

TEST_F(journal_of_fits, of_another_plan_is_refused_and_stays) {
    { tools::shard_journal(plan_, stem_, first, stop); }
    const std::string before = journal_bytes();
    plan_.id[63] = 'b';
    EXPECT_NE(support::refusal_of(tools::bad_input,
                                  [&] { tools::shard_journal(plan_, stem_, first, stop); })
                  .find("belongs to another plan"),
              std::string::npos);
    EXPECT_EQ(journal_bytes(), before);
}

TEST_F(journal_of_fits, keeps_the_curves_of_the_worst_fits) {
    tools::shard_journal journal(plan_, stem_, first, stop);
    add(journal, 4, 1.2);
    add(journal, 2, 1.5);
    EXPECT_TRUE(journal.wants_curve(1.2)); // may come from an earlier line, which is worse
    EXPECT_FALSE(journal.wants_curve(1.19));
    EXPECT_FALSE(journal.wants_curve(std::numeric_limits<double>::quiet_NaN()));
    add(journal, 3, 1.2); // pushes line 4 out
    add(journal, 1, 1.1);
    add(journal, 5, 1.2); // is no worse than line 3
    journal.finish();
    const std::string curves = support::read_file(file(".curves"));
    const auto size = static_cast<std::size_t>(tools::curve_size(plan_));
    ASSERT_EQ(curves.size(), 2 * size);
    for (const std::size_t at : {0U, 1U}) {
        tools::curve_head head{};
        ASSERT_TRUE(tools::read_curve(plan_, curves.substr(at * size, size), head));
        EXPECT_EQ(head.line, at == 0 ? 2 : 3);
        EXPECT_EQ(curves.substr(at * size + sizeof head, 32), curve(head.line));
    }
}

TEST_F(journal_of_fits, what_is_withdrawn_stays_so) {
    {
        tools::shard_journal journal(plan_, stem_, first, stop);
        add(journal, 1, 1.5);
        add(journal, 3, 1.4);
        journal.withdraw({3, 5}); // the second has no fit
        EXPECT_FALSE(journal.has(3));
        EXPECT_EQ(journal.finished(), 1);
    }
    tools::shard_journal journal(plan_, stem_, first, stop);
    EXPECT_EQ(journal.finished(), 1);
    EXPECT_TRUE(journal.has(1));
    EXPECT_FALSE(journal.has(3));
    add(journal, 3, 1.3);
    EXPECT_EQ(journal.finished(), 2);
    EXPECT_EQ(journal.read(3).figures[0], 1.3);
}

// The curve of a good fit is not kept beside worse ones; when those are withdrawn it is one of the
// worst, and without a curve it has to be done again.
TEST_F(journal_of_fits, a_fit_whose_curve_would_be_kept_now_is_done_again) {
    plan_.keep = 1;
    tools::shard_journal journal(plan_, stem_, first, stop);
    add(journal, 1, 2.0);
    add(journal, 2, 1.0);
    journal.withdraw({1});
    EXPECT_FALSE(journal.has(2));
    EXPECT_EQ(journal.finished(), 0);
}

TEST_F(journal_of_fits, a_finished_shard_has_its_records_in_the_order_of_the_manifest) {
    const tools::finished_shard done = finished();
    EXPECT_FALSE(fs::exists(file(".journal")));
    EXPECT_FALSE(fs::exists(file(".fitted")));
    EXPECT_NO_THROW(tools::check_part(plan_, done));
    tools::part_reader part(plan_, done);
    for (long long line = first; line < stop; ++line)
        EXPECT_NEAR(part.read(line).figures[0], 1.0 + 0.1 * static_cast<double>(line), 1e-15);
    for (const long long other : {first - 1, stop})
        EXPECT_NE(
            support::refusal_of(tools::bad_input, [&] { part.read(other); }).find("has no line"),
            std::string::npos);
    const std::string marker = support::read_file(file(".done"));
    for (const char *said :
         {"\"first\":1", "\"stop\":6", "\"fitted\":5", "\"failed\":0", "\"not_tried\":0"})
        EXPECT_NE(marker.find(said), std::string::npos) << marker;
    EXPECT_NE(marker.find(done.part_sha256), std::string::npos);
    EXPECT_NE(marker.find(done.curves_sha256), std::string::npos);
}

TEST_F(journal_of_fits, a_part_or_curves_that_were_changed_are_refused) {
    const tools::finished_shard done = finished();
    for (const char *const ending : {".part", ".curves"}) {
        const std::string whole = support::read_file(file(ending));
        std::string changed = whole;
        changed.back() ^= 1;
        for (const std::string &bytes : {changed, whole + '\0', whole.substr(1), std::string()}) {
            support::write_file(file(ending), bytes);
            EXPECT_NE(support::refusal_of(tools::bad_input, [&] { tools::check_part(plan_, done); })
                          .find("missing or damaged"),
                      std::string::npos)
                << ending << " " << bytes.size();
        }
        fs::remove(file(ending));
        EXPECT_NE(support::refusal_of(tools::bad_input, [&] { tools::check_part(plan_, done); }),
                  "no error");
        support::write_file(file(ending), whole);
    }
    EXPECT_NO_THROW(tools::check_part(plan_, done));
    plan_.id[0] = 'b';
    EXPECT_NE(support::refusal_of(tools::bad_input, [&] { tools::part_reader(plan_, done); })
                  .find("of another plan"),
              std::string::npos);
}

TEST_F(journal_of_fits, takes_over_what_a_finished_shard_holds) {
    const tools::finished_shard done = finished();
    const std::string curves = support::read_file(file(".curves"));
    tools::shard_journal journal(plan_, stem_, first, stop);
    add(journal, 2, 9.0); // a fit of its own stays
    journal.take_part(done);
    EXPECT_EQ(journal.finished(), 5);
    EXPECT_EQ(journal.read(2).figures[0], 9.0);
    EXPECT_NEAR(journal.read(5).figures[0], 1.5, 1e-15);
    journal.finish();
    const std::string both = support::read_file(file(".curves"));
    EXPECT_NE(both.find(curve(2)), std::string::npos);
    EXPECT_NE(both.find(curve(5)), std::string::npos);
    EXPECT_EQ(both.find(curve(4)), std::string::npos);
    EXPECT_NE(curves.find(curve(4)), std::string::npos); // which had been among the worst
}

TEST_F(journal_of_fits, one_process_at_a_time_has_the_lock_and_says_who) {
    const std::string name = file(".lock");
    {
        tools::shard_lock lock(stem_);
        EXPECT_FALSE(lock.before());
        lock.note_scratch("/tmp/fits");
        const auto note = tools::read_lock_note(name);
        ASSERT_TRUE(note);
        EXPECT_EQ(note->scratch, "/tmp/fits");
        const std::string said =
            support::refusal_of(tools::bad_output, [&] { tools::shard_lock second(stem_); });
        EXPECT_NE(said.find("another process works on this shard: " +
                            std::to_string(note->process) + " on " + note->machine),
                  std::string::npos)
            << said;
        support::write_file(place_.file("left"), support::read_file(name));
    }
    EXPECT_FALSE(fs::exists(name));
    // what a killed process left is known as ours; in a copy of the folder it is not
    fs::copy_file(place_.file("left"), name);
    {
        const tools::shard_lock lock(stem_);
        EXPECT_TRUE(lock.before_is_ours());
        EXPECT_EQ(lock.before()->scratch, "/tmp/fits");
    }
    const support::temporary_folder other;
    fs::copy_file(place_.file("left"), other.file("0000_of_0001.lock"));
    const tools::shard_lock lock(other.file("0000_of_0001"));
    EXPECT_TRUE(lock.before());
    EXPECT_FALSE(lock.before_is_ours());
}

TEST_F(journal_of_fits, a_lock_that_is_a_link_is_refused_and_its_target_stays) {
    support::write_file(place_.file("mine"), "my text\n");
    fs::create_symlink(place_.file("mine"), file(".lock"));
    EXPECT_NE(support::refusal_of(tools::bad_output, [&] { tools::shard_lock lock(stem_); })
                  .find("cannot be written"),
              std::string::npos);
    EXPECT_EQ(support::read_file(place_.file("mine")), "my text\n");
}

TEST_F(journal_of_fits, a_note_that_is_none_says_nothing) {
    for (const char *const text :
         {"", "{}", "no json", "[1]", "{\"machine\":\"m\"}",
          "{\"machine\":\"m\",\"process\":-1,\"started\":1,\"shards\":\"1:2\",\"scratch\":\"\"}",
          "{\"machine\":\"m\",\"process\":1.5,\"started\":1,\"shards\":\"1:2\",\"scratch\":\"\"}",
          "{\"machine\":\"m\\u001b[2J\",\"process\":1,\"started\":1,\"shards\":\"1:2\","
          "\"scratch\":\"\"}"}) {
        support::write_file(file(".lock"), text);
        EXPECT_FALSE(tools::read_lock_note(file(".lock"))) << text;
        EXPECT_FALSE(tools::shard_lock(stem_).before()) << text;
    }
}
