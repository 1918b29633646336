// SPDX-License-Identifier: BSD-3-Clause
// ordered_json.h -- a JSON value whose objects keep the order in which their items were set
//
// A plain value: nothing, truth, whole number, number, text, list, or object. Text of a document is
// read and written by the JSON library in json_library.cpp, the one file that includes it: its
// header and templates take longer to compile than everything else in files/ together.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tools {

// A value of another kind than asked for, an item that is missing, text that is no JSON or no
// UTF-8.
class json_error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class ordered_json {
  public:
    // Values of a list or an object, in order. A single value is a range of itself, null an empty
    // one.
    using iterator = ordered_json *;
    using const_iterator = const ordered_json *;

    ordered_json() = default; // null
    ordered_json(std::nullptr_t) {}
    ordered_json(bool truth) : value_(truth) {}
    ordered_json(int whole) : value_(std::int64_t{whole}) {}
    ordered_json(long whole) : value_(std::int64_t{whole}) {}
    ordered_json(long long whole) : value_(std::int64_t{whole}) {}
    ordered_json(unsigned whole) : value_(std::uint64_t{whole}) {}
    ordered_json(unsigned long whole) : value_(std::uint64_t{whole}) {}
    ordered_json(unsigned long long whole) : value_(std::uint64_t{whole}) {}
    ordered_json(double number) : value_(number) {}
    ordered_json(const char *text) : value_(std::string(text)) {}
    ordered_json(std::string text) : value_(std::move(text)) {}
    ordered_json(const void *) = delete; // would be a truth
    template <class each>
    ordered_json(const std::vector<each> &values) : ordered_json(array()) {
        for (const each &value : values) push_back(value);
    }
    template <class each, std::size_t n>
    ordered_json(const std::array<each, n> &values) : ordered_json(array()) {
        for (const each &value : values) push_back(value);
    }
    // An object when each value is a pair that begins with a text, else a list.
    ordered_json(std::initializer_list<ordered_json> values);
    ordered_json(const ordered_json &other);
    ordered_json(ordered_json &&other) noexcept;
    ordered_json &operator=(const ordered_json &other);
    ordered_json &operator=(ordered_json &&other) noexcept;
    ~ordered_json();

    static ordered_json array(std::initializer_list<ordered_json> values = {});
    static ordered_json object();
    // Errors: json_error with the place in the text.
    static ordered_json parse(const std::string &text);
    // null for a text that is no JSON
    static ordered_json parse_or_null(const std::string &text);
    // The text of a document; indent -1 for one line. Errors: json_error when a text is no UTF-8.
    std::string dump(int indent = -1) const;
    // The same with U+FFFD for every byte that is no UTF-8.
    std::string dump_valid(int indent = -1) const;

    bool is_null() const { return holds<std::nullptr_t>(); }
    bool is_boolean() const { return holds<bool>(); }
    bool is_number_unsigned() const { return holds<std::uint64_t>(); } // so is all >= 0 in a text
    bool is_number_integer() const { return holds<std::int64_t>() || is_number_unsigned(); }
    bool is_number() const { return holds<double>() || is_number_integer(); }
    bool is_string() const { return holds<std::string>(); }
    bool is_array() const { return holds<list>(); }
    bool is_object() const { return holds<named_list>(); }
    bool is_structured() const { return is_array() || is_object(); }
    const char *type_name() const; // "null", "boolean", "number", "string", "array", "object"

    // A copy as bool, a number of one of the types below, std::string, a list, or a value.
    // Numbers are converted as the language does. Errors: json_error for another kind, or a number
    // that the language does not convert.
    template <class type>
    type get() const;

    std::size_t size() const; // 0 of null, 1 of a single value
    bool empty() const { return size() == 0; }
    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;
    const ordered_json &front() const;
    const ordered_json &back() const;
    // Names and values of an object. A list has its indices as names. Errors: json_error of others.
    std::vector<std::pair<std::string, const ordered_json &>> items() const;

    // end() where there is none, or this is no object.
    const_iterator find(const std::string &name) const;
    iterator find(const std::string &name);
    bool contains(const std::string &name) const { return find(name) != end(); }
    // Errors of all below: json_error for an item or a place that is not there, or another kind.
    const ordered_json &at(const std::string &name) const;
    ordered_json &at(const std::string &name);
    const ordered_json &at(std::size_t place) const;
    ordered_json &at(std::size_t place);
    const ordered_json &operator[](const std::string &name) const { return at(name); }
    const ordered_json &operator[](const char *name) const { return at(std::string(name)); }
    const ordered_json &operator[](std::size_t place) const { return at(place); }
    const ordered_json &operator[](int place) const { return at(static_cast<std::size_t>(place)); }
    ordered_json &operator[](std::size_t place) { return at(place); }
    // Adds the item as null where it is missing; null becomes an object.
    ordered_json &operator[](const std::string &name);
    ordered_json &operator[](const char *name) { return (*this)[std::string(name)]; }
    // The item, or otherwise where there is none. An object only.
    template <class type>
    type value(const std::string &name, const type &otherwise) const {
        const ordered_json *const found = item_of_object(name);
        return found == nullptr ? otherwise : found->get<type>();
    }
    std::string value(const std::string &name, const char *otherwise) const {
        return value(name, std::string(otherwise));
    }

    void push_back(ordered_json value);         // null becomes a list
    void update(const ordered_json &other);     // sets all items of another object
    std::size_t erase(const std::string &name); // how many there were
    void erase(const_iterator value);           // of a list or an object

    // Numbers are equal by value, objects with the same items in the same order.
    friend bool operator==(const ordered_json &a, const ordered_json &b) { return a.equals(b); }

  private:
    struct named_list;
    using list = std::vector<ordered_json>;
    struct named_list {
        std::vector<std::string> names;
        list values;
    };

    template <class type>
    bool holds() const {
        return std::holds_alternative<type>(value_);
    }
    const ordered_json *item_of_object(const std::string &name) const;
    [[noreturn]] void refuse(const char *expected) const;
    template <class type>
    type number(const char *expected) const;
    template <class type>
    std::vector<type> list_of() const;
    const list *values() const; // of a list or an object
    bool equals(const ordered_json &other) const;

    std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, list,
                 named_list>
        value_ = nullptr;
};

template <>
bool ordered_json::get<bool>() const;
template <>
int ordered_json::get<int>() const;
template <>
long long ordered_json::get<long long>() const;
template <>
unsigned long ordered_json::get<unsigned long>() const;
template <>
unsigned long long ordered_json::get<unsigned long long>() const;
template <>
double ordered_json::get<double>() const;
template <>
std::string ordered_json::get<std::string>() const;
template <>
std::vector<std::string> ordered_json::get<std::vector<std::string>>() const;
template <>
std::vector<long long> ordered_json::get<std::vector<long long>>() const;
template <>
ordered_json ordered_json::get<ordered_json>() const;

} // namespace tools
