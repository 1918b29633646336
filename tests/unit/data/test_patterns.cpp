// SPDX-License-Identifier: BSD-3-Clause
#include "data/patterns.h"
#include "model/fft.h"
#include "model/l_shapes.h"
#include "oracle/definition.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include <sys/resource.h>

typedef std::complex<long double> value;
static constexpr long double pi = std::numbers::pi_v<long double>;

// One line of a pattern in the units of its file, Hz and degrees.
struct line {
    double area, frequency, gauss_width, zero_phase, lorentz_width;
};

class patterns : public ::testing::Test {
  protected:
    patterns() { make_store(1); }

    void make_store(int n) {
        n_patterns = n;
        const std::size_t slots = static_cast<std::size_t>(n) + 1;
        names.assign(slots * pattern_name_size, '\0');
        store.assign(slots * pattern_slot, 0.0);
        norms.assign(slots, 0.0);
    }

    const char (*name_table() const)[pattern_name_size] {
        return reinterpret_cast<const char(*)[pattern_name_size]>(names.data());
    }

    // Makes a file of the working directory that of pattern p; returns its name.
    // Names are short and relative: the folder's own name may hold an extension.
    std::string use(int p, const std::string &name) {
        std::snprintf(&names[static_cast<std::size_t>(p) * pattern_name_size], pattern_name_size,
                      "%s", name.c_str());
        return name;
    }

    std::string use_text(int p, const std::string &name, const std::string &content) {
        support::write_file(name, content);
        return use(p, name);
    }

    std::string fetch() {
        return support::stdout_of([this] {
            end_status = support::end_status_of([this] {
                fetch_patterns(n_patterns, ap, nLines, name_table(), store.data(), norms.data(),
                               frscl, Hz_pp, phi_1, ignore, verbose);
            });
        });
    }

    void expect_fetched() {
        EXPECT_EQ(fetch(), "");
        EXPECT_EQ(end_status, support::no_end);
    }

    void expect_refused(const std::string &content, const std::string &message) {
        const std::string name = use_text(1, "faulty.pat", content);
        std::string wanted = message;
        for (std::size_t at; (at = wanted.find("NAME")) != std::string::npos;)
            wanted.replace(at, 4, name);
        EXPECT_EQ(fetch(), wanted) << content;
        EXPECT_EQ(end_status, -1) << content;
    }

    value stored(int p, int k) const {
        const double *slot = store.data() + static_cast<std::size_t>(p) * pattern_slot;
        return {static_cast<long double>(slot[k]),
                static_cast<long double>(slot[max_pattern_points + k])};
    }

    // The time-domain signal of some lines, by the definition of a Voigt line with delay phi_1.
    std::vector<value> signal_of(const std::vector<line> &lines) const {
        std::vector<value> sum(static_cast<std::size_t>(ap));
        const long double N = ap;
        const long double d = static_cast<long double>(phi_1) / 360.0L;
        const long double hz = static_cast<long double>(Hz_pp);
        const int half_band = ap / 2;
        for (const line &one : lines) {
            const long double f = static_cast<long double>(one.frequency) / hz; // points
            const long double g = static_cast<long double>(one.gauss_width) / (hz * 1.67L);
            const long double L = static_cast<long double>(one.lorentz_width) / hz;
            const long double omega = 2.0L * pi * (f + half_band);
            const long double psi = omega * d / N +
                                    pi * static_cast<long double>(one.zero_phase) / 180.0L -
                                    pi * static_cast<long double>(phi_1) / 360.0L;
            for (int n = 0; n < ap; ++n) {
                const long double t = (n + d) / N;
                const long double envelope = std::exp(-pi * pi * g * g * t * t - pi * L * t);
                sum[static_cast<std::size_t>(n)] += static_cast<long double>(one.area) * envelope *
                                                    std::polar(1.0L, omega * n / N + psi);
            }
        }
        return sum;
    }

    // Single rounding steps of generator, sum and division, each some 1e-16 of values of about 1.
    void expect_normalised(int p, const std::vector<value> &wanted,
                           long double tolerance = 1e-12L) {
        const long double norm = std::abs(wanted[0]);
        EXPECT_NEAR(norms[static_cast<std::size_t>(p)] / static_cast<double>(norm), 1.0,
                    static_cast<double>(tolerance));
        for (int n = 0; n < ap; ++n)
            EXPECT_LE(std::abs(stored(p, n) - wanted[static_cast<std::size_t>(n)] / norm),
                      tolerance)
                << "point " << n;
    }

