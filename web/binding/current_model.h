// SPDX-License-Identifier: BSD-3-Clause
// current_model.h -- the spectrum and the table that the page shows
#pragma once

#include "files/base/ordered_json.h"
#include "files/pictures/signal_view.h"
#include "files/start/make_start.h"

#include "engine/model.h"

#include <memory>
#include <optional>
#include <string>

namespace web {

struct current_model {
    std::string folder, name; // of the spectrum, without ending
    tools::complex_signal spectrum;
    tools::spectrum_facts facts;
    std::optional<tools::table_axis> axis;

    std::string text; // of the table
    std::optional<tools::peak_table> table;
    tools::start_result start;
    std::vector<std::size_t> row_of; // of an entry
    double noise_sd = 1.0;
    std::optional<engine::model> model; // everything but links free, no windows: a hand moves it
    engine::model_workspace workspace;

    tools::view_settings view;
    std::unique_ptr<tools::signal_view> eye;
    // What the last picture had: curves that nothing changed since are not made again, as while a
    // hand moves one line of many.
    struct picture {
        tools::ordered_json data; // as array_for_page gave it; null: not made
        std::vector<engine::values_of_entry> values;
        tools::ordered_json components; // one for each of values
    } drawn;
};

// There is one: the page shows one spectrum at a time.
current_model &current();

// Its name in messages.
inline constexpr const char *table_name = "peaks.txt";

} // namespace web
