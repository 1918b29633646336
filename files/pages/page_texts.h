// SPDX-License-Identifier: BSD-3-Clause
// page_texts.h -- style and scripts of the pages; their definitions are made by embed.cmake
#pragma once

#include <string_view>

namespace tools {

std::string_view report_style();
std::string_view overview_style();
std::string_view chart_values_script();
std::string_view charts_script();
std::string_view report_script();
std::string_view overview_values_script();
std::string_view overview_maps_script();
std::string_view overview_course_script();
std::string_view overview_model_script();
std::string_view overview_spread_script();
std::string_view overview_spectrum_script();
std::string_view overview_script();
std::string_view uplot_script();
std::string_view uplot_style();
std::string_view uplot_licence();

} // namespace tools
