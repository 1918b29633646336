// SPDX-License-Identifier: BSD-3-Clause
// module_main.cpp -- the one function that the page calls, and the arrays that it reads
#include "files/base/tool_error.h"
#include "web/binding/module_calls.h"

#include <cmath>
#include <map>

#include <emscripten.h>

namespace web {

static std::map<std::string, std::vector<double>> &arrays() {
    static std::map<std::string, std::vector<double>> all;
    return all;
}

ordered_json array_for_page(const std::string &name, std::vector<double> values) {
    std::vector<double> &kept = arrays()[name];
    kept = std::move(values);
    return {{"at", reinterpret_cast<std::uintptr_t>(kept.data())}, {"length", kept.size()}};
}

EM_JS(void, tell_page, (double done, double of), {
    if (Module["progress"]) Module["progress"](done, of);
});

void say_progress(double done, double of) {
    tell_page(done, of);
}

ordered_json number_for_page(double value) {
    return std::isfinite(value) ? ordered_json(value) : ordered_json(nullptr);
}

static ordered_json version(const ordered_json &) {
    return {{"version", VAROKEL_VERSION}};
}

typedef ordered_json (*question)(const ordered_json &asked);

static const std::map<std::string, question> questions = {
    {"version", version},        {"import", import_files},
    {"spectrum", open_spectrum}, {"table", set_table},
    {"edit", edit_table},        {"curves", show_curves},
    {"fit", fit_spectrum},       {"heads", table_heads},
    {"report", report_fits},     {"dimensions", list_dimensions},
};

static std::string answer(const std::string &name, const std::string &asked) {
    ordered_json out;
    try {
        const auto found = questions.find(name);
        if (found == questions.end()) throw std::runtime_error("no such question: " + name);
        out["value"] = found->second(ordered_json::parse(asked));
    } catch (const std::bad_alloc &) {
        out = {{"error", "there is not enough storage for this"}};
    } catch (const std::exception &error) {
        out = {{"error", error.what()}};
    }
    return out.dump_valid();
}

} // namespace web

// The answer holds until the next call: {"value": ...} or {"error": "sentence"}.
extern "C" EMSCRIPTEN_KEEPALIVE const char *varokel_ask(const char *name, const char *asked) {
    static std::string last;
    last = web::answer(name, asked);
    return last.c_str();
}
