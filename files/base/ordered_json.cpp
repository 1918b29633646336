// SPDX-License-Identifier: BSD-3-Clause
// ordered_json.cpp -- a JSON value whose objects keep the order in which their items were set
#include "files/base/ordered_json.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace tools {

static bool is_named_pair(const ordered_json &value) {
    return value.is_array() && value.size() == 2 && value.front().is_string();
}

ordered_json::ordered_json(std::initializer_list<ordered_json> values) {
    if (!std::all_of(values.begin(), values.end(), is_named_pair)) {
        value_ = list(values);
        return;
    }
    value_ = named_list();
    for (const ordered_json &pair : values) (*this)[pair.front().get<std::string>()] = pair.back();
}

ordered_json::ordered_json(const ordered_json &other) = default;
ordered_json::ordered_json(ordered_json &&other) noexcept : value_(std::move(other.value_)) {
    other.value_ = nullptr;
}
ordered_json &ordered_json::operator=(const ordered_json &other) {
    return *this = ordered_json(other); // other may stand inside of this
}
ordered_json &ordered_json::operator=(ordered_json &&other) noexcept {
    auto taken = std::move(other.value_); // as above
    other.value_ = nullptr;
    value_ = std::move(taken);
    return *this;
}
ordered_json::~ordered_json() = default;

ordered_json ordered_json::array(std::initializer_list<ordered_json> values) {
    ordered_json made;
    made.value_ = list(values);
    return made;
}

ordered_json ordered_json::object() {
    ordered_json made;
    made.value_ = named_list();
    return made;
}

const char *ordered_json::type_name() const {
    static const char *const names[] = {"null",   "boolean", "number", "number",
                                        "number", "string",  "array",  "object"};
    return names[value_.index()];
}

void ordered_json::refuse(const char *expected) const {
    throw json_error(std::string("expected ") + expected + ", found " + type_name());
}

template <class type>
type ordered_json::number(const char *expected) const {
    if (const auto *const found = std::get_if<double>(&value_)) {
        // what a cast to a whole type is defined for; its greatest value may be rounded up here
        const auto most = static_cast<double>(std::numeric_limits<type>::max());
        if (std::is_integral_v<type> &&
            !(*found >= (std::is_signed_v<type> ? -most : 0.0) && *found < most))
            refuse(expected);
        return static_cast<type>(*found);
    }
    if (const auto *const found = std::get_if<std::int64_t>(&value_))
        return static_cast<type>(*found);
    if (const auto *const found = std::get_if<std::uint64_t>(&value_))
        return static_cast<type>(*found);
    refuse(expected);
}

template <>
bool ordered_json::get<bool>() const {
    if (!is_boolean()) refuse("true or false");
    return std::get<bool>(value_);
}
template <>
int ordered_json::get<int>() const {
    return number<int>("a whole number");
}
template <>
long long ordered_json::get<long long>() const {
    return number<long long>("a whole number");
}
template <>
unsigned long ordered_json::get<unsigned long>() const {
    return number<unsigned long>("a whole number");
}
template <>
unsigned long long ordered_json::get<unsigned long long>() const {
    return number<unsigned long long>("a whole number");
}
template <>
double ordered_json::get<double>() const {
    return number<double>("a number");
}
template <>
std::string ordered_json::get<std::string>() const {
    if (!is_string()) refuse("a text");
    return std::get<std::string>(value_);
}
template <class type>
std::vector<type> ordered_json::list_of() const {
    if (!is_array()) refuse("a list");
    std::vector<type> all;
    for (const ordered_json &value : *this) all.push_back(value.get<type>());
    return all;
}
template <>
std::vector<std::string> ordered_json::get<std::vector<std::string>>() const {
    return list_of<std::string>();
}
template <>
std::vector<long long> ordered_json::get<std::vector<long long>>() const {
    return list_of<long long>();
}
template <>
ordered_json ordered_json::get<ordered_json>() const {
    return *this;
}

const ordered_json::list *ordered_json::values() const {
    if (const auto *const all = std::get_if<list>(&value_)) return all;
    if (const auto *const all = std::get_if<named_list>(&value_)) return &all->values;
    return nullptr;
}

std::size_t ordered_json::size() const {
    return static_cast<std::size_t>(end() - begin());
}

