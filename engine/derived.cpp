// SPDX-License-Identifier: BSD-3-Clause
// derived.cpp -- values that follow from fitted ones, with their errors
#include "engine/derived.h"

#include "kernel/elementary.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

namespace engine {

namespace {

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

void add(derived_value &a, const derived_value &b, double factor) {
    a.value += factor * b.value;
    for (std::size_t k = 0; k < a.by.size(); ++k)
        for (std::size_t q = 0; q < quantities; ++q) a.by[k][q] += factor * b.by[k][q];
}

// a b, or a / b.
void multiply(derived_value &a, const derived_value &b, bool divide) {
    const double value = divide ? a.value / b.value : a.value * b.value;
    for (std::size_t k = 0; k < a.by.size(); ++k)
        for (std::size_t q = 0; q < quantities; ++q)
            a.by[k][q] = divide ? (a.by[k][q] - value * b.by[k][q]) / b.value
                                : a.by[k][q] * b.value + a.value * b.by[k][q];
    a.value = value;
}

void take_log10(derived_value &a) {
    const double slope = 1.0 / (a.value * std::numbers::ln10);
    a.value = kernel::log(a.value) / std::numbers::ln10;
    for (values_of_entry &of_entry : a.by)
        for (double &d : of_entry) d *= slope;
}

// Thrown inside evaluate only.
struct refusal {
    std::string what;
};

class reader {
  public:
    reader(const std::string &text, const expression_names &names,
           std::span<const values_of_entry> values)
        : text_(text), names_(names), values_(values) {}

    derived_value expression() {
        derived_value out = sum();
        if (at_ < text_.size()) refuse("expected an operator");
        return out;
    }

