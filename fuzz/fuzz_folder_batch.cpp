// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_batch.cpp -- a batch folder that somebody changed
//
// The bytes are edits of a small folder as varokel-batch leaves it: four spectra in two blocks, the
// first shard done, the second at work. An edit replaces an item of a JSON, a number of a line, of
// a record or of a curve, cuts, writes over or appends to a file, or renames a shard. Digests and
// check sums are then made to fit, each unless a bit says otherwise, so that the edit gets past
// them. What the readers let pass is within its bounds.
#include "batch_folder.h"

#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_lines.h"
#include "files/batch/shard_journal.h"
#include "files/batch/shard_lock.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;
using tools::ordered_json;

static void expect(bool so) {
    if (!so) std::abort();
}

// The edits, a byte at a time; zeros when there are no more.
class edit_bytes {
  public:
    edit_bytes(const std::uint8_t *data, std::size_t size) : data_(data), left_(size) {}
    bool more() const { return left_ > 0; }
    std::size_t next() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    std::size_t below(std::size_t count) { return count == 0 ? 0 : next() % count; }
    std::string raw(std::size_t most) {
        std::string bytes;
        for (std::size_t left = below(most); left > 0 && more(); --left)
            bytes += static_cast<char>(next());
        return bytes;
    }

  private:
    const std::uint8_t *data_;
    std::size_t left_;
};

static ordered_json hostile_value(edit_bytes &bytes) {
    static const std::vector<ordered_json> values = {nullptr,
                                                     true,
                                                     false,
                                                     0,
                                                     1,
                                                     2,
                                                     3,
                                                     4,
                                                     5,
                                                     -1,
                                                     -4,
                                                     65536,
                                                     1 << 30,
                                                     2305843009213693952LL,
                                                     9223372036854775807LL,
                                                     -9223372036854775807LL - 1,
                                                     18446744073709551615ULL,
                                                     1e300,
                                                     1e-300,
                                                     0.5,
                                                     -0.5,
                                                     "",
                                                     "same",
                                                     "exact",
                                                     "../../x",
                                                     "/etc/passwd",
                                                     "a\nb",
                                                     "\x7f",
                                                     "..",
                                                     ".",
                                                     "-x",
                                                     fuzz::digest("x"),
                                                     ordered_json::array(),
                                                     ordered_json::object(),
                                                     {1, 2, 3},
                                                     {{"name", "x"}},
                                                     "<script>",
                                                     "ä"};
    const std::size_t which = bytes.below(values.size() + 1);
    return which < values.size() ? values[which] : ordered_json(tools::shown_text(bytes.raw(16)));
}

// One value of a JSON, however deep, or the item itself.
static void edit_json(ordered_json &items, edit_bytes &bytes) {
    ordered_json *at = &items;
    while (at->is_structured() && !at->empty()) {
        auto member = at->begin();
        std::advance(member, static_cast<std::ptrdiff_t>(bytes.below(at->size())));
        const bool deeper = member->is_structured() && !member->empty() && bytes.below(2) == 0;
        if (deeper) {
            at = &*member;
        } else if (bytes.below(8) == 0) {
            at->erase(member);
            return;
        } else {
            *member = hostile_value(bytes);
            return;
        }
    }
}

// A number of a line of the manifest, or any of its bytes.
static void edit_line(std::string &line, edit_bytes &bytes) {
    static const char *const numbers[] = {"-1",
                                          "0",
                                          "1",
                                          "2",
                                          "3",
                                          "4",
                                          "99999999999999999999",
                                          "-9223372036854775808",
                                          "9223372036854775807",
                                          "2147483648",
                                          ""};
    const std::size_t first = bytes.below(line.size());
    const std::size_t digit = line.find_first_of("0123456789", first);
    if (digit == line.npos || bytes.below(4) == 0) {
        if (!line.empty()) line[first] = static_cast<char>(bytes.next());
        return;
    }
    const std::size_t end = std::min(line.find_first_not_of("0123456789", digit), line.size());
    line.replace(digit, end - digit, numbers[bytes.below(std::size(numbers))]);
}

// A number of a record or a curve.
static void edit_number(std::string &text, edit_bytes &bytes) {
    static const std::uint64_t numbers[] = {0,
                                            1,
                                            2,
                                            3,
                                            4,
                                            5,
                                            8,
                                            9,
                                            ~0ULL,
                                            1ULL << 31,
                                            1ULL << 61,
                                            1ULL << 63,
                                            0x7ff0000000000000ULL,
                                            0x7ff8000000000000ULL,
                                            0xfff0000000000000ULL,
                                            0x7fefffffffffffffULL};
    if (text.size() < 8) return;
    const std::size_t at = (bytes.next() * 256 + bytes.next()) % (text.size() - 7) / 4 * 4;
    const std::uint64_t number = numbers[bytes.below(std::size(numbers))];
    std::memcpy(text.data() + at, &number, bytes.below(2) == 0 ? 4 : 8);
}