    // The file of a binary pattern by its rule: P[j] = conj(S[(n - j) mod n]), where S is the
    // centred spectrum of the FID whose first point is not halved, zero frequency at n/2.
    std::vector<value> file_of_fid(const std::vector<value> &fid) const {
        const definition::signal X = definition::transform(fid);
        std::vector<value> P(X.size());
        const std::size_t n = X.size();
        for (std::size_t j = 0; j < n; ++j) P[j] = std::conj(X[((n - j) % n + n / 2) % n]);
        return P;
    }

    void write_points(const std::string &name, const std::vector<value> &points) const {
        std::vector<double> re, im;
        for (const value &point : points) {
            re.push_back(static_cast<double>(point.real()));
            im.push_back(static_cast<double>(point.imag()));
        }
        support::write_signal(name, re, im);
    }

    support::temporary_folder folder{true};
    int n_patterns = 1;
    int ap = 64;
    int nLines = 3; // no influence
    int ignore = 0;
    int verbose = 2;
    double frscl = 1.0;
    double Hz_pp = 1.0;
    double phi_1 = 0.0;
    std::vector<char> names;
    std::vector<double> store, norms;
    int end_status = 0;
};

static const std::string columns = "parameters\n"
                                   "name line_type area frequency gauss_width zero_phase "
                                   "lorentz_width\n";
static const std::string heading_of_one = "start_pattern\nnumber_of_lines 1\n" + columns;
static const std::string ending = "end_of_parameters\nend_of_pattern\n";

// A file of one line, which is given as a file has it.
static std::string file_of(const std::string &record) {
    return heading_of_one + record + "\n" + ending;
}

static const std::string illegal_line = "fatal error : illegal lineshape encountered ...\n";

// All numbers are exact in single precision.
static const std::vector<line> three_lines = {
    {3.0, 50.5, 4.25, 30.0, 2.5}, {1.5, 100.0, 0.0, -45.0, 5.0}, {-0.75, 20.25, 8.0, 0.0, 0.0}};
static const std::string text_of_three_lines = "start_pattern\nnumber_of_lines 3\n" + columns +
                                               "a voigt   3.0   50.5   4.25  30.0  2.5\n"
                                               "b lorentz 1.5   100         -45.0  5.0\n"
                                               "c gauss  -0.75  20.25  8.0    0.0\n" +
                                               ending;

class pattern_of_three_lines : public patterns {
  protected:
    pattern_of_three_lines() {
        use_text(1, "three.pat", text_of_three_lines);
        Hz_pp = 2.5;
    }
    void expect_its_signal() {
        expect_fetched();
        expect_normalised(1, signal_of(three_lines));
    }
};

TEST_F(pattern_of_three_lines, is_the_sum_of_its_lines) {
    expect_its_signal();
}

TEST_F(pattern_of_three_lines, has_its_phase_turned_and_its_decay_moved_by_the_delay) {
    phi_1 = 1080.0;
    expect_its_signal();
}

TEST_F(pattern_of_three_lines, has_its_places_whatever_the_frequency_scale) {
    // the file's frequency is divided by it, the curve multiplies it again
    frscl = 1.75;
    expect_its_signal();
}

TEST_F(patterns, a_gauss_line_of_1_67_Hz_per_point_has_width_1) {
    use_text(1, "g.pat", file_of("a gauss 1 0 3.34 0"));
    Hz_pp = 2.0;
    expect_fetched();
    // exp(-pi^2 t^2) at t = 1/2; 3.34 is read in single precision: 2^-24 of it, and twice that
    // times the exponent pi^2/4 in the square
    EXPECT_NEAR(static_cast<double>(std::abs(stored(1, 32))),
                static_cast<double>(std::exp(-0.25L * pi * pi)), 4.0 * 2.5 * 0x1p-24 * 0.085);
}

TEST_F(patterns, every_number_of_a_text_file_carries_single_precision) {
    use_text(1, "a.pat", file_of("a lorentz 0.1 0.3 0 0.7"));
    expect_fetched();
    EXPECT_EQ(norms[1], static_cast<double>(0.1F));
    expect_normalised(1, signal_of({{static_cast<double>(0.1F), static_cast<double>(0.3F), 0.0, 0.0,
                                     static_cast<double>(0.7F)}}));
}