  private:
    [[noreturn]] void refuse(const std::string &what) const {
        throw refusal{"character " + std::to_string(at_ + 1) + ": " + what};
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

    derived_value constant(double value) const {
        return {value, std::vector<values_of_entry>(values_.size(), values_of_entry{})};
    }

    derived_value parameter_of(std::size_t k, quantity q) const {
        derived_value out = constant(values_[k][q]);
        out.by[k][q] = 1.0;
        return out;
    }

    derived_value sum() {
        derived_value out = product();
        for (;;) {
            if (takes('+'))
                add(out, product(), 1.0);
            else if (takes('-'))
                add(out, product(), -1.0);
            else
                return out;
        }
    }

    derived_value product() {
        derived_value out = factor();
        for (;;) {
            const bool divide = takes('/');
            if (!divide && !takes('*')) return out;
            multiply(out, factor(), divide);
        }
    }

    derived_value factor() {
        if (++depth_ > 100) refuse("too many brackets");
        derived_value out;
        if (takes('-')) {
            out = constant(0.0);
            add(out, factor(), -1.0);
        } else if (takes('(')) {
            out = sum();
            if (!takes(')')) refuse("expected \")\"");
        } else {
            out = atom();
        }
        --depth_;
        return out;
    }

    // The name that begins here, with or without ' '; at_ stays.
    std::string name_here(std::size_t &end) const {
        if (text_[at_] == '\'') {
            end = text_.find('\'', at_ + 1);
            if (end == std::string::npos) refuse("a name begins here and does not end");
            return text_.substr(at_ + 1, end++ - at_ - 1);
        }
        end = at_ + (text_[at_] == '#' ? 1 : 0);
        while (end < text_.size() && is_name_character(text_[end])) ++end;
        return text_.substr(at_, end - at_);
    }

    derived_value atom() {
        skip_blanks();
        if (at_ >= text_.size()) refuse("the expression ends here; expected a name or a number");
        const bool quoted = text_[at_] == '\'';
        std::size_t end = 0;
        const std::string word = name_here(end);
        if (!quoted && word.empty()) refuse("expected a name or a number");
        if (!quoted && end < text_.size() && text_[end] == '(') return function(word, end);
        const std::optional<double> number = quoted ? std::nullopt : number_here(word, end);
        derived_value out = number ? constant(*number) : named(word);
        at_ = end;
        skip_blanks();
        return out;
    }

    // A number, unless an entry has it for a name; end: behind it, 1e-3 goes on behind its word.
    std::optional<double> number_here(const std::string &word, std::size_t &end) const {
        const char c = text_[at_];
        const bool starts_like_number =
            std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '.';
        if (!starts_like_number || index_of(word)) return std::nullopt;
        double value = 0.0;
        const char *const first = text_.data() + at_;
        const auto number = std::from_chars(first, text_.data() + text_.size(), value);
        const auto length = static_cast<std::size_t>(number.ptr - first);
        if (number.ec != std::errc() || length < word.size()) return std::nullopt;
        end = at_ + length;
        return value;
    }

    derived_value function(const std::string &word, std::size_t bracket) {
        static const char *const parameters[quantities] = {"area", "frequency", "gauss_width",
                                                           "phase", "lorentz_width"};
        const auto *const p = std::find(parameters, parameters + quantities, word);
        if (p == parameters + quantities && word != "log10" && word != "pH")
            refuse("no function \"" + word +
                   "\"; there are area, frequency, gauss_width, phase, lorentz_width, log10 and "
                   "pH");
        at_ = bracket;
        takes('(');
        derived_value out;
        if (p != parameters + quantities) {
            out = parameter_of(one_entry(), static_cast<quantity>(p - parameters));
        } else if (word == "log10") {
            out = sum();
            take_log10(out);
        } else {
            out = ph();
        }
        if (!takes(')')) refuse("expected \")\"");
        return out;
    }

    derived_value ph() {
        std::vector<derived_value> of;
        for (int i = 0; i < 4; ++i) {
            if (i > 0 && !takes(','))
                refuse("expected \",\"; pH takes a shift, pKa and two limits");
            of.push_back(sum());
        }
        derived_value above = of[0], below = of[3];
        add(above, of[2], -1.0);
        add(below, of[0], -1.0);
        multiply(above, below, true);
        take_log10(above);
        add(above, of[1], 1.0);
        return above;
    }

    std::size_t one_entry() {
        if (at_ >= text_.size()) refuse("the expression ends here; expected the name of an entry");
        std::size_t end = 0;
        const std::string word = name_here(end);
        const std::optional<std::size_t> k = index_of(word);
        if (!k) refuse_name(word);
        at_ = end;
        return *k;
    }

    std::optional<std::size_t> index_of(const std::string &name) const {
        for (std::size_t k = 0; k < names_.entries.size(); ++k) {
            const bool is_its_number =
                name.starts_with('#') && name.compare(1, name.npos, std::to_string(k + 1)) == 0;
            if (is_its_number || names_.entries[k] == name) return k;
        }
        return std::nullopt;
    }

    derived_value named(const std::string &name) const {
        if (const std::optional<std::size_t> k = index_of(name)) return parameter_of(*k, area);
        derived_value out = constant(0.0);
        bool found = false;
        for (std::size_t k = 0; k < names_.entries.size() && !name.empty(); ++k) {
            if (name[0] == '#' || !is_number_of(names_.entries[k], name)) continue;
            add(out, parameter_of(k, area), 1.0);
            found = true;
        }
        if (!found) refuse_name(name);
        return out;
    }

    [[noreturn]] void refuse_name(const std::string &name) const {
        std::string known;
        for (const std::string &entry : names_.entries) known += (known.empty() ? "" : " ") + entry;
        refuse("no entry \"" + name + "\" in " + names_.place + ", which has " + known);
    }

    const std::string &text_;
    const expression_names &names_;
    std::span<const values_of_entry> values_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

} // namespace

result<derived_value> evaluate(const std::string &text, const expression_names &names,
                               std::span<const values_of_entry> values) {
    if (names.entries.size() != values.size())
        return failure{-1, "there are " + std::to_string(values.size()) + " entries, but " +
                               std::to_string(names.entries.size()) + " names"};
    try {
        return reader(text, names, values).expression();
    } catch (const refusal &r) {
        return failure{-1, r.what};
    }
}

std::vector<weighted_parameter> weighted_parameters(const derived_value &f) {
    std::vector<weighted_parameter> out;
    for (std::size_t k = 0; k < f.by.size(); ++k)
        for (const quantity q : every_quantity)
            if (const double weight = f.by[k][q]; weight != 0.0)
                out.push_back({static_cast<int>(k), q, weight});
    return out;
}

double error_of_variance(double variance, double largest_term) {
    if (std::isnan(variance)) return variance;
    // An exact 0 (GPE-GPE) may come out a rounding of its terms to either side.
    constexpr double rounding = 16.0 * std::numeric_limits<double>::epsilon();
    if (variance <= rounding * largest_term && std::isfinite(largest_term)) return 0.0;
    return std::sqrt(variance);
}

double error_of(const derived_value &f, const entry_covariance &covariance) {
    return error_of(
        f, [&](int k, quantity q, int l, quantity r) { return covariance.of(k, q, l, r); });
}

} // namespace engine