static void edit_bytes_of(std::string &text, edit_bytes &bytes) {
    const std::size_t at = text.empty() ? 0 : (bytes.next() * 256 + bytes.next()) % text.size();
    switch (bytes.below(3)) {
    case 0:
        text.resize(at);
        break;
    case 1:
        text.insert(at, bytes.raw(32));
        break;
    default:
        if (!text.empty()) text[at] = static_cast<char>(bytes.next());
    }
}

static void edit(fuzz::batch_folder &batch, edit_bytes &bytes) {
    static const char *const binary[] = {"part", "curves", "journal", "fitted"};
    switch (bytes.below(8)) {
    case 0:
        return edit_json(batch.head, bytes);
    case 1:
        if (!batch.lines.empty()) edit_line(batch.lines[bytes.below(batch.lines.size())], bytes);
        return;
    case 2:
        return edit_json(batch.marker, bytes);
    case 3:
        return edit_json(batch.lock, bytes);
    case 4:
    case 5:
        return edit_number(batch.files[binary[bytes.below(4)]], bytes);
    case 6: {
        auto file = batch.files.begin();
        std::advance(file, static_cast<std::ptrdiff_t>(bytes.below(batch.files.size())));
        return edit_bytes_of(file->second, bytes);
    }
    default: {
        static const char *const names[] = {"0000_of_0001", "0000_of_0003",
                                            "0001_of_0002", "0002_of_0002",
                                            "-001_of_0002", "0000_of_9999999999999999999",
                                            "0_of_2",       "x"};
        batch.done_stem = std::string("shards/") + names[bytes.below(std::size(names))];
    }
    }
}

static void check_record(const tools::batch_plan &plan, const tools::fit_record &record) {
    expect(record.line >= 0 && record.line < plan.spectra);
    expect(record.state == tools::fit_state::fitted || record.state == tools::fit_state::failed ||
           record.state == tools::fit_state::not_tried);
    expect(record.iterations >= 0 && record.gradients >= 0 && record.free_parameters >= 0);
    expect(record.reason.empty() || tools::is_plain_text(record.reason));
    expect(record.values.size() == 5 * plan.start.entries.size());
    if (!record.exact) return;
    expect(record.exact->reasons.size() <= tools::exact_facts::most_causes);
    for (const auto &cause : record.exact->reasons)
        for (const int entry : cause.entries)
            expect(entry >= 1 && static_cast<std::size_t>(entry) <= plan.start.entries.size());
}

// Everything that merge reads.
static void check_done(const tools::batch_plan &plan, const tools::plan_lines &lines) {
    for (const tools::finished_shard &shard : tools::finished_shards(plan, lines)) {
        expect(shard.first >= 0 && shard.first <= shard.stop && shard.stop <= plan.spectra);
        tools::check_part(plan, shard);
        tools::part_reader part(plan, shard);
        for (long long line = shard.first; line < shard.stop; ++line)
            check_record(plan, part.read(line));
    }
}

// What a run that goes on does with what lies there.
static void check_open(const tools::batch_plan &plan, const tools::plan_lines &lines,
                       const std::string &stem) {
    const auto [first, stop] = tools::lines_of_shard(plan, lines, 1, 2);
    expect(first >= 0 && first <= stop && stop <= plan.spectra);
    tools::shard_journal journal(plan, stem, first, stop);
    long long known = 0;
    for (long long line = first; line < stop; ++line)
        if (journal.has(line)) {
            check_record(plan, journal.read(line));
            ++known;
        }
    expect(known == journal.finished());
    if (known < stop - first) return;
    journal.finish();
    const tools::finished_shard done = tools::read_marker(plan, lines, stem + ".done");
    tools::check_part(plan, done);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    static const fuzz::batch_folder whole = fuzz::whole_folder();
    fuzz::batch_folder batch = whole;
    edit_bytes bytes(data, size);
    const std::size_t broken = bytes.next();
    const bool edited = bytes.more();
    for (int edits = 0; bytes.more() && edits < 16; ++edits) edit(batch, bytes);
    fuzz::write_folder(batch, broken);
    try {
        static_cast<void>(tools::read_lock_note(batch.open_stem + ".lock"));
        const tools::batch_plan plan = tools::read_plan(".");
        const tools::plan_lines lines(plan);
        for (long long line = 0; line < plan.spectra; ++line) {
            const tools::planned_spectrum spectrum = lines.read(line);
            expect(tools::is_plain_name(spectrum.name));
            for (std::size_t axis = 0; axis < spectrum.at.size(); ++axis)
                expect(spectrum.at[axis] >= 0 && spectrum.at[axis] < plan.axes[axis].size);
        }
        static_cast<void>(tools::shard_of_name(fs::path(batch.done_stem).filename().string()));
        if (plan.blocks >= 2) check_open(plan, lines, "./" + batch.open_stem);
        check_done(plan, lines);
    } catch (const tools::tool_error &error) {
        expect(error.status() == tools::bad_input);
        expect(edited || broken != 0); // as the program leaves it, all of it is read
    }
    return 0;
}
