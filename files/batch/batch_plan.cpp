// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/batch_plan.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/start/read_start_file.h"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>

namespace tools {

static const char *const state_names[] = {"fit", "all zero", "not finite"};

std::string line_of(const planned_spectrum &spectrum) {
    std::string line = "{\"number\":" + std::to_string(spectrum.number) +
                       ",\"name\":" + nlohmann::json(spectrum.name).dump() + ",\"at\":[";
    for (std::size_t a = 0; a < spectrum.at.size(); ++a)
        line += (a == 0 ? "" : ",") + std::to_string(spectrum.at[a]);
    line += "],\"state\":\"" + std::string(state_names[static_cast<int>(spectrum.state)]) +
            "\",\"block\":" + std::to_string(spectrum.block) +
            ",\"wave\":" + std::to_string(spectrum.wave) + ",\"sha256\":\"" + spectrum.sha256 +
            "\"}";
    return line;
}

// Where the head ends: the line that opens the list of spectra.
static const char list_begin[] = " \"spectra\": [\n";

batch_plan read_plan(const std::string &folder) {
    batch_plan plan;
    plan.folder = folder;
    const std::string name = plan.file("manifest.json");
    std::ifstream stream(name, std::ios::binary);
    if (!stream)
        throw tool_error(bad_input, name + ": cannot be opened; expected the folder of a plan. "
                                           "varokel-batch plan makes one");
    const auto damaged = [&](const std::string &what) {
        throw tool_error(bad_input, name + ": " + what +
                                        "; expected the manifest as varokel-batch plan wrote it. "
                                        "Plan again");
    };
    std::string head, line;
    while (std::getline(stream, line) && line + "\n" != list_begin) {
        head += line + "\n";
        if (head.size() > (1U << 24)) break;
    }
    if (!stream) damaged("holds no list of spectra");
    sha256 hash;
    hash.add(head.data(), head.size());
    plan.id = hash.digits();
    try {
        plan.head = nlohmann::ordered_json::parse(head + " \"end\": 0 }");
        const nlohmann::ordered_json &items = plan.head;
        if (items.at("format") != 1) damaged("is of another version of this program");
        plan.spectra = items.at("count").get<long long>();
        plan.blocks = items.at("blocks").get<long long>();
        plan.points = items.at("points").get<long long>();
        plan.values = items.at("values").get<std::string>();
        plan.keep = items.at("keep").get<long long>();
        plan.grid = items.at("grid").get<bool>();
        for (const auto &axis : items.at("axes"))
            plan.axes.push_back({axis.at("name").get<std::string>(),
                                 axis.at("size").get<long long>(), axis.at("spatial").get<bool>()});
        plan.entry_names = items.at("entries").get<std::vector<std::string>>();
        const nlohmann::ordered_json &scale = items.at("scale");
        if (scale.contains("hz_per_point"))
            plan.scale.hz_per_point = scale["hz_per_point"].get<double>();
        if (scale.contains("spectrometer_mhz"))
            plan.scale.mhz = scale["spectrometer_mhz"].get<double>();
        if (scale.contains("ppm_at_carrier"))
            plan.scale.ppm_at_carrier = scale["ppm_at_carrier"].get<double>();
        plan.scale.ppm_rises_with_points = scale.value("ppm_rises_with_points", true);
        const auto expect_same = [&](const std::string &file, const nlohmann::ordered_json &then) {
            if (sha256_of_file(plan.file(file)) != then.get<std::string>())
                throw tool_error(bad_input, plan.file(file) +
                                                ": was changed since the plan was made; put the "
                                                "file of then back, or plan again with the new "
                                                "one");
        };
        expect_same("start.par", items.at("start_sha256"));
        expect_same("sidecar.json", items.at("sidecar_sha256"));
        if (items.contains("peaks_sha256")) expect_same("peaks.txt", items["peaks_sha256"]);
        for (const auto &pattern : items.at("patterns"))
            expect_same("patterns/" + pattern.at("file").get<std::string>(), pattern.at("sha256"));
        plan.start = read_start_file(plan.file("start.par"));
    } catch (const nlohmann::json::exception &error) {
        damaged(error.what());
    }
    if (plan.spectra < 1 || plan.points < 1 || plan.start.entries.empty() ||
        plan.entry_names.size() != plan.start.entries.size())
        damaged("has no spectra, no entries or not a name for each");
    return plan;
}

plan_lines::plan_lines(const batch_plan &plan)
    : plan_(plan), file_(std::fopen(plan.file("manifest.json").c_str(), "rb")) {
    const std::string name = plan.file("manifest.json");
    if (file_ == nullptr) throw tool_error(bad_input, name + ": cannot be opened");
    length_ = plan.head.at("line_bytes").get<long long>();
    char line[65536];
    while (std::fgets(line, sizeof line, file_) != nullptr && std::strcmp(line, list_begin) != 0) {
    }
    begin_ = std::ftell(file_);
    if (length_ < 2 || length_ > 65536)
        throw tool_error(bad_input, name + ": item line_bytes is not possible; plan again");
}

plan_lines::~plan_lines() {
    if (file_ != nullptr) std::fclose(file_);
}

planned_spectrum plan_lines::read(long long line) {
    std::string text(static_cast<std::size_t>(length_), '\0');
    const auto damaged = [&] {
        throw tool_error(bad_input, plan_.file("manifest.json") + ": spectrum " +
                                        std::to_string(line) +
                                        " does not stand where it should; expected the file as "
                                        "varokel-batch plan wrote it. Plan again");
    };
    const long at = begin_ + static_cast<long>(line * length_);
    if ((std::ftell(file_) != at && std::fseek(file_, at, SEEK_SET) != 0) ||
        std::fread(text.data(), 1, text.size(), file_) != text.size() || text.back() != '\n')
        damaged();
    planned_spectrum spectrum;
    // as line_of has it, without a JSON reader: there may be 100,000 of them
    const char *p = text.data(), *const end = p + text.size();
    const auto expect = [&](const char *word) {
        const std::size_t n = std::strlen(word);
        if (static_cast<std::size_t>(end - p) < n || std::memcmp(p, word, n) != 0) damaged();
        p += n;
    };
    const auto number = [&] {
        long long value = 0;
        const auto read = std::from_chars(p, end, value);
        if (read.ec != std::errc()) damaged();
        p = read.ptr;
        return value;
    };
    const auto quoted = [&] {
        const char *const begin = p;
        expect("\"");
        while (p < end && *p != '"') p += *p == '\\' && p + 1 < end ? 2 : 1;
        if (p >= end) damaged();
        ++p;
        return std::string(begin, p);
    };
    expect("{\"number\":");
    spectrum.number = number();
    expect(",\"name\":");
    const nlohmann::json name = nlohmann::json::parse(quoted(), nullptr, false);
    if (!name.is_string()) damaged();
    spectrum.name = name.get<std::string>();
    expect(",\"at\":[");
    while (p < end && *p != ']') {
        spectrum.at.push_back(number());
        if (p < end && *p == ',') ++p;
    }
    expect("],\"state\":");
    const std::string state = quoted();
    int found = -1;
    for (int s = 0; s < 3; ++s)
        if (state == "\"" + std::string(state_names[s]) + "\"") found = s;
    if (found < 0) damaged();
    spectrum.state = static_cast<signal_state>(found);
    expect(",\"block\":");
    spectrum.block = number();
    expect(",\"wave\":");
    spectrum.wave = static_cast<int>(number());
    expect(",\"sha256\":\"");
    if (end - p < 64) damaged();
    spectrum.sha256.assign(p, p + 64);
    p += 64;
    expect("\"}");
    if (spectrum.number < 0 || spectrum.number >= plan_.spectra ||
        spectrum.at.size() != plan_.axes.size())
        damaged();
    return spectrum;
}

nlohmann::ordered_json stamp_of(const std::string &file) {
    struct stat facts = {};
    if (stat(file.c_str(), &facts) != 0) return {};
    return {{"bytes", facts.st_size},
            {"seconds", facts.st_mtim.tv_sec},
            {"nanoseconds", facts.st_mtim.tv_nsec}};
}

std::vector<std::string> check_inputs(const batch_plan &plan) {
    std::vector<std::string> gone;
    for (const auto &input : plan.head.at("inputs")) {
        const std::string file = input.at("file").get<std::string>();
        const nlohmann::ordered_json stamp = stamp_of(file);
        if (stamp.is_null()) {
            gone.push_back(file);
            continue;
        }
        if (stamp == input.at("stamp")) continue;
        if (sha256_of_file(file) != input.at("sha256").get<std::string>())
            throw tool_error(bad_input,
                             file + ": was changed since the plan was made; put the file of then "
                                    "back (what is fitted stays), or plan again");
    }
    const std::string points = plan.file("spectra.f32");
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(points, error);
    if (error || size != static_cast<std::uintmax_t>(plan.spectra * plan.points * 8))
        throw tool_error(bad_input, points + ": missing or of another size than planned; plan "
                                             "again");
    return gone;
}

// First line of a block, or the number of lines behind the last one.
static long long line_of_block(const batch_plan &plan, plan_lines &lines, long long block) {
    if (plan.blocks == plan.spectra || block >= plan.blocks)
        return block >= plan.blocks ? plan.spectra : block;
    long long below = 0, above = plan.spectra;
    while (below < above) {
        const long long middle = below + (above - below) / 2;
        if (lines.read(middle).block < block)
            below = middle + 1;
        else
            above = middle;
    }
    return below;
}

std::pair<long long, long long> lines_of_shard(const batch_plan &plan, plan_lines &lines,
                                               long long shard, long long shards) {
    return {line_of_block(plan, lines, plan.blocks * shard / shards),
            line_of_block(plan, lines, plan.blocks * (shard + 1) / shards)};
}

} // namespace tools
