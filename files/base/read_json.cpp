// SPDX-License-Identifier: BSD-3-Clause
// read_json.cpp -- JSON from a file that somebody else may have written
#include "files/base/read_json.h"

#include "files/base/plain_text.h"
#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <charconv>

namespace tools {

namespace {

// What a text becomes, before any of it is held.
struct json_extent {
    int deepest = 0;        // brackets
    std::size_t values = 1; // a bracket and a comma go before each, at least
};

} // namespace

static json_extent extent_of(const std::string &text) {
    json_extent extent;
    int depth = 0;
    bool quoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (quoted) {
            if (c == '\\')
                ++at;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '[' || c == '{') {
            extent.deepest = std::max(extent.deepest, ++depth);
            ++extent.values;
        } else if (c == ',') {
            ++extent.values;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return extent;
}

ordered_json json_of_text(const std::string &text, const std::string &file) {
    const json_extent extent = extent_of(text);
    if (extent.deepest > deepest_json)
        refuse_input(file, "JSON nested deeper than " + std::to_string(deepest_json) +
                               " levels; expected a plain document");
    if (extent.values > most_json_values)
        refuse_input(file, "JSON of more than " + std::to_string(most_json_values) +
                               " values; expected a plain document");
    try {
        return ordered_json::parse(text);
    } catch (const json_error &error) {
        refuse_input(file, "no valid JSON (" + shown_text(error.what()) + ")");
    }
}

ordered_json json_of_file(const std::string &file) {
    return json_of_text(read_text_file(file, "a JSON file"), file);
}

std::string json_text(const ordered_json &items, int indent, const std::string &file) {
    try {
        return items.dump(indent);
    } catch (const json_error &error) {
        refuse_input(file, "a text for it is no UTF-8 (" + shown_text(error.what()) +
                               "); rename the file or entry");
    }
}

ordered_json json_of_bytes(const std::string &bytes) {
    if (utf8_fault(bytes) == bytes.npos) return bytes;
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += digits[static_cast<unsigned char>(c) >> 4];
        hex += digits[static_cast<unsigned char>(c) & 15];
    }
    return {{"hex", hex}};
}

std::string bytes_of_json(const ordered_json &item, const std::string &file) {
    if (item.is_string()) return item.get<std::string>();
    const auto refuse = [&] {
        refuse_input(file, item.dump_valid() + "; expected a text, or {\"hex\": \"...\"}");
    };
    if (!item.is_object() || item.size() != 1 || !item.contains("hex") || !item["hex"].is_string())
        refuse();
    const std::string hex = item["hex"].get<std::string>();
    if (hex.size() % 2 != 0) refuse();
    std::string bytes;
    for (std::size_t at = 0; at < hex.size(); at += 2) {
        unsigned value = 0;
        const char *const end = hex.data() + at + 2;
        if (std::from_chars(hex.data() + at, end, value, 16).ptr != end) refuse();
        bytes += static_cast<char>(value);
    }
    return bytes;
}

} // namespace tools
