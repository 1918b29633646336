// SPDX-License-Identifier: BSD-3-Clause
// page_frame.cpp -- an HTML page that asks no network for anything
#include "files/pages/page_frame.h"

#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/pictures/markup.h"
#include "files/pages/page_texts.h"

#include <algorithm>

namespace tools {

std::string base64(const std::string &bytes) {
    static constexpr char digits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned block = 0;
        for (std::size_t b = 0; b < 3; ++b)
            block =
                block << 8 | (i + b < bytes.size() ? static_cast<unsigned char>(bytes[i + b]) : 0U);
        for (std::size_t d = 0; d < 4; ++d)
            text += i + d > bytes.size() ? '=' : digits[block >> (18 - 6 * d) & 63U];
    }
    return text;
}

static std::string hash_source(const std::string &text) {
    const std::string hexadecimal = sha256_of(text);
    std::string bytes;
    for (std::size_t i = 0; i < hexadecimal.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hexadecimal.substr(i, 2), nullptr, 16));
    return "'sha256-" + base64(bytes) + "'";
}

std::string html_page(const page_content &content) {
    std::string sources;
    for (const std::string &script : content.scripts) sources += " " + hash_source(script);
    if (!content.loaded_scripts.empty()) sources += " 'self' file:";
    std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "script-src" +
                       sources + "; style-src " + hash_source(content.style) +
                       "; base-uri 'none'; form-action 'none'\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta name=\"referrer\" content=\"no-referrer\">\n";
    page += element("title", "", content.title) + "\n<style>" + content.style + "</style>\n";
    page += "<!-- The charts are drawn by uPlot, under this licence:\n\n" +
            std::string(uplot_licence()) + "-->\n</head>\n<body>\n" + content.body;
    for (const std::string &script : content.scripts) page += "<script>" + script + "</script>\n";
    return page + "</body>\n</html>\n";
}

page_content chart_page() {
    page_content page;
    page.style = std::string(uplot_style()) + std::string(report_style());
    page.scripts = {std::string(uplot_script()),
                    std::string(chart_values_script()) + std::string(charts_script())};
    return page;
}

std::string list_below(const char *heading, const std::vector<std::string> &texts,
                       const char *nothing) {
    if (texts.empty() && *nothing == '\0') return "";
    std::string html = "<div class=\"guesses\">" + element("h2", "", heading);
    if (texts.empty()) return html + element("p", "class=\"muted\"", nothing) + "</div>\n";
    html += "<ul>";
    for (const std::string &text : texts) html += element("li", "", text);
    return html + "</ul></div>\n";
}

std::string data_block(const std::string &id, const ordered_json &data) {
    const std::string json = data.dump_valid();
    std::string text;
    // a backslash of JSON itself before each: the page shows the number
    for (const char c : without_direction_marks(json, "\\\\u")) {
        // "</script>" inside a name would end the block
        if (c == '<')
            text += "\\u003c";
        else
            text += c;
    }
    return "<script type=\"application/json\" id=\"" + id + "\">" + text + "</script>\n";
}

std::string valid_text(const std::string &text) {
    const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (std::all_of(text.begin(), text.end(), is_ascii)) return text;
    const ordered_json value = text;
    return ordered_json::parse(value.dump_valid()).get<std::string>();
}

std::string element(const std::string &tag, const std::string &attributes,
                    const std::string &text) {
    return "<" + tag + (attributes.empty() ? "" : " " + attributes) + ">" +
           escaped_markup(valid_text(text)) + "</" + tag + ">";
}

} // namespace tools
