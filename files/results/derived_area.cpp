// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/derived_area.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

namespace tools {

namespace {

// A value with its derivatives by all areas.
struct dual {
    double value = 0.0;
    std::vector<double> by_area;
};

bool is_name_character(char c) {
    const auto u = static_cast<unsigned char>(c);
    return std::isalnum(u) != 0 || c == '_' || c == '.' || c == '\'' ||
           u >= 0x80; // UTF-8 as it comes
}

bool is_number_of(const std::string &name, const std::string &stem) {
    if (name.size() <= stem.size() || !name.starts_with(stem)) return false;
    return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(stem.size()), name.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

// What an expression may name.
struct named_areas {
    std::string place; // that has them
    std::vector<std::string> names;
    std::vector<double> values;
};

class expression {
  public:
    expression(const named_areas &areas, const std::string &text) : areas_(areas), text_(text) {}

    dual evaluate() {
        dual result = sum();
        if (at_ < text_.size()) refuse("expected an operator");
        return result;
    }

  private:
    [[noreturn]] void refuse(const std::string &what) const {
        throw tool_error(wrong_usage, "--derive \"" + text_ + "\", character " +
                                          std::to_string(at_ + 1) + ": " + what +
                                          "; an expression is like GPE+GPC or PCr/(gATP1+gATP2)");
    }

    void skip_blanks() {
        while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
    }

    bool takes(char c) {
        skip_blanks();
        if (at_ >= text_.size() || text_[at_] != c) return false;
        ++at_;
        skip_blanks();
        return true;
    }

    dual constant(double value) const {
        return {value, std::vector<double>(areas_.names.size(), 0.0)};
    }

    dual area(std::size_t k) const {
        dual result = constant(areas_.values[k]);
        result.by_area[k] = 1.0;
        return result;
    }

    static void add(dual &a, const dual &b, double factor) {
        a.value += factor * b.value;
        for (std::size_t k = 0; k < a.by_area.size(); ++k) a.by_area[k] += factor * b.by_area[k];
    }

    dual sum() {
        dual result = product();
        for (;;) {
            if (takes('+'))
                add(result, product(), 1.0);
            else if (takes('-'))
                add(result, product(), -1.0);
            else
                return result;
        }
    }

    dual product() {
        dual a = factor();
        for (;;) {
            const bool divide = takes('/');
            if (!divide && !takes('*')) return a;
            const dual b = factor();
            const double value = divide ? a.value / b.value : a.value * b.value;
            for (std::size_t k = 0; k < a.by_area.size(); ++k)
                a.by_area[k] = divide ? (a.by_area[k] - value * b.by_area[k]) / b.value
                                      : a.by_area[k] * b.value + a.value * b.by_area[k];
            a.value = value;
        }
    }

    dual factor() {
        if (++depth_ > 100) refuse("too many brackets");
        dual result;
        if (takes('-')) {
            result = constant(0.0);
            add(result, factor(), -1.0);
        } else if (takes('(')) {
            result = sum();
            if (!takes(')')) refuse("expected \")\"");
        } else {
            result = atom();
        }
        --depth_;
        return result;
    }

    dual atom() {
        skip_blanks();
        if (at_ >= text_.size()) refuse("the expression ends here; expected a name or a number");
        const char c = text_[at_];
        if (c == '\'') {
            const std::size_t end = text_.find('\'', at_ + 1);
            if (end == std::string::npos) refuse("a name begins here and does not end");
            const std::string name = text_.substr(at_ + 1, end - at_ - 1);
            dual result = named(name);
            at_ = end + 1;
            skip_blanks();
            return result;
        }
        const bool is_number_sign = c == '#';
        std::size_t end = at_ + (is_number_sign ? 1 : 0);
        while (end < text_.size() && is_name_character(text_[end])) ++end;
        const std::string word = text_.substr(at_, end - at_);
        if (word.empty()) refuse("expected a name or a number");
        dual result;
        const char *const last = text_.data() + text_.size();
        double value = 0.0;
        const auto number = std::from_chars(text_.data() + at_, last, value);
        const auto length = static_cast<std::size_t>(number.ptr - (text_.data() + at_));
        const bool is_entry =
            std::find(areas_.names.begin(), areas_.names.end(), word) != areas_.names.end();
        const bool starts_like_number =
            std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '.';
        if (!is_entry && starts_like_number && number.ec == std::errc() && length >= word.size()) {
            result = constant(value);
            end = at_ + length; // 1e-3 goes on behind its word
        } else {
            result = named(word);
        }
        at_ = end;
        skip_blanks();
        return result;
    }

    dual named(const std::string &name) const {
        const std::size_t count = areas_.names.size();
        for (std::size_t k = 0; k < count; ++k)
            if (areas_.names[k] == name || "#" + std::to_string(k + 1) == name) return area(k);
        dual result = constant(0.0);
        bool found = false;
        for (std::size_t k = 0; k < count && !name.empty(); ++k) {
            if (name[0] == '#' || !is_number_of(areas_.names[k], name)) continue;
            add(result, area(k), 1.0);
            found = true;
        }
        if (found) return result;
        std::string known;
        for (const std::string &entry : areas_.names) known += (known.empty() ? "" : " ") + entry;
        refuse("no entry \"" + name + "\" in " + areas_.place + ", which has " + known);
    }

    const named_areas &areas_;
    std::string text_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

} // namespace

double derived_area::percent_1sd() const {
    fitted_parameter like;
    like.value = value;
    like.error_2sd = 2.0 * error_1sd;
    return like.percent_1sd();
}

// Takes text apart into name and expression, and evaluates that.
static dual value_of(const named_areas &areas, const std::string &text, derived_area &result) {
    const std::size_t equals = text.find('=');
    result.expression = equals == std::string::npos ? text : text.substr(equals + 1);
    result.name = equals == std::string::npos ? text : text.substr(0, equals);
    while (!result.name.empty() && result.name.back() == ' ') result.name.pop_back();
    if (result.name.empty())
        throw tool_error(wrong_usage, "--derive \"" + text + "\": no name before the \"=\"");
    return expression(areas, result.expression).evaluate();
}

void check_derived_area(const std::vector<std::string> &names, const std::string &place,
                        const std::string &text) {
    const named_areas areas = {place, names, std::vector<double>(names.size(), 1.0)};
    derived_area ignored;
    value_of(areas, text, ignored);
}

derived_area derive_area(const run_result &run, const std::string &text) {
    named_areas areas;
    areas.place = run.name;
    for (const fitted_entry &entry : run.entries) {
        areas.names.push_back(entry.name);
        areas.values.push_back(entry.area.value);
    }
    derived_area result;
    const dual f = value_of(areas, text, result);
    result.value = f.value;
    result.error_1sd = std::numeric_limits<double>::quiet_NaN();
    if (!run.covariance_agrees) return result;
    const std::size_t n = run.entries.size();
    double variance = 0.0;
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t l = 0; l < n; ++l)
            variance += f.by_area[k] * run.control.area_covariance[n * k + l] * f.by_area[l];
    // An exact 0 (a constant, GPE-GPE) may come out a rounding below it.
    result.error_1sd = std::sqrt(std::max(0.0, variance));
    if (!std::isfinite(variance)) result.error_1sd = std::numeric_limits<double>::quiet_NaN();
    return result;
}

} // namespace tools
