// SPDX-License-Identifier: BSD-3-Clause
// plain_text.cpp -- what a text from a file may be: UTF-8, and a name that is no path
#include "files/base/plain_text.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tools {

static constexpr std::size_t longest_name = 200, longest_text = 4096;

static unsigned byte_at(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// Bytes of the character at `at`, 0 when it is not well-formed.
static std::size_t character_bytes(std::string_view text, std::size_t at) {
    const unsigned first = byte_at(text, at);
    if (first < 0x80) return 1;
    const std::size_t count = first >= 0xc2 && first <= 0xdf   ? 2
                              : first >= 0xe0 && first <= 0xef ? 3
                              : first >= 0xf0 && first <= 0xf4 ? 4
                                                               : 0;
    if (count == 0 || text.size() - at < count) return 0;
    // the second byte shuts out overlong forms, surrogates and what is beyond U+10FFFF
    const unsigned least = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const unsigned most = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (byte_at(text, at + 1) < least || byte_at(text, at + 1) > most) return 0;
    for (std::size_t i = 2; i < count; ++i)
        if (byte_at(text, at + i) < 0x80 || byte_at(text, at + i) > 0xbf) return 0;
    return count;
}

std::size_t utf8_fault(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = character_bytes(text, at);
        if (count == 0) return at;
        at += count;
    }
    return std::string_view::npos;
}

std::string shown_text(std::string_view text) {
    static const char digits[] = "0123456789abcdef";
    std::string shown;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = character_bytes(text, at);
        if (count > 0) {
            shown += text.substr(at, count);
            at += count;
            continue;
        }
        shown += {'\\', 'x', digits[byte_at(text, at) >> 4], digits[byte_at(text, at) & 15]};
        ++at;
    }
    return shown;
}

static bool has_control_characters(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) == 0x7f;
    });
}

bool is_plain_name(std::string_view name) {
    return !name.empty() && name.size() <= longest_name && name.front() != '.' &&
           name.front() != '-' && name.find_first_of("/\\") == name.npos &&
           !has_control_characters(name) && utf8_fault(name) == name.npos;
}

bool is_plain_text(std::string_view text) {
    return !text.empty() && text.size() <= longest_text && !has_control_characters(text) &&
           utf8_fault(text) == text.npos;
}

std::string text_cell(std::string_view text) {
    static constexpr std::string_view marks = "=+-@\"'";
    std::string cell;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        cell += byte < 0x20 || byte == 0x7f ? ' ' : c;
    }
    const std::size_t first = cell.find_first_not_of(' ');
    if (cell.empty()) return "n/a";
    if (first != cell.npos && marks.find(cell[first]) != marks.npos) cell.insert(0, "'");
    return cell;
}

std::string text_of_cell(std::string_view cell) {
    return std::string(cell.starts_with('\'') ? cell.substr(1) : cell);
}

std::string without_direction_marks(std::string_view text, std::string_view escape) {
    static constexpr std::pair<std::string_view, std::string_view> marks[] = {
        {"\xd8\x9c", "061c"},     {"\xe2\x80\x8e", "200e"}, {"\xe2\x80\x8f", "200f"},
        {"\xe2\x80\xaa", "202a"}, {"\xe2\x80\xab", "202b"}, {"\xe2\x80\xac", "202c"},
        {"\xe2\x80\xad", "202d"}, {"\xe2\x80\xae", "202e"}, {"\xe2\x81\xa6", "2066"},
        {"\xe2\x81\xa7", "2067"}, {"\xe2\x81\xa8", "2068"}, {"\xe2\x81\xa9", "2069"}};
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t next = std::min(text.find_first_of("\xd8\xe2", at), text.size());
        shown += text.substr(at, next - at);
        if ((at = next) == text.size()) break;
        const auto mark = std::find_if(std::begin(marks), std::end(marks), [&](const auto &each) {
            return text.substr(at).starts_with(each.first);
        });
        if (mark == std::end(marks)) {
            shown += text[at++];
            continue;
        }
        shown += escape;
        shown += mark->second;
        at += mark->first.size();
    }
    return shown;
}

void refuse_not_utf8(std::string_view text, const std::string &what) {
    const std::size_t fault = utf8_fault(text);
    if (fault == text.npos) return;
    throw tool_error(bad_input, what + " \"" + shown_text(text) + "\": byte " +
                                    std::to_string(fault + 1) +
                                    " is no UTF-8; expected a text in that encoding. Rename or "
                                    "convert it first");
}

} // namespace tools