ordered_json::const_iterator ordered_json::begin() const {
    const list *const all = values();
    return all == nullptr ? this : all->data();
}
ordered_json::const_iterator ordered_json::end() const {
    const list *const all = values();
    if (all == nullptr) return is_null() ? this : this + 1;
    return all->data() + all->size();
}
ordered_json::iterator ordered_json::begin() {
    return const_cast<iterator>(std::as_const(*this).begin());
}
ordered_json::iterator ordered_json::end() {
    return const_cast<iterator>(std::as_const(*this).end());
}
const ordered_json &ordered_json::front() const {
    if (empty()) refuse("a value");
    return *begin();
}
const ordered_json &ordered_json::back() const {
    if (empty()) refuse("a value");
    return *(end() - 1);
}

std::vector<std::pair<std::string, const ordered_json &>> ordered_json::items() const {
    const auto *const object = std::get_if<named_list>(&value_);
    if (object == nullptr && !is_array() && !is_null()) refuse("an object");
    std::vector<std::pair<std::string, const ordered_json &>> all;
    for (const ordered_json &value : *this)
        all.emplace_back(object ? object->names[all.size()] : std::to_string(all.size()), value);
    return all;
}

ordered_json::const_iterator ordered_json::find(const std::string &name) const {
    const auto *const object = std::get_if<named_list>(&value_);
    if (object == nullptr) return end();
    const auto at = std::find(object->names.begin(), object->names.end(), name);
    return object->values.data() + (at - object->names.begin());
}
ordered_json::iterator ordered_json::find(const std::string &name) {
    return const_cast<iterator>(std::as_const(*this).find(name));
}

const ordered_json *ordered_json::item_of_object(const std::string &name) const {
    if (!is_object()) refuse("an object");
    const const_iterator found = find(name);
    return found == end() ? nullptr : found;
}

const ordered_json &ordered_json::at(const std::string &name) const {
    const ordered_json *const found = item_of_object(name);
    if (found == nullptr) throw json_error("item \"" + name + "\" is missing");
    return *found;
}
ordered_json &ordered_json::at(const std::string &name) {
    return const_cast<ordered_json &>(std::as_const(*this).at(name));
}
const ordered_json &ordered_json::at(std::size_t place) const {
    if (!is_array()) refuse("a list");
    if (place >= size())
        throw json_error("a list of " + std::to_string(size()) + " values has no place " +
                         std::to_string(place));
    return begin()[place];
}

ordered_json &ordered_json::at(std::size_t place) {
    return const_cast<ordered_json &>(std::as_const(*this).at(place));
}

ordered_json &ordered_json::operator[](const std::string &name) {
    if (is_null()) value_ = named_list();
    if (!is_object()) refuse("an object");
    const iterator found = find(name);
    if (found != end()) return *found;
    auto &object = std::get<named_list>(value_);
    object.names.push_back(name);
    return object.values.emplace_back();
}

void ordered_json::push_back(ordered_json value) {
    if (is_null()) value_ = list();
    if (!is_array()) refuse("a list");
    std::get<list>(value_).push_back(std::move(value));
}

void ordered_json::update(const ordered_json &other) {
    if (!other.is_object()) other.refuse("an object");
    if (is_null()) value_ = named_list();
    for (const auto &[name, value] : other.items()) (*this)[name] = value;
}

std::size_t ordered_json::erase(const std::string &name) {
    const ordered_json *const found = item_of_object(name);
    if (found == nullptr) return 0;
    erase(found);
    return 1;
}

void ordered_json::erase(const_iterator value) {
    if (!is_structured()) refuse("a list or an object");
    const auto place = value - begin();
    if (auto *const object = std::get_if<named_list>(&value_)) {
        object->names.erase(object->names.begin() + place);
        object->values.erase(object->values.begin() + place);
    } else {
        auto &all = std::get<list>(value_);
        all.erase(all.begin() + place);
    }
}

bool ordered_json::equals(const ordered_json &other) const {
    if (is_number() && other.is_number()) {
        if (is_number_integer() && other.is_number_integer()) {
            const bool below = !is_number_unsigned() && get<long long>() < 0;
            const bool other_below = !other.is_number_unsigned() && other.get<long long>() < 0;
            return below == other_below &&
                   get<unsigned long long>() == other.get<unsigned long long>();
        }
        return get<double>() == other.get<double>();
    }
    if (value_.index() != other.value_.index()) return false;
    if (is_boolean()) return get<bool>() == other.get<bool>();
    if (is_string()) return std::get<std::string>(value_) == std::get<std::string>(other.value_);
    if (is_null()) return true;
    if (is_object() &&
        std::get<named_list>(value_).names != std::get<named_list>(other.value_).names)
        return false;
    return *values() == *other.values();
}

} // namespace tools
