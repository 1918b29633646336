// SPDX-License-Identifier: BSD-3-Clause
#include "model/units.h"

#include <gtest/gtest.h>

struct entry {
    double par[5];
    parameter_record record[5];
};

static entry entry_of(int type) {
    entry e{{2.0, 100.0, 16.7, 30.0, 8.0}, {}};
    for (int j = 0; j < 5; ++j) e.record[j] = {type, 0, e.par[j], e.par[j] - 1.0, e.par[j] + 1.0};
    return e;
}

TEST(units, frequency_and_widths_by_line_type) {
    // Hz per point 2: 100 Hz are 50 points
    const double width1[] = {0.0, 16.7 * 0.5 / 1.67, 16.7 * 0.5, 16.7 * 0.5 / 1.67, 16.7};
    const double width2[] = {0.0, 8.0, 8.0, 4.0, 8.0};
    for (int type = 1; type <= 4; ++type) {
        entry e = entry_of(type);
        int npar_out = 0;
        EXPECT_EQ(internal_freq_units(1, 0, npar_out, e.par, e.record, 0.5, 2.0), 5);
        EXPECT_EQ(npar_out, 5);
        EXPECT_EQ(e.par[0], 2.0);
        EXPECT_EQ(e.par[1], 50.0);
        EXPECT_DOUBLE_EQ(e.par[2], width1[type]) << type;
        EXPECT_EQ(e.par[3], 30.0);
        EXPECT_EQ(e.par[4], width2[type]) << type;
        EXPECT_EQ(e.record[1].value, 50.0);
        EXPECT_EQ(e.record[1].min, 49.5);
        EXPECT_EQ(e.record[1].max, 50.5);
        EXPECT_DOUBLE_EQ(e.record[2].value, width1[type]);
        EXPECT_EQ(e.record[3].min, 29.0);
    }
}

TEST(units, gaussian_start_width_of_167_hundredths_of_a_point_is_exactly_one) {
    entry e = entry_of(1);
    const double hz = 0.7;
    e.par[2] = 1.67 * hz;
    int n = 0;
    internal_freq_units(1, 0, n, e.par, e.record, 1.0 / hz, hz);
    EXPECT_NEAR(e.par[2], 1.0, 2e-16);
}

TEST(units, conversion_back_restores_values_errors_and_records) {
    for (int type = 1; type <= 4; ++type) {
        entry e = entry_of(type);
        const entry start = e;
        int n = 0;
        const double hz = 3.3;
        internal_freq_units(0, 1, n, e.par, e.record, 1.0 / hz, hz);
        const double errors[5] = {1.0, 1.0, 1.0, 1.0, 1.0};
        double par_out[5], errors_out[5];
        parameter_record record_out[5];
        const entry internal = e;
        Natural_Frequency(0, 1, e.par, e.record, errors, par_out, record_out, errors_out, 1.0 / hz,
                          hz);
        for (int j = 0; j < 5; ++j) {
            EXPECT_NEAR(par_out[j], start.par[j], 1e-13) << type << " " << j;
            EXPECT_NEAR(record_out[j].value, start.record[j].value, 1e-13);
            EXPECT_NEAR(record_out[j].min, start.record[j].min, 1e-13);
            EXPECT_NEAR(record_out[j].max, start.record[j].max, 1e-13);
            EXPECT_EQ(record_out[j].type, type);
            EXPECT_EQ(e.par[j], internal.par[j]); // inputs stay
        }
        EXPECT_EQ(errors_out[0], 1.0);
        EXPECT_EQ(errors_out[1], hz);
        EXPECT_NEAR(errors_out[2], type == 4 ? 1.0 : type == 2 ? hz : 1.67 * hz, 1e-15);
        EXPECT_NEAR(errors_out[4], type == 3 ? hz : 1.0, 1e-15);
    }
}

TEST(units, lorentzian_width2_survives_unit_round_trip_untouched) {
    entry e = entry_of(2);
    int n = 0;
    internal_freq_units(1, 0, n, e.par, e.record, 1.0 / 7.0, 7.0);
    EXPECT_EQ(e.par[4], 8.0);
    EXPECT_EQ(e.record[4].value, 8.0);
}

TEST(units, empty_model_has_no_parameters) {
    int n = 99;
    EXPECT_EQ(internal_freq_units(0, 0, n, nullptr, nullptr, 1.0, 1.0), 0);
    EXPECT_EQ(n, 0);
}
