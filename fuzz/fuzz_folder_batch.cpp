// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_batch.cpp -- a batch folder that somebody changed
//
// The bytes are edits of a small folder as varokel-batch leaves it: four spectra in two blocks, the
// first shard done, the second at work. An edit replaces an item of a JSON, a number of a line, of
// a record or of a curve, cuts, writes over or appends to a file, or renames a shard. Digests and
// check sums are then made to fit, each unless a bit says otherwise, so that the edit gets past
// them. What the readers let pass is within its bounds.
#include "batch_folder.h"
#include "edits.h"

#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_lines.h"
#include "files/batch/shard_journal.h"
#include "files/batch/shard_lock.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

using fuzz::edit_bytes;
using fuzz::edit_bytes_of;
using fuzz::edit_json;
using fuzz::edit_line;
using fuzz::edit_number;
using fuzz::expect;

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
    fuzz::forget_shard(batch.open_stem);
    return 0;
}
