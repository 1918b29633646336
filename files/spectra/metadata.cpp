// SPDX-License-Identifier: BSD-3-Clause
// metadata.cpp -- what is known about a signal beside its points, as JSON
#include "files/spectra/metadata.h"

#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/spectra/number_range.h"

#include <cmath>
#include <utility>

namespace tools {

static ordered_json object_of(ordered_json items, const std::string &file) {
    if (!items.is_object()) refuse_input(file, "expected a JSON object, { \"item\": value, ... }");
    return items;
}

metadata::metadata(const std::string &file) : metadata(file, object_of(json_of_file(file), file)) {}

metadata::metadata(std::string file, ordered_json items)
    : file_(std::move(file)), items_(std::move(items)) {}

metadata metadata::of_text(const std::string &text, const std::string &file) {
    return {file, object_of(json_of_text(text, file), file)};
}

metadata metadata::inside(const char *item) const {
    const ordered_json *const value = find(item);
    return {file_, value != nullptr && value->is_object() ? *value : ordered_json::object()};
}

const ordered_json *metadata::find(const char *item) const {
    const auto at = items_.find(item);
    return at == items_.end() || at->is_null() ? nullptr : &*at;
}

void metadata::refuse(const char *item, const std::string &expected) const {
    refuse_input(file_, std::string("item \"") + item + "\" is " + items_.at(item).dump() +
                            "; expected " + expected);
}

std::optional<double> metadata::any_number(const char *item) const {
    const ordered_json *const value = find(item);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number() || !std::isfinite(value->get<double>())) refuse(item, "a number");
    return value->get<double>();
}

std::optional<double> metadata::number(const char *item) const {
    const std::optional<double> value = any_number(item);
    if (value && !is_in_range(*value)) refuse(item, number_expected);
    return value;
}

std::optional<double> metadata::positive_number(const char *item) const {
    const std::optional<double> value = any_number(item);
    if (value && *value <= 0.0) refuse(item, "a number above 0");
    if (value && !is_scale(*value)) refuse(item, scale_expected);
    return value;
}

std::optional<long long> metadata::positive_integer(const char *item) const {
    const ordered_json *const value = find(item);
    if (value == nullptr) return std::nullopt;
    if (!value->is_number_integer() || value->get<long long>() < 1)
        refuse(item, "a whole number above 0");
    return value->get<long long>();
}

std::optional<std::string> metadata::text(const char *item) const {
    const ordered_json *const value = find(item);
    if (value == nullptr) return std::nullopt;
    if (!value->is_string()) refuse(item, "a text");
    return value->get<std::string>();
}

std::optional<bool> metadata::truth(const char *item) const {
    const ordered_json *const value = find(item);
    if (value == nullptr) return std::nullopt;
    if (!value->is_boolean()) refuse(item, "true or false");
    return value->get<bool>();
}

std::optional<std::pair<long long, long long>> metadata::point_pair(const char *item,
                                                                    long long limit) const {
    const ordered_json *const value = find(item);
    if (value == nullptr) return std::nullopt;
    const bool whole = value->is_array() && value->size() == 2 && (*value)[0].is_number_integer() &&
                       (*value)[1].is_number_integer();
    const std::pair<long long, long long> points =
        whole ? std::pair((*value)[0].get<long long>(), (*value)[1].get<long long>())
              : std::pair(-1LL, -1LL);
    if (points.first < 0 || points.first > points.second || points.second > limit)
        refuse(item, "two points [first, last] within 0 to " + std::to_string(limit));
    return points;
}

} // namespace tools