TEST_F(pattern_of_three_lines, keeps_its_leading_points_whatever_the_run_ignores) {
    ignore = 5;
    expect_its_signal();
    EXPECT_EQ(ignore, 5);
}

TEST_F(patterns, interpret_pattern_fills_one_slot) {
    make_store(3);
    use_text(2, "three.pat", text_of_three_lines);
    Hz_pp = 2.5;
    const int p = 2;
    EXPECT_EQ(support::stdout_of([&] {
                  interpret_pattern(p, name_table(), store.data(), norms.data(), ap, frscl, Hz_pp,
                                    phi_1, ignore, verbose);
              }),
              "");
    expect_normalised(2, signal_of(three_lines));
    EXPECT_EQ(norms[1], 0.0);
    EXPECT_EQ(norms[3], 0.0);
}

TEST_F(patterns, a_binary_pattern_is_conjugated_turned_by_half_and_transformed) {
    support::random_numbers random(31);
    std::vector<value> points(static_cast<std::size_t>(ap));
    long double sum = 0.0L;
    for (value &point : points) {
        point = {static_cast<long double>(static_cast<float>(random.normal())),
                 static_cast<long double>(static_cast<float>(random.normal()))};
        sum += std::abs(point);
    }
    write_points(use(1, "a.bin"), points);
    expect_fetched();

    std::vector<value> wanted(points.size());
    for (int k = 0; k < ap; ++k)
        for (int j = 0; j < ap; ++j)
            wanted[static_cast<std::size_t>(k)] +=
                std::conj(points[static_cast<std::size_t>((j + ap / 2) % ap)]) *
                std::polar(1.0L, -2.0L * pi * j * k / ap);
    // a few roundings of 1e-16 in each of six stages, against all that is added up
    expect_normalised(1, wanted, 1e-14L * sum / std::abs(wanted[0]));
    EXPECT_NEAR(static_cast<double>(std::abs(stored(1, 0))), 1.0, 1e-15);
}

