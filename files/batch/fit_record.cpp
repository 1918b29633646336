// SPDX-License-Identifier: BSD-3-Clause
// fit_record.cpp -- what is kept of a fit: a record of fixed size, with a check sum
#include "files/batch/fit_record.h"

#include "files/base/plain_text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tools {

static constexpr std::uint32_t record_mark = 0x4d425256; // "VRBM"
static constexpr std::size_t longest_reason = 240, longest_cause = 80;
static constexpr std::size_t cause_size = 4 + 8 + longest_cause;
static constexpr std::size_t fixed_size = 4 + 4 + 8 + 5 * 4 + 8 + 9 * 8 + longest_reason + 4 * 4 +
                                          2 * 8 + exact_facts::most_causes * cause_size;
// Far above what a fit tries.
static constexpr std::int32_t most_starts = 10000;
static constexpr auto last_verdict = static_cast<std::int32_t>(engine::finding::optimum);

std::size_t record_size(const record_shape &shape) {
    return fixed_size + shape.entries + (11 * shape.entries + shape.correlations) * sizeof(double);
}

std::uint64_t check_sum(const char *bytes, std::size_t count) {
    std::uint64_t sum = 0xcbf29ce484222325ULL;
    for (std::size_t i = 0; i < count; ++i)
        sum = (sum ^ static_cast<unsigned char>(bytes[i])) * 0x100000001b3ULL;
    return sum;
}

// The check sum stands at byte 36 and counts as 0 in itself.
static constexpr std::size_t sum_at = 36;

template <class T>
static void put(std::string &bytes, std::size_t &at, const T &value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
    at += sizeof value;
}

template <class T>
static void get(const char *bytes, std::size_t &at, T &value) {
    std::memcpy(&value, bytes + at, sizeof value);
    at += sizeof value;
}

// Cut at whole characters when it is too long.
static void put_text(std::string &bytes, std::size_t &at, const std::string &text,
                     std::size_t longest) {
    std::size_t kept = std::min(text.size(), longest);
    while (kept > 0 && kept < text.size() &&
           (static_cast<unsigned char>(text[kept]) & 0xc0U) == 0x80U)
        --kept;
    std::memcpy(bytes.data() + at, text.data(), kept);
    at += longest;
}

