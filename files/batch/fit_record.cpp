// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/fit_record.h"

#include "files/base/plain_text.h"

#include <algorithm>
#include <cstring>

namespace tools {

static constexpr std::uint32_t record_mark = 0x4b425256; // "VRBK"
static constexpr std::size_t longest_reason = 240;
static constexpr std::size_t fixed_size = 4 + 4 + 8 + 5 * 4 + 8 + 9 * 8 + longest_reason;

std::size_t record_size(std::size_t entries) {
    return fixed_size + 11 * entries * sizeof(double);
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

std::string record_bytes(const fit_record &record, std::size_t entries) {
    std::string bytes(record_size(entries), '\0');
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
    std::size_t kept = std::min(record.reason.size(), longest_reason);
    while (kept > 0 && kept < record.reason.size() &&
           (static_cast<unsigned char>(record.reason[kept]) & 0xc0U) == 0x80U)
        --kept; // whole characters
    std::memcpy(bytes.data() + at, record.reason.data(), kept);
    at += longest_reason;
    for (const std::vector<double> *const list : {&record.values, &record.errors})
        for (std::size_t i = 0; i < 5 * entries; ++i) put(bytes, at, (*list)[i]);
    for (std::size_t k = 0; k < entries; ++k) put(bytes, at, record.entry_snr[k]);
    const std::uint64_t sum = check_sum(bytes.data(), bytes.size());
    std::memcpy(bytes.data() + sum_at, &sum, sizeof sum);
    return bytes;
}

bool read_record(const char *bytes, std::size_t entries, fit_record &record) {
    std::string copy(bytes, record_size(entries));
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
    record.reason = shown_text({bytes + at, strnlen(bytes + at, longest_reason)});
    for (char &c : record.reason)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    at += longest_reason;
    for (std::vector<double> *const list : {&record.values, &record.errors}) {
        list->resize(5 * entries);
        for (double &value : *list) get(bytes, at, value);
    }
    record.entry_snr.resize(entries);
    for (double &value : record.entry_snr) get(bytes, at, value);
    return true;
}

fit_record record_without_fit(long long line, fit_state state, const std::string &reason,
                              std::size_t entries) {
    fit_record record;
    record.line = line;
    record.state = state;
    record.reason = reason;
    record.figures.fill(not_measured);
    record.values.assign(5 * entries, not_measured);
    record.errors.assign(5 * entries, not_measured);
    record.entry_snr.assign(entries, not_measured);
    return record;
}

} // namespace tools
