// SPDX-License-Identifier: BSD-3-Clause
// test_fit_record.cpp -- a record of a batch, there and back, and what is no record
#include "files/batch/fit_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using tools::exact_facts;
using tools::fit_record;
using tools::fit_state;

static constexpr std::size_t entries = 3;
static constexpr tools::record_shape shape = {entries, 6}; // of four free parameters

static fit_record exact_record() {
    fit_record record;
    record.line = 1234567890123LL;
    record.state = fit_state::fitted;
    record.iterations = 17;
    record.weighting = 1;
    record.free_parameters = 9;
    record.figures = {1.02, 0.5, 0.6, 1e5, 1e3, 1e3, 1.01};
    record.quality_before = 3.5;
    record.snr = 42.0;
    record.reason = "one remark | another";
    for (std::size_t i = 0; i < 5 * entries; ++i) {
        record.values.push_back(0.1 * static_cast<double>(i));
        record.errors.push_back(1e-3 * static_cast<double>(i));
    }
    record.entry_snr = {3.0, 2.0, 1.0};
    record.correlations = {0.1, -0.2, 1.0, 0.0, -1.0, 0.999999999};
    exact_facts facts;
    facts.method = tools::fit_method::both;
    facts.verdict = engine::finding::moved;
    facts.starts = 5;
    facts.expected_decrease = 1e-7;
    facts.search_distance = 2.5;
    facts.reasons = {{"moved", 2.0, {1, 3}, "lines that changed places"},
                     {"misfit", 1.7, {}, "the residual is larger than the noise"},
                     {"at_bound", 1.0, {3}, "parameters at the edge of their window"}};
    record.exact = facts;
    return record;
}

static fit_record read_back(const fit_record &record) {
    const std::string bytes = tools::record_bytes(record, shape);
    EXPECT_EQ(bytes.size(), tools::record_size(shape));
    fit_record back;
    EXPECT_TRUE(tools::read_record(bytes.data(), shape, back));
    return back;
}

TEST(fit_record, an_exact_fit_comes_back_with_its_verdict_and_the_entries_it_names) {
    const fit_record record = exact_record(), back = read_back(record);
    EXPECT_EQ(back.line, record.line);
    EXPECT_EQ(back.state, record.state);
    EXPECT_EQ(back.iterations, 17);
    EXPECT_EQ(back.free_parameters, 9);
    EXPECT_EQ(back.figures, record.figures);
    EXPECT_EQ(back.quality_before, 3.5);
    EXPECT_EQ(back.reason, record.reason);
    EXPECT_EQ(back.values, record.values);
    EXPECT_EQ(back.errors, record.errors);
    EXPECT_EQ(back.entry_snr, record.entry_snr);
    EXPECT_EQ(back.correlations, record.correlations);
    ASSERT_TRUE(back.exact);
    EXPECT_EQ(back.exact->method, tools::fit_method::both);
    EXPECT_EQ(back.exact->verdict, engine::finding::moved);
    EXPECT_EQ(back.exact->starts, 5);
    EXPECT_EQ(back.exact->expected_decrease, 1e-7);
    EXPECT_EQ(back.exact->search_distance, 2.5);
    ASSERT_EQ(back.exact->reasons.size(), 3U);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(back.exact->reasons[c].what, record.exact->reasons[c].what);
        EXPECT_EQ(back.exact->reasons[c].number, record.exact->reasons[c].number);
        EXPECT_EQ(back.exact->reasons[c].entries, record.exact->reasons[c].entries);
        EXPECT_EQ(back.exact->reasons[c].text, record.exact->reasons[c].text);
    }
}

TEST(fit_record, a_search_alone_comes_back_without_a_verdict) {
    fit_record record = exact_record();
    record.exact.reset();
    EXPECT_FALSE(read_back(record).exact);
}

TEST(fit_record, correlations_that_are_not_known_come_back_as_none) {
    fit_record record = exact_record();
    record.correlations.clear();
    EXPECT_TRUE(read_back(record).correlations.empty());
}

TEST(fit_record, every_sentence_of_the_verdict_fits) {
    // the longest that the engine says
    const std::string longest = "parameters that cannot be told apart, or of lines without area";
    fit_record record = exact_record();
    record.exact->reasons.assign(exact_facts::most_causes, {"degenerate", 3.0, {1, 2, 3}, longest});
    const fit_record back = read_back(record);
    ASSERT_TRUE(back.exact);
    ASSERT_EQ(back.exact->reasons.size(), exact_facts::most_causes);
    for (const auto &cause : back.exact->reasons) {
        EXPECT_EQ(cause.text, longest);
        EXPECT_EQ(cause.entries, (std::vector<int>{1, 2, 3}));
    }
    record.exact->reasons.push_back({"misfit", 1.0, {}, "one too many"});
    EXPECT_EQ(read_back(record).exact->reasons.size(), exact_facts::most_causes);
}

TEST(fit_record, a_text_that_is_too_long_ends_at_a_whole_character) {
    fit_record record = exact_record();
    record.reason = "x";
    while (record.reason.size() < 400) record.reason += "\xc3\xa4"; // two bytes
    const std::string back = read_back(record).reason;
    EXPECT_EQ(back.size(), 239U); // of 240 bytes
    EXPECT_EQ(back, record.reason.substr(0, 239));
}

TEST(fit_record, any_changed_bit_is_noticed) {
    const std::string bytes = tools::record_bytes(exact_record(), shape);
    fit_record back;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
        EXPECT_FALSE(tools::read_record(changed.data(), shape, back)) << at;
    }
    EXPECT_FALSE(tools::read_record(std::string(bytes.size(), '\0').data(), shape, back));
}

// With a check sum that is right: what a fit cannot have is refused all the same.
TEST(fit_record, numbers_that_no_fit_has_are_refused) {
    const auto is_read = [](const fit_record &record) {
        fit_record back;
        return tools::read_record(tools::record_bytes(record, shape).data(), shape, back);
    };
    fit_record record = exact_record();
    record.state = static_cast<fit_state>(5);
    EXPECT_FALSE(is_read(record));
    record.state = static_cast<fit_state>(-1000);
    EXPECT_FALSE(is_read(record));
    record = exact_record();
    record.iterations = -1;
    EXPECT_FALSE(is_read(record));
    for (const double r : {1.0000001, -2.0, HUGE_VAL, std::nan("")}) {
        record = exact_record();
        record.correlations[3] = r;
        EXPECT_FALSE(is_read(record)) << r;
    }
    for (const int starts : {-1, 10001, 1 << 30}) {
        record = exact_record();
        record.exact->starts = starts;
        EXPECT_FALSE(is_read(record)) << starts;
    }
    for (const int method : {-1, 3}) {
        record = exact_record();
        record.exact->method = static_cast<tools::fit_method>(method);
        EXPECT_FALSE(is_read(record)) << method;
    }
    for (const int verdict : {-1, 8}) {
        record = exact_record();
        record.exact->verdict = static_cast<engine::finding>(verdict);
        EXPECT_FALSE(is_read(record)) << verdict;
    }
    for (const char *const what : {"optimum", "nothing"}) { // no reasons
        record = exact_record();
        record.exact->reasons[1].what = what;
        EXPECT_FALSE(is_read(record)) << what;
    }
}