static std::string get_text(const char *bytes, std::size_t &at, std::size_t longest) {
    std::string text = shown_text({bytes + at, strnlen(bytes + at, longest)});
    for (char &c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    at += longest;
    return text;
}

// A verdict as its number; -1 for another word.
static std::int32_t verdict_number(const std::string &name) {
    for (std::int32_t k = 0; k <= last_verdict; ++k)
        if (name == engine::name_of(static_cast<engine::finding>(k))) return k;
    return -1;
}

// Which entries a reason names stands with the entries: a bit for each reason.
static void put_exact(std::string &bytes, std::size_t &at, const std::optional<exact_facts> &own,
                      std::size_t entries) {
    exact_facts facts = own.value_or(exact_facts());
    if (!own) facts.method = fit_method::classic;
    put(bytes, at, static_cast<std::int32_t>(facts.method));
    put(bytes, at, static_cast<std::int32_t>(facts.verdict));
    put(bytes, at, facts.starts);
    put(bytes, at, facts.expected_decrease);
    put(bytes, at, facts.search_distance);
    facts.reasons.resize(std::min(facts.reasons.size(), exact_facts::most_causes));
    put(bytes, at, static_cast<std::int32_t>(facts.reasons.size()));
    std::vector<std::uint8_t> named(entries, 0);
    for (std::size_t c = 0; c < exact_facts::most_causes; ++c) {
        if (c >= facts.reasons.size()) {
            at += cause_size;
            continue;
        }
        const optimum_record::cause &cause = facts.reasons[c];
        put(bytes, at, verdict_number(cause.what));
        put(bytes, at, cause.number);
        put_text(bytes, at, cause.text, longest_cause);
        for (const int entry : cause.entries)
            named[static_cast<std::size_t>(entry - 1)] |= static_cast<std::uint8_t>(1U << c);
    }
    for (const std::uint8_t bits : named) put(bytes, at, bits);
}

static bool get_causes(const char *bytes, std::size_t &at, std::size_t entries,
                       std::vector<optimum_record::cause> &causes) {
    std::int32_t count = 0;
    get(bytes, at, count);
    if (count < 0 || count > static_cast<std::int32_t>(exact_facts::most_causes)) return false;
    const std::size_t behind = at + exact_facts::most_causes * cause_size;
    causes.resize(static_cast<std::size_t>(count));
    for (optimum_record::cause &cause : causes) {
        std::int32_t what = 0;
        get(bytes, at, what);
        get(bytes, at, cause.number);
        if (what < 0 || what >= last_verdict) return false;
        cause.what = engine::name_of(static_cast<engine::finding>(what));
        cause.text = get_text(bytes, at, longest_cause);
    }
    at = behind;
    for (std::size_t k = 0; k < entries; ++k) {
        std::uint8_t bits = 0;
        get(bytes, at, bits);
        if (bits >> count != 0) return false;
        for (std::size_t c = 0; c < causes.size(); ++c)
            if ((bits >> c & 1U) != 0) causes[c].entries.push_back(static_cast<int>(k) + 1);
    }
    return true;
}

static bool get_exact(const char *bytes, std::size_t &at, std::optional<exact_facts> &own,
                      std::size_t entries) {
    std::int32_t method = 0, verdict = 0;
    exact_facts facts;
    get(bytes, at, method);
    get(bytes, at, verdict);
    get(bytes, at, facts.starts);
    get(bytes, at, facts.expected_decrease);
    get(bytes, at, facts.search_distance);
    if (!get_causes(bytes, at, entries, facts.reasons)) return false;
    if (method < static_cast<std::int32_t>(fit_method::classic) ||
        method > static_cast<std::int32_t>(fit_method::both) || verdict < 0 ||
        verdict > last_verdict || facts.starts < 0 || facts.starts > most_starts)
        return false;
    facts.method = static_cast<fit_method>(method);
    facts.verdict = static_cast<engine::finding>(verdict);
    own.reset();
    if (facts.method != fit_method::classic) own = std::move(facts);
    return true;
}

std::string record_bytes(const fit_record &record, const record_shape &shape) {
    const std::size_t entries = shape.entries;
    std::string bytes(record_size(shape), '\0');
    std::size_t at = 0;
    put(bytes, at, record_mark);
    put(bytes, at, static_cast<std::uint32_t>(entries));
    put(bytes, at, static_cast<std::int64_t>(record.line));
    put(bytes, at, static_cast<std::int32_t>(record.state));
    put(bytes, at, record.iterations);
    put(bytes, at, record.weighting);
    put(bytes, at, record.free_parameters);
    put(bytes, at, record.gradients);
    at += 8; // check sum
    for (const double figure : record.figures) put(bytes, at, figure);
    put(bytes, at, record.quality_before);
    put(bytes, at, record.snr);
    put_text(bytes, at, record.reason, longest_reason);
    put_exact(bytes, at, record.exact, entries);
    for (const std::vector<double> *const list : {&record.values, &record.errors})
        for (std::size_t i = 0; i < 5 * entries; ++i) put(bytes, at, (*list)[i]);
    for (std::size_t k = 0; k < entries; ++k) put(bytes, at, record.entry_snr[k]);
    for (std::size_t i = 0; i < shape.correlations; ++i)
        put(bytes, at, record.correlations.empty() ? not_known : record.correlations[i]);
    const std::uint64_t sum = check_sum(bytes.data(), bytes.size());
    std::memcpy(bytes.data() + sum_at, &sum, sizeof sum);
    return bytes;
}

// None of them is a number where they are not known.
static bool get_correlations(const char *bytes, std::size_t &at, std::size_t count,
                             std::vector<double> &correlations) {
    correlations.resize(count);
    std::size_t known = 0, inside = 0;
    for (double &r : correlations) {
        get(bytes, at, r);
        known += std::isnan(r) ? 0U : 1U;
        inside += r >= -1.0 && r <= 1.0 ? 1U : 0U;
    }
    if (known == 0) correlations.clear();
    return inside == correlations.size();
}

bool read_record(const char *bytes, const record_shape &shape, fit_record &record) {
    const std::size_t entries = shape.entries;
    std::string copy(bytes, record_size(shape));
    std::uint64_t sum = 0;
    std::memcpy(&sum, bytes + sum_at, sizeof sum);
    std::memset(copy.data() + sum_at, 0, sizeof sum);
    std::size_t at = 0;
    std::uint32_t mark = 0, count = 0;
    get(bytes, at, mark);
    get(bytes, at, count);
    if (mark != record_mark || count != entries || check_sum(copy.data(), copy.size()) != sum)
        return false;
    std::int64_t line = 0;
    std::int32_t state = 0;
    get(bytes, at, line);
    get(bytes, at, state);
    record.line = line;
    record.state = static_cast<fit_state>(state);
    get(bytes, at, record.iterations);
    get(bytes, at, record.weighting);
    get(bytes, at, record.free_parameters);
    get(bytes, at, record.gradients);
    if (state < static_cast<std::int32_t>(fit_state::fitted) ||
        state > static_cast<std::int32_t>(fit_state::withdrawn) || record.iterations < 0 ||
        record.free_parameters < 0 || record.gradients < 0)
        return false;
    at += 8;
    for (double &figure : record.figures) get(bytes, at, figure);
    get(bytes, at, record.quality_before);
    get(bytes, at, record.snr);
    record.reason = get_text(bytes, at, longest_reason);
    if (!get_exact(bytes, at, record.exact, entries)) return false;
    for (std::vector<double> *const list : {&record.values, &record.errors}) {
        list->resize(5 * entries);
        for (double &value : *list) get(bytes, at, value);
    }
    record.entry_snr.resize(entries);
    for (double &value : record.entry_snr) get(bytes, at, value);
    return get_correlations(bytes, at, shape.correlations, record.correlations);
}

bool has_failure(const fit_record &record) {
    return record.state == fit_state::failed ||
           (record.state == fit_state::fitted &&
            (record.reason.starts_with(no_search) || record.reason.starts_with(no_exact_fit) ||
             record.reason.starts_with(no_other_start)));
}

fit_record record_without_fit(long long line, fit_state state, const std::string &reason,
                              std::size_t entries) {
    fit_record record;
    record.line = line;
    record.state = state;
    record.reason = reason;
    record.figures.fill(not_known);
    record.values.assign(5 * entries, not_known);
    record.errors.assign(5 * entries, not_known);
    record.entry_snr.assign(entries, not_known);
    return record;
}

} // namespace tools