TEST_F(patterns, a_line_at_point_p_of_a_binary_file_comes_to_point_n_minus_p) {
    double table[256];
    create_lookup(table, ap, 1);
    const int no_flags[8] = {};
    for (int p : {1, 20, 32, 63}) {
        std::vector<value> points(static_cast<std::size_t>(ap));
        points[static_cast<std::size_t>(p)] = {2.0L, 1.0L};
        write_points(use(1, "a.bin"), points);
        expect_fetched();
        std::vector<double> re(64), im(64);
        const int slot = 1, none = 0;
        const double unit = 1.0, zero = 0.0;
        Calculate_FD_Pattern(slot, nLines, ap, ap, none, no_flags, none, store.data(), unit, zero,
                             zero, zero, zero, zero, re.data(), im.data(), nullptr, nullptr,
                             nullptr, nullptr, frscl, table, none);
        const auto largest = std::max_element(
            re.begin(), re.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        EXPECT_EQ(largest - re.begin(), ap - p);
    }
}

TEST_F(patterns, the_same_line_as_text_and_as_binary_file_gives_the_same_signal) {
    make_store(2);
    for (int points : {64, 256}) {
        ap = points;
        Hz_pp = 2.5;
        use_text(1, "line.pat", file_of("a voigt 3 50.5 4.25 30 2.5"));

        // the FID of that line: its frequency counts from the carrier, which is at point n/2
        std::vector<value> fid(static_cast<std::size_t>(ap));
        const long double N = ap;
        for (int n = 0; n < ap; ++n) {
            const long double t = n / N;
            const long double g = 4.25L / (2.5L * 1.67L);
            const long double L = 2.5L / 2.5L;
            const long double f = 50.5L / 2.5L - N / 2.0L;
            fid[static_cast<std::size_t>(n)] =
                3.0L * std::exp(-pi * pi * g * g * t * t - pi * L * t) *
                std::polar(1.0L, 2.0L * pi * f * t + 30.0L * pi / 180.0L);
        }
        const std::vector<value> P = file_of_fid(fid);
        write_points(use(2, "line.bin"), P);
        expect_fetched();

        // Each point of the file is rounded to single precision, at most 2^-24 of it; a point of
        // the signal is the sum of all of them, and is divided by the first, which is off by as
        // much. 1e-12 is for the arithmetic in double precision.
        long double sum = 0.0L;
        for (const value &point : P) sum += std::abs(point);
        const long double tolerance = 2.0L * 0x1p-24L * sum / std::abs(fid[0]) + 1e-12L;
        EXPECT_LT(tolerance, 1e-6L); // it is a bound that would show any other difference
        for (int n = 0; n < ap; ++n)
            EXPECT_LE(std::abs(stored(1, n) - stored(2, n)), tolerance) << "point " << n;
        EXPECT_NEAR(norms[1], 3.0, 1e-12);
        EXPECT_NEAR(norms[2], 3.0, static_cast<double>(3.0L * tolerance));
    }
}

TEST_F(patterns, points_that_a_binary_file_lacks_are_0_in_every_pattern) {
    make_store(2);
    ap = 4;
    // the first file is whole, the second holds one point and a half
    write_points(use(1, "a.bin"), {{1, 0}, {2, 0}, {3, 0}, {4, 0}});
    const std::string half = use(2, "b.bin");
    write_points(half, {{5, 0}, {7, 0}});
    support::write_file(half, support::read_file(half).substr(0, 12));
    EXPECT_EQ(fetch(), "... error reading data ... exit...cnt  3 8 \n");
    EXPECT_EQ(end_status, support::no_end);
    EXPECT_NEAR(norms[1], 10.0, 1e-14);
    EXPECT_NEAR(norms[2], 12.0, 1e-14);
}

TEST_F(patterns, slots_and_norms_are_counted_from_1) {
    make_store(2);
    std::fill(store.begin(), store.begin() + pattern_slot, 7.0);
    use_text(1, "a.pat", file_of("a gauss 2 0 1 0"));
    use_text(2, "b.pat", file_of("a gauss 5 0 1 0"));
    expect_fetched();
    EXPECT_EQ(norms, (std::vector<double>{0.0, 2.0, 5.0}));
    EXPECT_EQ(std::count(store.begin(), store.begin() + pattern_slot, 7.0), pattern_slot);
}

TEST_F(patterns, pattern_of_4096_points_fills_its_slot_and_no_other) {
    make_store(3);
    std::fill(store.begin(), store.end(), 7.0);
    n_patterns = 1;
    ap = 4096;
    for (const char *base : {"a.pat", "a.bin"}) {
        use_text(1, "a.pat", file_of("a gauss 1 11 1000 0"));
        const std::string name = use(1, base);
        if (name.ends_with(".bin"))
            write_points(name, std::vector<value>(4096, value{0.5L, 0.25L}));
        expect_fetched();
        for (int slot : {0, 2})
            EXPECT_EQ(std::count(store.begin() + slot * pattern_slot,
                                 store.begin() + (slot + 1) * pattern_slot, 7.0),
                      pattern_slot);
        EXPECT_NE(store[pattern_slot + 4095], 7.0);
        EXPECT_NE(store[pattern_slot + 8191], 7.0);
    }
}

TEST_F(patterns, more_points_than_a_slot_holds_touch_no_store) {
    use_text(1, "a.pat", file_of("a gauss 1 0 1 0"));
    std::fill(store.begin(), store.end(), 7.0);
    for (int points : {4097, 8192}) {
        ap = points;
        expect_fetched();
        const int p = 1;
        support::stdout_of([&] {
            interpret_pattern(p, name_table(), store.data(), norms.data(), ap, frscl, Hz_pp, phi_1,
                              ignore, verbose);
        });
        EXPECT_EQ(static_cast<std::size_t>(std::count(store.begin(), store.end(), 7.0)),
                  store.size());
        EXPECT_EQ(norms[1], 0.0);
    }
}

// The files are opened and read as ever: one that is missing or faulty is told of.
TEST_F(patterns, without_points_files_are_read_and_nothing_is_stored) {
    use_text(1, "a.pat", file_of("a gauss 1 0 1 0"));
    for (int points : {0, -5}) {
        ap = points;
        std::fill(store.begin(), store.end(), 7.0);
        expect_fetched();
        EXPECT_EQ(static_cast<std::size_t>(std::count(store.begin(), store.end(), 0.0)), 8192U);
        EXPECT_EQ(norms[1], 0.0);
    }
    std::remove("a.pat");
    fetch();
    EXPECT_EQ(end_status, -1);
}

TEST_F(patterns, a_length_that_is_no_power_of_two_is_left_untransformed) {
    ap = 3;
    write_points(use(1, "a.bin"), {{3, 4}, {5, 6}, {7, 8}});
    expect_fetched();
    // rotated by one point and conjugated: the new first point is 5 - 6i
    EXPECT_DOUBLE_EQ(norms[1], std::sqrt(61.0));
    EXPECT_DOUBLE_EQ(store[pattern_slot + max_pattern_points + 2], -4.0 / std::sqrt(61.0));
}

TEST_F(patterns, no_patterns_read_nothing) {
    use(1, "nowhere.pat");
    for (int n : {0, -3}) {
        n_patterns = n;
        expect_fetched();
    }
}

TEST_F(patterns, files_are_named_as_they_are_opened_at_verbose_3) {
    make_store(2);
    const std::string text = use_text(1, "three.pat", text_of_three_lines);
    const std::string binary = use(2, "b.bin");
    write_points(binary, std::vector<value>(64, value{1.0L, 0.0L}));
    verbose = 3;
    EXPECT_EQ(fetch(), "opened : " + text +
                           " \n"
                           "calculating voigt line " +
                           text +
                           " a \n"
                           "calculating lorentz line " +
                           text +
                           " b \n"
                           "calculating gauss line " +
                           text +
                           " c \n"
                           "opening : " +
                           binary + " \n");
}

TEST_F(patterns, a_name_without_a_known_extension_ends_the_run) {
    for (const char *base : {"a.txt", "a.PAT", "a.BIN", "pat", "bin", ""}) {
        const std::string name = use(1, base);
        EXPECT_EQ(fetch(), " fatal error : \n\n"
                           "file  :  " +
                               name +
                               " \n\nno valid file extension\n"
                               "only .bin (binary file) or .pat (ascii file)\n"
                               "are allowed \n");
        EXPECT_EQ(end_status, -1);
    }
}

TEST_F(patterns, an_extension_counts_anywhere_in_the_name) {
    use_text(1, "a.pattern", file_of("a gauss 2 0 1 0"));
    expect_fetched();
    EXPECT_EQ(norms[1], 2.0);
    write_points(use(1, "a.binary.data"), std::vector<value>(64, value{1.0L, 0.0L}));
    expect_fetched();
    EXPECT_NEAR(norms[1], 64.0, 1e-12);
}

TEST_F(patterns, a_name_with_both_extensions_is_read_both_ways_and_text_wins) {
    // long enough to be read as 64 points without a message
    const std::string padding(1000, ' ');
    const std::string name = use_text(1, "a.bin.pat", file_of("a gauss 2 0 1 0") + padding);
    verbose = 3;
    EXPECT_EQ(fetch(), "opening : " + name + " \nopened : " + name + " \ncalculating gauss line " +
                           name + " a \n");
    EXPECT_EQ(norms[1], 2.0);
    expect_normalised(1, signal_of({{2.0, 0.0, 1.0, 0.0, 0.0}}));
}

TEST_F(patterns, a_text_file_that_does_not_open_ends_the_run) {
    const std::string name = use(1, "nowhere.pat");
    EXPECT_EQ(fetch(), " I/O-error : pattern file could not be opened : \n "
                       " check existence of : " +
                           name + " \n ");
    EXPECT_EQ(end_status, -1);
}

TEST_F(patterns, a_binary_file_that_does_not_open_ends_the_run_with_1) {
    const std::string name = use(1, "nowhere.bin");
    EXPECT_EQ(fetch(), "ERROR in filename '" + name + "', can't open !\n");
    EXPECT_EQ(end_status, 1);
}

TEST_F(patterns, a_text_file_begins_with_start_pattern) {
    const std::string message = "fatal error reading pattern file : NAME\n"
                                "illegal pattern file-format : file starts with : start_pattern \n";
    expect_refused("begin_pattern number_of_lines 1", message);
    expect_refused("Start_pattern", message);
    expect_refused("", message);
}

TEST_F(patterns, number_of_lines_follows_and_its_message_names_another_word) {
    const std::string message =
        "fatal error reading pattern file line 6: NAME\n"
        "illegal pattern file-format : fifth expected attribute  spectral_resolution ";
    expect_refused("start_pattern spectral_resolution 1", message);
    expect_refused("start_pattern", message);
}

static const std::string column_message =
    "fatal error reading pattern file line 7, 8: NAME\n"
    "illegal pattern file-format line 7, 8 should have the following format \n"
    "parameters \n"
    "name     line_type      area       frequency     gauss_width   zero_phase  lorentz_width \n";

TEST_F(patterns, the_eighth_column_word_is_the_one_that_is_checked) {
    expect_refused("start_pattern number_of_lines 1 1 2 3 4 5 6 7 lorentz_widths", column_message);
    expect_refused("start_pattern number_of_lines 1 2 3 4 5 6 7 lorentz_width", column_message);
    expect_refused("start_pattern number_of_lines 1", column_message);
    // the eighth is missing, its predecessor does not stand in for it
    expect_refused("start_pattern number_of_lines 1 1 2 3 4 5 6 lorentz_width", column_message);
    use_text(1, "a.pat",
             "start_pattern number_of_lines 1 1 2 3 4 5 6 7 lorentz_width a gauss 2 0 1 0 x "
             "end_of_pattern");
    expect_fetched();
    EXPECT_EQ(norms[1], 2.0);
}

TEST_F(patterns, a_number_of_lines_that_is_none_counts_as_a_column_word) {
    expect_refused("start_pattern number_of_lines one " + columns + ending, column_message);
}

TEST_F(patterns, an_unknown_line_type_ends_the_run) {
    for (const char *type : {"gaussian", "Voigt", "3", "pattern"})
        expect_refused(file_of(std::string("a ") + type + " 1 2 3 4 5"), illegal_line);
}

TEST_F(patterns, more_lines_than_the_file_holds_end_the_run) {
    const std::string text = "start_pattern number_of_lines 2000000000 " + columns;
    expect_refused(text, illegal_line);
    // the type is that of no earlier record
    expect_refused(text + "a gauss 1 2 3 4\n", illegal_line);
    expect_refused(text + "a gauss 1 2 3 4\nb", illegal_line);
    // the two words of the ending make a name and a type
    expect_refused(text + "a gauss 1 2 3 4\n" + ending, illegal_line);
    expect_refused("start_pattern number_of_lines 99999999999999999999 " + columns, illegal_line);
}

TEST_F(patterns, one_word_is_skipped_before_the_end_of_the_pattern) {
    const std::string message = "fatal error reading pattern file : NAME\n"
                                "illegal file-terminator (end_of_pattern) ";
    const std::string record = heading_of_one + "a gauss 2 0 1 0\n";
    expect_refused(record + "end_of_pattern\n", message); // it is the one that is skipped
    expect_refused(record + "x y end_of_pattern\n", message);
    expect_refused(record + "x end_of_file\n", message);
    expect_refused(record, message);
    for (const char *word : {"end_of_parameters", "17", "end_of_pattern"}) {
        use_text(1, "a.pat", record + word + " end_of_pattern behind it anything");
        expect_fetched();
    }
}

TEST_F(patterns, fewer_lines_than_the_file_holds_end_the_run) {
    expect_refused(file_of("a gauss 2 0 1 0\nb gauss 2 0 1 0"),
                   "fatal error reading pattern file : NAME\n"
                   "illegal file-terminator (end_of_pattern) ");
}

// Numbers are scanned one by one, so a fifth number is looked for in the next name.
TEST_F(patterns, a_voigt_line_of_four_numbers_takes_a_numeric_name_for_its_fifth) {
    const std::string start = "start_pattern number_of_lines 2 " + columns;
    expect_refused(start + "1 voigt 3 0 1 0\n2 gauss 1 0 1 0\n" + ending, illegal_line);
    // a name that is no number stays, and the line has no Lorentzian width
    use_text(1, "a.pat", start + "a voigt 3 0 1 0\nb gauss 1 0 1 0\n" + ending);
    expect_fetched();
    expect_normalised(1, signal_of({{3, 0, 1, 0, 0}, {1, 0, 1, 0, 0}}));
}

TEST_F(patterns, gauss_and_lorentz_lines_have_four_numbers) {
    // a fifth one is taken for the next name, its name for the type
    for (const char *type : {"gauss", "lorentz"}) {
        std::string text = "start_pattern number_of_lines 2 " + columns;
        text.append("a ").append(type).append(" 1 2 3 4 5\nb gauss 1 2 3 4\n").append(ending);
        expect_refused(text, illegal_line);
    }
}

TEST_F(patterns, very_long_words_are_bounded) {
    const std::string word(5000, 'w');
    expect_refused(word, "fatal error reading pattern file : NAME\n"
                         "illegal pattern file-format : file starts with : start_pattern \n");
    expect_refused(heading_of_one + word + " gauss 1 2 3 4 " + ending, illegal_line);
}

TEST_F(patterns, text_files_are_closed_after_reading) {
    use_text(1, "a.pat", file_of("a gauss 2 0 1 0"));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 40;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::string printed;
    for (int i = 0; i < 50 && printed.empty(); ++i) printed = fetch();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(end_status, support::no_end);
}

TEST_F(patterns, a_first_point_of_0_gives_values_that_are_not_finite) {
    use_text(1, "none.pat", "start_pattern number_of_lines 0 " + columns + ending);
    expect_fetched();
    EXPECT_EQ(norms[1], 0.0);
    EXPECT_TRUE(std::isnan(store[pattern_slot + 5])); // 0 / 0
    // two lines that cancel at the first point only
    use_text(1, "two.pat",
             "start_pattern number_of_lines 2 " + columns + "a gauss 1 0 1 0\nb gauss -1 0 9 0\n" +
                 ending);
    expect_fetched();
    EXPECT_EQ(norms[1], 0.0);
    EXPECT_TRUE(std::isinf(store[pattern_slot + 5]));
    // an empty binary file
    support::write_file(use(1, "none.bin"), "");
    EXPECT_EQ(fetch(), "... error reading data ... exit...cnt  0 128 \n");
    EXPECT_EQ(norms[1], 0.0);
    // numbers that are none
    for (const char *numbers : {"nan 0 1 0", "inf 0 1 0", "1 nan 1 0", "1 inf 1 0", "1 0 inf 0",
                                "1 0 1 nan", "1e38 1e38 -1e38 1e38"}) {
        use_text(1, "odd.pat", file_of(std::string("a gauss ") + numbers));
        expect_fetched();
    }
    for (double width : {0.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
        Hz_pp = width;
        use_text(1, "three.pat", text_of_three_lines);
        expect_fetched();
    }
}

TEST_F(patterns, a_model_with_such_a_pattern_is_not_finite_and_goes_on) {
    use_text(1, "none.pat", "start_pattern number_of_lines 0 " + columns + ending);
    expect_fetched();
    double table[256];
    create_lookup(table, ap, 1);
    const int no_flags[8] = {};
    std::vector<double> re(64), im(64);
    const int slot = 1, none = 0;
    const double unit = 1.0, zero = 0.0;
    Calculate_FD_Pattern(slot, nLines, ap, ap, none, no_flags, none, store.data(), unit, zero, unit,
                         zero, unit, zero, re.data(), im.data(), nullptr, nullptr, nullptr, nullptr,
                         frscl, table, none);
    EXPECT_TRUE(std::isnan(re[0]));
}

TEST_F(patterns, storage_that_cannot_be_had_is_named_and_the_run_goes_on) {
    use_text(1, "three.pat", text_of_three_lines);
    const std::string messages[] = {
        " Memory requested to store ge_array[] in void FitSpectrum is not available\n",
        " Memory requested to store ge_arrayd[] in void FitSpectrum is not available\n",
        " Memory requested to store dummyre[] in void FitSpectrum is not available\n",
        " Memory requested to store dummyim[] in void FitSpectrum is not available\n",
        "Memory requested to store yre[] in void\n interpret_pattern() is not available\n",
        "Memory requested to store yim[] in void\n interpret_pattern() is not available\n",
        "Memory requested to store dummy_ptr[] in void\ninterpret_pattern() is not available\n",
        "Memory requested to store dummy_ptr1[] in void\ninterpret_pattern() is not available\n",
        "Memory requested to store dummy_ptr2[] in void\ninterpret_pattern() is not available\n",
        "Memory requested to store yim3[] in void\ninterpret_pattern() is not available\n",
        "not enough memory to allocate int array fit_lsf[] in void interpret_pattern()\n"};
    for (int k = 0; k < 11; ++k) {
        fail_storage_request(k + 1);
        EXPECT_EQ(fetch(), messages[k]);
        EXPECT_EQ(end_status, support::no_end);
        EXPECT_EQ(norms[1], 0.0);
    }
    fail_storage_request(0);
}
