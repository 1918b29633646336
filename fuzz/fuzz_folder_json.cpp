// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_json.cpp -- any bytes as a JSON that lies in a folder: the first byte says which
//
//   s  the sidecar of a spectrum: what comes out is within its bounds
//   o  the record of an exact fit: what comes out is written, and read back the same
//   l  the note of who works on a shard of a batch
//   m  the manifest of a batch: its head, since the files that it names are not there
#include "fuzz_reader.h"

#include "files/base/tool_error.h"
#include "files/batch/plan_lines.h"
#include "files/batch/shard_lock.h"
#include "files/problem/exact_fit.h"
#include "files/spectra/metadata.h"
#include "files/start/spectrum_facts.h"

#include <cmath>
#include <cstdlib>

static void expect(bool so) {
    if (!so) std::abort();
}

static void check_sidecar(const std::string &text) {
    support::write_file("signal.json", text);
    const tools::spectrum_facts facts = tools::facts_of_sidecar(tools::metadata("signal.json"));
    expect(facts.points >= 1 && facts.points <= 1 << 24);
    expect(facts.hz_per_point > 0.0 && std::isfinite(facts.hz_per_point));
    expect(!facts.mhz || (*facts.mhz > 0.0 && std::isfinite(*facts.mhz)));
    expect(std::isfinite(facts.phi_1));
}

static void check_optimum(const std::string &text) {
    support::write_file("optimum.json", text);
    const tools::optimum_record record = tools::read_optimum("optimum.json");
    expect(record.held.size() == record.values.size());
    for (const auto &reason : record.reasons)
        for (const int entry : reason.entries)
            expect(entry >= 1 && static_cast<std::size_t>(entry) <= record.values.size());
    const std::string written = tools::optimum_text(record);
    support::write_file("optimum.json", written);
    expect(tools::optimum_text(tools::read_optimum("optimum.json")) == written);
}

static void check_manifest(const std::string &text) {
    support::write_file("manifest.json", text);
    const tools::batch_plan plan = tools::read_plan(".");
    expect(plan.spectra >= 0 && plan.spectra <= static_cast<long long>(text.size()));
    const tools::plan_lines lines(plan);
    for (long long line = 0; line < plan.spectra; ++line) {
        const tools::planned_spectrum spectrum = lines.read(line);
        for (std::size_t axis = 0; axis < spectrum.at.size(); ++axis)
            expect(spectrum.at[axis] >= 0 && spectrum.at[axis] < plan.axes[axis].size);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 1 || size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    try {
        if (data[0] == 's') check_sidecar(text);
        if (data[0] == 'o') check_optimum(text);
        if (data[0] == 'm') check_manifest(text);
        if (data[0] == 'l') {
            support::write_file("shard.lock", text);
            static_cast<void>(tools::read_lock_note("shard.lock"));
        }
    } catch (const tools::tool_error &error) {
        expect(error.status() == tools::bad_input);
    }
    return 0;
}
