// SPDX-License-Identifier: BSD-3-Clause
// json_library.cpp -- texts of JSON documents, read and written by the JSON library
#include "files/base/ordered_json.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace tools {

namespace {

// Builds a value as the library reads it; objects and lists that are open stand on a pile.
class value_builder : public nlohmann::json_sax<nlohmann::ordered_json> {
  public:
    bool null() override { return put({}); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(value); }
    bool number_unsigned(number_unsigned_t value) override { return put(value); }
    bool number_float(number_float_t value, const string_t &) override { return put(value); }
    bool string(string_t &value) override { return put(std::move(value)); }
    bool binary(binary_t &) override { return false; }
    bool start_object(std::size_t) override { return open(ordered_json::object()); }
    bool start_array(std::size_t) override { return open(ordered_json::array()); }
    bool key(string_t &value) override {
        open_.back().name = std::move(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string &,
                     const nlohmann::detail::exception &error) override {
        throw json_error(error.what());
    }

    ordered_json taken() { return std::move(whole_); }

  private:
    struct level {
        ordered_json value;
        std::string name; // of the item that comes next
    };

    bool put(ordered_json value) {
        if (open_.empty())
            whole_ = std::move(value);
        else if (open_.back().value.is_array())
            open_.back().value.push_back(std::move(value));
        else
            open_.back().value[open_.back().name] = std::move(value);
        return true;
    }
    bool open(ordered_json value) {
        open_.push_back({std::move(value), ""});
        return true;
    }
    bool close() {
        ordered_json value = std::move(open_.back().value);
        open_.pop_back();
        return put(std::move(value));
    }

    ordered_json whole_;
    std::vector<level> open_;
};

nlohmann::ordered_json library_value(const ordered_json &own) {
    if (own.is_boolean()) return own.get<bool>();
    if (own.is_number_unsigned()) return own.get<unsigned long long>();
    if (own.is_number_integer()) return own.get<long long>();
    if (own.is_number()) return own.get<double>();
    if (own.is_string()) return own.get<std::string>();
    if (own.is_null()) return nullptr;
    nlohmann::ordered_json made =
        own.is_array() ? nlohmann::ordered_json::array() : nlohmann::ordered_json::object();
    if (own.is_array())
        for (const ordered_json &value : own) made.push_back(library_value(value));
    else // names are unique already
        for (const auto &[name, value] : own.items())
            made.get_ref<nlohmann::ordered_json::object_t &>().emplace_back(name,
                                                                            library_value(value));
    return made;
}

std::string text_of(const ordered_json &own, int indent,
                    nlohmann::ordered_json::error_handler_t handler) {
    try {
        return library_value(own).dump(indent, ' ', false, handler);
    } catch (const nlohmann::json::exception &error) {
        throw json_error(error.what());
    }
}

} // namespace

ordered_json ordered_json::parse(const std::string &text) {
    value_builder builder;
    nlohmann::ordered_json::sax_parse(text, &builder);
    return builder.taken();
}

ordered_json ordered_json::parse_or_null(const std::string &text) {
    try {
        return parse(text);
    } catch (const json_error &) {
        return {};
    }
}

std::string ordered_json::dump(int indent) const {
    return text_of(*this, indent, nlohmann::ordered_json::error_handler_t::strict);
}

std::string ordered_json::dump_valid(int indent) const {
    return text_of(*this, indent, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace tools
