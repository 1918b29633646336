// SPDX-License-Identifier: BSD-3-Clause
#include "engine/derived.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using engine::derived_value;
using engine::evaluate;
using engine::expression_names;
using engine::quantity;
using engine::values_of_entry;

static const expression_names names = {{"PCr", "gATP1", "gATP2", "Pi", "a b", "7up", "pH"},
                                       "brain"};

// area, frequency, Gaussian width, phase, Lorentzian width
static std::vector<values_of_entry> some_values() {
    return {{4.0, 300.0, 10.0, 20.0, 8.0}, {2.0, 180.0, 12.0, 20.0, 9.0},
            {2.5, 196.0, 12.0, 20.0, 9.0}, {1.5, 895.0, 25.0, 20.0, 0.0},
            {0.5, 10.0, 1.0, 0.0, 1.0},    {8.0, 1.0, 1.0, 1.0, 1.0},
            {16.0, 1.0, 1.0, 1.0, 1.0}};
}

static double value_of(const std::string &text) {
    const engine::result<derived_value> f = evaluate(text, names, some_values());
    EXPECT_TRUE(f) << text << ": " << f.why().reason;
    return f ? f->value : 1e300;
}

static std::string message_of(const std::string &text) {
    const engine::result<derived_value> f = evaluate(text, names, some_values());
    EXPECT_FALSE(f) << text;
    return f ? "" : f.why().reason;
}

TEST(derived, values_by_hand) {
    EXPECT_EQ(value_of("PCr"), 4.0);
    EXPECT_EQ(value_of("#4"), 1.5);
    EXPECT_EQ(value_of("gATP"), 4.5); // gATP1 + gATP2
    EXPECT_EQ(value_of("PCr/gATP1/gATP1"), 1.0);
    EXPECT_EQ(value_of("PCr - gATP1 - gATP1"), 0.0);
    EXPECT_EQ(value_of("2*PCr+gATP1*-3"), 2.0);
    EXPECT_EQ(value_of("2*(PCr+gATP1)*3"), 36.0);
    EXPECT_EQ(value_of("'a b'*1e2+ .5"), 50.5);
    EXPECT_EQ(value_of("7up"), 8.0); // the name, not the number
    EXPECT_EQ(value_of("7+7up"), 15.0);
    EXPECT_EQ(value_of("frequency(PCr)"), 300.0);
    EXPECT_EQ(value_of("gauss_width('a b')+phase(#1)+lorentz_width( gATP1 )+area(Pi)"), 31.5);
    EXPECT_EQ(value_of("log10(25*PCr)"), 2.0);
    EXPECT_EQ(value_of("pH"), 16.0); // an entry of that name
    EXPECT_TRUE(std::isinf(value_of("PCr/(PCr-4)")));
    EXPECT_TRUE(std::isnan(value_of("log10(0-PCr)")));
}

TEST(derived, ph_from_a_shift) {
    // half way between acid and base, the pH is pKa; at 10 : 1, one more
    EXPECT_NEAR(value_of("pH(4.48, 6.75, 3.27, 5.69)"), 6.75, 1e-14);
    EXPECT_NEAR(value_of("pH(5.47, 6.75, 3.27, 5.69)"), 6.75 + 1.0, 1e-12); // 2.2 : 0.22
    // Pi 595 Hz from PCr at 121.5 MHz: 4.897 ppm
    const double d = (895.0 - 300.0) / 121.5;
    EXPECT_NEAR(value_of("pH((frequency(Pi)-frequency(PCr))/121.5, 6.75, 3.27, 5.69)"),
                6.75 + std::log10((d - 3.27) / (5.69 - d)), 1e-14);
    for (const char *outside : {"pH(3.2, 6.75, 3.27, 5.69)", "pH(5.7, 6.75, 3.27, 5.69)"})
        EXPECT_TRUE(std::isnan(value_of(outside))) << outside;
    EXPECT_EQ(value_of("pH(3.27, 6.75, 3.27, 5.69)"), -std::numeric_limits<double>::infinity());
}

TEST(derived, what_is_no_expression_is_named_with_its_place) {
    EXPECT_EQ(message_of(""), "character 1: the expression ends here; expected a name or a number");
    EXPECT_EQ(message_of("PCr+"),
              "character 5: the expression ends here; expected a name or a number");
    EXPECT_EQ(message_of("PCr gATP1"), "character 5: expected an operator");
    EXPECT_EQ(message_of("PCr%2"), "character 4: expected an operator");
    EXPECT_EQ(message_of("(PCr"), "character 5: expected \")\"");
    EXPECT_EQ(message_of("'PCr"), "character 1: a name begins here and does not end");
    EXPECT_EQ(message_of("1+NAA"), "character 3: no entry \"NAA\" in brain, which has PCr gATP1 "
                                   "gATP2 Pi a b 7up pH");
    EXPECT_NE(message_of("#8").find("no entry \"#8\""), std::string::npos);
    EXPECT_NE(message_of("''").find("no entry \"\""), std::string::npos);
    EXPECT_NE(message_of("frequency(gATP)").find("no entry \"gATP\""), std::string::npos);
    EXPECT_NE(message_of("sin(PCr)").find("no function \"sin\""), std::string::npos);
    EXPECT_NE(message_of("pH(1,2,3)").find("expected \",\""), std::string::npos);
    EXPECT_EQ(message_of("frequency("),
              "character 11: the expression ends here; expected the name of an entry");
    EXPECT_EQ(message_of(std::string(200, '(')), "character 101: too many brackets");
}

