// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/plain_text.h"

#include "files/base/tool_error.h"

#include <algorithm>

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

void refuse_not_utf8(std::string_view text, const std::string &what) {
    const std::size_t fault = utf8_fault(text);
    if (fault == text.npos) return;
    throw tool_error(bad_input, what + " \"" + shown_text(text) + "\": byte " +
                                    std::to_string(fault + 1) +
                                    " is no UTF-8; expected a text in that encoding. Rename or "
                                    "convert it first");
}

} // namespace tools
