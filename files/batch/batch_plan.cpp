// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/batch_plan.h"

#include "files/base/not_known.h"
#include "files/base/plain_text.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/start/read_start_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <unordered_set>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

bool is_digest(const std::string &text) {
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

static const char *const method_names[] = {"classic", "exact", "both"};

const char *name_of(fit_method method) {
    return method_names[static_cast<int>(method)];
}

std::optional<fit_method> method_named(const std::string &name) {
    for (const fit_method each : {fit_method::classic, fit_method::exact, fit_method::both})
        if (name == name_of(each)) return each;
    return std::nullopt;
}

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
static const char list_end[] = " ]\n}\n";

static constexpr std::size_t longest_head = std::size_t{1} << 28; // a million inputs
static constexpr long long most_spectra = 100000000, most_points = 1 << 20, longest_line = 65536;
static constexpr long long most_voxels = 1LL << 31;
static constexpr std::size_t most_axes = 10;

manifest_file::manifest_file(const std::string &name)
    : name_(name), file_(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    struct stat facts = {};
    if (file_ >= 0 && (fstat(file_, &facts) != 0 || !S_ISREG(facts.st_mode))) {
        close(file_);
        file_ = -1;
    }
    if (file_ < 0)
        throw tool_error(bad_input, name + ": cannot be opened; expected the folder of a plan. "
                                           "varokel-batch plan makes one");
    if (flock(file_, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        close(file_);
        throw tool_error(bad_output, name + ": is being replaced by a new plan; wait for its end");
    }
}

manifest_file::~manifest_file() {
    close(file_);
}

bool manifest_file::lock_alone() {
    return flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool manifest_file::read(char *bytes, std::size_t count, long long at) const {
    while (count > 0) {
        const ssize_t got = pread(file_, bytes, count, at);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        count -= static_cast<std::size_t>(got);
        at += got;
    }
    return true;
}

long long manifest_file::size() const {
    struct stat facts = {};
    return fstat(file_, &facts) == 0 ? facts.st_size : 0;
}

long long batch_plan::voxels() const {
    long long product = 1;
    for (const plan_axis &axis : axes) product *= axis.size;
    return product;
}

[[noreturn]] static void refuse_manifest(const std::string &name, const std::string &what) {
    throw tool_error(bad_input, name + ": " + what +
                                    "; expected the manifest as varokel-batch plan wrote it. Plan "
                                    "again");
}

// The text up to the list of spectra; where that begins.
static std::string text_of_head(const manifest_file &file, long long &begin) {
    const std::string mark = std::string("\n") + list_begin;
    const auto size = static_cast<std::size_t>(file.size());
    std::string text;
    while (text.size() < std::min(size, longest_head)) {
        const std::size_t known = text.size();
        const std::size_t more = std::min<std::size_t>(1 << 16, size - known);
        text.resize(known + more);
        if (!file.read(text.data() + known, more, static_cast<long long>(known))) break;
        const std::size_t at = text.find(mark, known < mark.size() ? 0 : known - mark.size());
        if (at == text.npos) continue;
        begin = static_cast<long long>(at + mark.size());
        text.resize(at + 1);
        return text;
    }
    refuse_manifest(file.name(), "holds no list of spectra");
}

// The items of a head, each within its bounds.
class head_items {
  public:
    head_items(const nlohmann::ordered_json &items, const std::string &file)
        : items_(items), file_(file) {
        if (!items.is_object()) refuse_manifest(file, "is no JSON object");
    }
    const nlohmann::ordered_json &item(const char *name) const {
        const auto found = items_.find(name);
        if (found == items_.end()) refuse(name, "missing");
        return *found;
    }
    bool has(const char *name) const { return items_.contains(name); }
    long long whole(const char *name, long long least, long long most) const {
        const nlohmann::ordered_json &value = item(name);
        if (!value.is_number_integer() ||
            (value.is_number_unsigned() &&
             value.get<std::uint64_t>() > static_cast<std::uint64_t>(most)) ||
            value.get<long long>() < least || value.get<long long>() > most)
            refuse(name,
                   "no whole number from " + std::to_string(least) + " to " + std::to_string(most));
        return value.get<long long>();
    }
    bool truth(const char *name) const {
        if (!item(name).is_boolean()) refuse(name, "neither true nor false");
        return item(name).get<bool>();
    }
    std::string text(const char *name) const {
        const nlohmann::ordered_json &value = item(name);
        if (!value.is_string() || !is_plain_text(value.get<std::string>()))
            refuse(name, "no text of one line");
        return value.get<std::string>();
    }
    std::string name(const char *item_name) const {
        const std::string found = text(item_name);
        if (!is_plain_name(found)) refuse(item_name, "no plain name");
        return found;
    }
    std::string digest(const char *name) const {
        const std::string found = text(name);
        if (!is_digest(found)) refuse(name, "no digest");
        return found;
    }
    const nlohmann::ordered_json &list(const char *name) const {
        if (!item(name).is_array()) refuse(name, "no list");
        return item(name);
    }
    std::optional<double> number(const char *name, bool positive) const {
        if (!has(name) || item(name).is_null()) return std::nullopt;
        if (!item(name).is_number() || !std::isfinite(item(name).get<double>()) ||
            (positive && !(item(name).get<double>() > 0.0)))
            refuse(name, positive ? "no number above 0" : "no number");
        return item(name).get<double>();
    }
    [[noreturn]] void refuse(const char *name, const std::string &what) const {
        refuse_manifest(file_, std::string("item ") + name + " is " + what);
    }

  private:
    const nlohmann::ordered_json &items_;
    std::string file_;
};

static void read_axes(batch_plan &plan, const head_items &items, const std::string &file) {
    long long voxels = 1;
    int spatial = 0;
    for (const auto &each : items.list("axes")) {
        const head_items axis(each, file);
        plan.axes.push_back(
            {axis.text("name"), axis.whole("size", 1, most_voxels), axis.truth("spatial")});
        if (plan.axes.size() > most_axes || plan.axes.back().size > most_voxels / voxels)
            items.refuse("axes", "larger than any measurement");
        voxels *= plan.axes.back().size;
        if (plan.axes.back().spatial) ++spatial;
    }
    if (plan.grid && spatial != 3) items.refuse("grid", "true without three directions in space");
}

// Everything in the head that a program uses. Digests of files are compared by the caller.
static void read_head(batch_plan &plan, const std::string &file) {
    const head_items items(plan.head, file);
    if (items.whole("format", 0, 1000000) != batch_format)
        refuse_manifest(file, "is of another version of this program");
    plan.spectra = items.whole("count", 1, most_spectra);
    plan.blocks = items.whole("blocks", 1, plan.spectra);
    plan.points = items.whole("points", 2, most_points);
    plan.keep = items.whole("keep", 0, plan.spectra);
    plan.line_bytes = items.whole("line_bytes", 2, longest_line);
    plan.list_sha256 = items.digest("list_sha256");
    plan.grid = items.truth("grid");
    plan.values = items.text("values");
    if (plan.values != "same" && plan.values != "estimate" && plan.values != "neighbour")
        items.refuse("values", "none of same, estimate and neighbour");
    const std::optional<fit_method> method = method_named(items.text("method"));
    if (!method) items.refuse("method", "none of classic, exact and both");
    plan.method = *method;
    read_axes(plan, items, file);
    for (const auto &entry : items.list("entries")) {
        if (!entry.is_string() || !is_plain_text(entry.get<std::string>()))
            items.refuse("entries", "no list of names");
        plan.entry_names.push_back(entry.get<std::string>());
    }
    const head_items scale(items.item("scale"), file);
    plan.scale.hz_per_point = scale.number("hz_per_point", true);
    plan.scale.mhz = scale.number("spectrometer_mhz", true);
    plan.scale.ppm_at_carrier = scale.number("ppm_at_carrier", false);
    plan.scale.points = plan.points;
    if (scale.has("measured_points"))
        plan.scale.measured = scale.whole("measured_points", 1, plan.points);
    else if (scale.has("resized"))
        plan.scale.measured = std::min(
            plan.points, head_items(scale.item("resized"), file).whole("from", 1, 1LL << 40));
    plan.scale.ppm_rises_with_points =
        !scale.has("ppm_rises_with_points") || scale.truth("ppm_rises_with_points");
    if (scale.has("nucleus")) plan.scale.nucleus = scale.text("nucleus");
    for (const auto &each : items.list("patterns")) {
        const std::string name = head_items(each, file).name("file");
        if (std::find(plan.pattern_files.begin(), plan.pattern_files.end(), name) !=
            plan.pattern_files.end())
            items.refuse("patterns", "a list with a name twice");
        plan.pattern_files.push_back(name);
    }
    for (const auto &each : items.list("inputs")) {
        const head_items input(each, file);
        plan.inputs.push_back(
            {bytes_of_json(input.item("file"), file), input.digest("sha256"), input.item("stamp")});
    }
}

// Windows of a table, which a start file has no place for.
static void read_windows(batch_plan &plan, const head_items &items, const std::string &file) {
    for (const auto &each : items.list("windows")) {
        const head_items window(each, file);
        const auto entry = static_cast<std::size_t>(
            window.whole("entry", 1, static_cast<long long>(plan.start.entries.size())));
        const auto parameter = static_cast<std::size_t>(window.whole("parameter", 1, quantities));
        const double from = window.number("from", false).value_or(not_known);
        const double to = window.number("to", false).value_or(not_known);
        if (!(from <= to)) items.refuse("windows", "no list of intervals");
        plan.start.entries[entry - 1].parameters[parameter - 1].window = {from, to};
    }
}

static void expect_same(const batch_plan &plan, const std::string &file,
                        const std::string &digest) {
    const std::string name = plan.file(file);
    std::error_code error;
    if (!std::filesystem::is_regular_file(name, error) || sha256_of_file(name) != digest)
        throw tool_error(bad_input, name + ": was changed since the plan was made; put the file of "
                                           "then back, or plan again with the new one");
}

batch_plan read_plan(const std::string &folder) {
    batch_plan plan;
    plan.folder = folder;
    plan.file_read = std::make_shared<manifest_file>(plan.file("manifest.json"));
    const std::string &name = plan.file_read->name();
    const std::string head = text_of_head(*plan.file_read, plan.list_begin);
    sha256 hash;
    hash.add(head.data(), head.size());
    plan.id = hash.digits();
    plan.head = json_of_text(head + " \"end\": 0 }", name);
    read_head(plan, name);
    if (plan.file_read->size() !=
        plan.list_begin + plan.spectra * plan.line_bytes + static_cast<long long>(strlen(list_end)))
        refuse_manifest(name, "is longer or shorter than its list of " +
                                  std::to_string(plan.spectra) + " spectra");
    const head_items items(plan.head, name);
    expect_same(plan, "start.par", items.digest("start_sha256"));
    expect_same(plan, "sidecar.json", items.digest("sidecar_sha256"));
    expect_same(plan, "names.txt", items.digest("names_sha256"));
    if (plan.values == "estimate" || items.has("peaks_sha256"))
        expect_same(plan, "peaks.txt", items.digest("peaks_sha256"));
    if (plan.grid) expect_same(plan, "voxels.nii", items.digest("voxels_sha256"));
    for (const auto &pattern : items.list("patterns"))
        expect_same(plan, "patterns/" + pattern["file"].get<std::string>(),
                    head_items(pattern, name).digest("sha256"));
    plan.start = read_start_file(plan.file("start.par"));
    if (plan.start.entries.empty() || plan.entry_names.size() != plan.start.entries.size())
        refuse_manifest(name, "has no entries or not a name for each");
    if (plan.start.points != plan.points)
        refuse_manifest(name, "has another number of points than its start file");
    read_windows(plan, items, name);
    for (const start_entry &entry : plan.start.entries)
        if (entry.type == pattern_entry &&
            std::find(plan.pattern_files.begin(), plan.pattern_files.end(), entry.pattern_file) ==
                plan.pattern_files.end())
            refuse_manifest(name, "lacks a pattern that its start file names");
    return plan;
}

replaced_plan::replaced_plan(const std::string &folder) {
    const std::string name = folder + "/manifest.json";
    try {
        file = std::make_shared<manifest_file>(name);
        long long begin = 0;
        const nlohmann::ordered_json head =
            json_of_text(text_of_head(*file, begin) + " \"end\": 0 }", name);
        const head_items items(head, name);
        items.whole("format", 1, batch_format);
        if (!items.text("program").starts_with("varokel-batch "))
            items.refuse("program", "another");
        for (const auto &entry : items.list("entries"))
            if (entry.is_string()) entry_names.push_back(entry.get<std::string>());
        for (const auto &each : items.list("patterns"))
            pattern_files.push_back(head_items(each, name).name("file"));
    } catch (const tool_error &error) {
        if (error.status() == bad_output) throw;
        throw tool_error(bad_output, name +
                                         ": not the manifest of a plan of varokel-batch; choose "
                                         "another folder (" +
                                         std::string(error.what()) + ")");
    }
    if (!file->lock_alone())
        throw tool_error(bad_output, name + ": a run or a merge works with this plan; wait for its "
                                            "end, or end it first");
}

plan_lines::plan_lines(const batch_plan &plan) : plan_(plan) {
    const std::string &name = plan.file_read->name();
    const auto refuse = [&](long long line, const char *what) {
        refuse_manifest(name, "spectrum " + std::to_string(line) + " " + what);
    };
    std::vector<bool> seen(static_cast<std::size_t>(plan.spectra), false);
    std::unordered_set<std::string> names;
    sha256 hash;
    long long block = 0;
    int wave = 0;
    for (long long line = 0; line < plan.spectra; ++line) {
        const std::string text = text_of(line);
        const planned_spectrum spectrum = parse(text, line);
        const std::string own = line_of(spectrum);
        hash.add(own.data(), own.size());
        if (seen[static_cast<std::size_t>(spectrum.number)]) refuse(line, "has a number twice");
        seen[static_cast<std::size_t>(spectrum.number)] = true;
        if (!names.insert(spectrum.name).second) refuse(line, "has the name of another");
        if (spectrum.block != block) wave = 0;
        if (spectrum.block < block || spectrum.block > block + 1 || spectrum.wave < wave ||
            (line == 0 && spectrum.block != 0))
            refuse(line, "is not in the order of blocks and waves");
        block = spectrum.block;
        wave = spectrum.wave;
    }
    if (block + 1 != plan.blocks)
        refuse_manifest(name, "has another number of blocks than it says");
    if (hash.digits() != plan.list_sha256)
        refuse_manifest(name, "has a list of spectra that was changed");
    if (char end[sizeof list_end] = "";
        !plan.file_read->read(end, strlen(list_end),
                              plan.list_begin + plan.spectra * plan.line_bytes) ||
        std::strcmp(end, list_end) != 0)
        refuse_manifest(name, "does not end behind its list");
}

std::string plan_lines::text_of(long long line) const {
    std::string text(static_cast<std::size_t>(plan_.line_bytes), '\0');
    if (line < 0 || line >= plan_.spectra ||
        !plan_.file_read->read(text.data(), text.size(),
                               plan_.list_begin + line * plan_.line_bytes))
        text.clear();
    return text;
}

planned_spectrum plan_lines::read(long long line) const {
    return parse(text_of(line), line);
}

planned_spectrum plan_lines::parse(const std::string &text, long long line) const {
    const auto damaged = [&] {
        throw tool_error(bad_input, plan_.file_read->name() + ": spectrum " + std::to_string(line) +
                                        " does not stand where it should; expected the file as "
                                        "varokel-batch plan wrote it. Plan again");
    };
    if (text.empty() || text.back() != '\n') damaged();
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
    if (!name.is_string() || !is_plain_name(name.get<std::string>())) damaged();
    spectrum.name = name.get<std::string>();
    expect(",\"at\":[");
    while (p < end && *p != ']') {
        const std::size_t axis = spectrum.at.size();
        spectrum.at.push_back(number());
        if (axis >= plan_.axes.size() || spectrum.at.back() < 0 ||
            spectrum.at.back() >= plan_.axes[axis].size)
            damaged();
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
    const long long wave = number();
    if (spectrum.block < 0 || spectrum.block >= plan_.blocks || wave < 0 || wave > plan_.spectra)
        damaged();
    spectrum.wave = static_cast<int>(wave);
    expect(",\"sha256\":\"");
    if (end - p < 64) damaged();
    spectrum.sha256.assign(p, p + 64);
    if (!is_digest(spectrum.sha256)) damaged();
    p += 64;
    expect("\"}");
    if (spectrum.number < 0 || spectrum.number >= plan_.spectra ||
        spectrum.at.size() != plan_.axes.size())
        damaged();
    return spectrum;
}

nlohmann::ordered_json stamp_of(const std::string &file) {
    struct stat facts = {};
    if (stat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return {};
    return {{"bytes", facts.st_size},
            {"seconds", facts.st_mtim.tv_sec},
            {"nanoseconds", facts.st_mtim.tv_nsec}};
}

std::vector<std::string> check_inputs(const batch_plan &plan) {
    std::vector<std::string> gone;
    for (const planned_input &input : plan.inputs) {
        const nlohmann::ordered_json stamp = stamp_of(input.file);
        if (stamp.is_null()) {
            gone.push_back(input.file);
            continue;
        }
        if (stamp == input.stamp) continue;
        if (sha256_of_file(input.file) != input.sha256)
            throw tool_error(bad_input,
                             input.file +
                                 ": was changed since the plan was made; put the file of then "
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
static long long line_of_block(const batch_plan &plan, const plan_lines &lines, long long block) {
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

std::pair<long long, long long> lines_of_shard(const batch_plan &plan, const plan_lines &lines,
                                               long long shard, long long shards) {
    return {line_of_block(plan, lines, plan.blocks * shard / shards),
            line_of_block(plan, lines, plan.blocks * (shard + 1) / shards)};
}

} // namespace tools