static const char *const expressions[] = {
    "PCr",
    "gATP+2*Pi-PCr/3",
    "PCr/gATP",
    "(PCr+Pi)/(gATP1+gATP2*Pi)*-0.5",
    "log10(PCr*Pi)/gATP1",
    "frequency(Pi)-frequency(PCr)",
    "phase(PCr)*lorentz_width(gATP1)/gauss_width(Pi)",
    "pH((frequency(Pi)-frequency(PCr))/121.5, 6.75, 3.27, 5.69)",
    "pH(PCr, area(Pi), area(gATP1), 2*gATP2)"};

TEST(derived, derivatives_are_those_of_central_differences) {
    for (const char *text : expressions) {
        const std::vector<values_of_entry> at = some_values();
        const engine::result<derived_value> f = evaluate(text, names, at);
        ASSERT_TRUE(f) << text;
        for (std::size_t k = 0; k < at.size(); ++k)
            for (std::size_t q = 0; q < engine::quantities; ++q) {
                const double step = 1e-5 * std::fmax(std::fabs(at[k][q]), 1.0);
                std::vector<values_of_entry> above = at, below = at;
                above[k][q] += step;
                below[k][q] -= step;
                const double difference =
                    (evaluate(text, names, above)->value - evaluate(text, names, below)->value) /
                    (2.0 * step);
                // third derivatives times step^2, rounding of the values over the step
                const double allowed =
                    1e-8 * std::fabs(difference) + 1e-15 * std::fabs(f->value) / step + 1e-9;
                EXPECT_NEAR(f->by[k][q], difference, allowed) << text << ", " << k << ' ' << q;
            }
    }
}

namespace {
// Errors of all parameters of all entries that hang together: p = value + G z, z normal.
class correlated_errors {
  public:
    correlated_errors(support::random_numbers &random, double relative)
        : n_(some_values().size() * engine::quantities), g_(n_ * n_) {
        const std::vector<values_of_entry> v = some_values();
        for (std::size_t i = 0; i < n_; ++i)
            for (std::size_t j = 0; j < n_; ++j)
                g_[i * n_ + j] =
                    relative * scale(v, i) * random.normal() / std::sqrt(static_cast<double>(n_));
    }
    double covariance(int k, quantity q, int l, quantity r) const {
        const std::size_t i = row(k, q), j = row(l, r);
        double sum = 0.0;
        for (std::size_t m = 0; m < n_; ++m) sum += g_[i * n_ + m] * g_[j * n_ + m];
        return sum;
    }
    std::vector<values_of_entry> draw(support::random_numbers &random) const {
        std::vector<double> z(n_);
        for (double &x : z) x = random.normal();
        std::vector<values_of_entry> out = some_values();
        for (std::size_t i = 0; i < n_; ++i)
            for (std::size_t m = 0; m < n_; ++m)
                out[i / engine::quantities][i % engine::quantities] += g_[i * n_ + m] * z[m];
        return out;
    }

  private:
    static std::size_t row(int k, quantity q) {
        return static_cast<std::size_t>(k) * engine::quantities + static_cast<std::size_t>(q);
    }
    // Frequencies are known to hertz, not to a part of themselves.
    static double scale(const std::vector<values_of_entry> &v, std::size_t i) {
        const std::size_t q = i % engine::quantities;
        return q == engine::frequency ? 20.0 : v[i / engine::quantities][q];
    }
    std::size_t n_;
    std::vector<double> g_;
};
} // namespace

TEST(derived, errors_are_the_scatter_of_draws_from_the_covariance) {
    support::random_numbers random(20);
    const correlated_errors errors(random, 0.01);
    const int draws = 4000;
    for (const char *text : expressions) {
        const derived_value f = *evaluate(text, names, some_values());
        const double error = engine::error_of(
            f, [&](int k, quantity q, int l, quantity r) { return errors.covariance(k, q, l, r); });
        double sum = 0.0, squares = 0.0;
        for (int i = 0; i < draws; ++i) {
            const double off = evaluate(text, names, errors.draw(random))->value - f.value;
            sum += off;
            squares += off * off;
        }
        const double scatter = std::sqrt((squares - sum * sum / draws) / (draws - 1));
        // The scatter of 4000 draws is known to 1.1 %; second order adds less than 1 %.
        EXPECT_NEAR(error / scatter, 1.0, 0.05) << text;
    }
}

TEST(derived, errors_of_what_cancels_and_of_what_is_not_known) {
    const double inf = std::numeric_limits<double>::infinity();
    // gATP1 = 0.3 PCr, whatever PCr is: both have one column
    const auto tied = [](int k, quantity q, int l, quantity r) {
        if (q != engine::area || r != engine::area || k > 1 || l > 1) return 0.0;
        return 0.01 * (k == 0 ? 1.0 : 0.3) * (l == 0 ? 1.0 : 0.3);
    };
    const auto error = [&](const char *text, const auto &covariance) {
        return engine::error_of(*evaluate(text, names, some_values()), covariance);
    };
    EXPECT_EQ(error("PCr-PCr", tied), 0.0);
    for (const char *text : {"PCr-gATP1/0.3", "PCr/7-gATP1/2.1", "11*PCr-gATP1/0.3*11"})
        EXPECT_EQ(error(text, tied), 0.0) << text;
    EXPECT_EQ(error("3.5", tied), 0.0);
    EXPECT_DOUBLE_EQ(error("PCr+10*gATP1", tied), 0.4);
    EXPECT_TRUE(std::isnan(error("1/(PCr-PCr)", tied) + error("PCr/(PCr-4)", tied)));
    const auto merged = [&](int k, quantity, int l, quantity) {
        return k == 0 && l == 0 ? inf : 0.0;
    };
    EXPECT_EQ(error("PCr", merged), inf);
    EXPECT_EQ(error("PCr/gATP1", merged), inf);
    EXPECT_EQ(error("Pi", merged), 0.0);
    EXPECT_EQ(error("Pi+0*PCr", merged), 0.0);
}
