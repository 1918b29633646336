// SPDX-License-Identifier: BSD-3-Clause
// The value of a JSON document beside the JSON library's own value of the same text.
#include "files/base/ordered_json.h"

#include "files/base/read_json.h"
#include "files/base/tool_error.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using library_json = nlohmann::ordered_json;
using tools::json_error;
using tools::ordered_json;

// A document with every kind of value, of which some nest.
static library_json random_document(std::mt19937 &random, int depth) {
    static const std::vector<library_json> single = {nullptr,
                                                     true,
                                                     false,
                                                     0,
                                                     -1,
                                                     7U,
                                                     std::numeric_limits<std::int64_t>::min(),
                                                     std::numeric_limits<std::uint64_t>::max(),
                                                     0.1,
                                                     -0.0,
                                                     1e300,
                                                     5e-324,
                                                     1.0,
                                                     123456789012345680.0,
                                                     "",
                                                     "a \"text\" \\ with\n\t\x01 and \x7f",
                                                     "\u00b5 \u20ac \U0001f9e0"};
    const unsigned which = static_cast<unsigned>(random() % 4);
    if (depth == 0 || which < 2) return single[random() % single.size()];
    library_json made = which == 2 ? library_json::array() : library_json::object();
    for (unsigned k = static_cast<unsigned>(random() % 5); k > 0; --k) {
        library_json value = random_document(random, depth - 1);
        if (which == 2)
            made.push_back(value);
        else
            made["item " + std::to_string(random() % 9)] = value;
    }
    return made;
}

static void expect_same(const ordered_json &own, const library_json &other) {
    ASSERT_STREQ(own.type_name(), other.type_name());
    ASSERT_EQ(own.is_number_integer(), other.is_number_integer());
    ASSERT_EQ(own.is_number_unsigned(), other.is_number_unsigned());
    ASSERT_EQ(own.is_structured(), other.is_structured());
    ASSERT_EQ(own.size(), other.size());
    ASSERT_EQ(own.empty(), other.empty());
    std::size_t at = 0;
    if (own.is_structured()) {
        const auto items = own.items();
        for (const auto &[name, value] : other.items()) {
            ASSERT_EQ(items[at].first, name);
            expect_same(items[at++].second, value);
        }
    } else {
        for (const ordered_json &value : own) ASSERT_EQ(value, own) << ++at;
    }
}

TEST(ordered_json, reads_and_writes_as_the_library) {
    std::mt19937 random(5);
    for (int k = 0; k < 2000; ++k) {
        const library_json other = random_document(random, 4);
        for (const int indent : {-1, 0, 1, 4}) {
            const std::string text = other.dump(indent);
            const ordered_json own = ordered_json::parse(text);
            expect_same(own, library_json::parse(text));
            ASSERT_EQ(own.dump(indent), text);
            ASSERT_EQ(own.dump_valid(indent), text);
        }
    }
}

TEST(ordered_json, refuses_what_the_library_refuses) {
    for (const char *text : {"", " ", "{", "[1,", "{\"a\":}", "[1 2]", "nul", "01", "1e999",
                             "\"\xff\"", "{} x", "{1:2}", "\"\\ud800\"", "[1]]"}) {
        std::string expected;
        try {
            const library_json parsed = library_json::parse(text);
        } catch (const library_json::exception &error) {
            expected = error.what();
        }
        ASSERT_NE(expected, "") << text;
        try {
            static_cast<void>(ordered_json::parse(text));
            ADD_FAILURE() << text;
        } catch (const json_error &error) {
            EXPECT_EQ(error.what(), expected);
        }
        EXPECT_TRUE(ordered_json::parse_or_null(text).is_null());
    }
    EXPECT_THROW(tools::json_of_text(std::string(65, '[') + std::string(65, ']'), "f"),
                 tools::tool_error);
    EXPECT_NO_THROW(tools::json_of_text(std::string(64, '[') + std::string(64, ']'), "f"));
}

TEST(ordered_json, keeps_the_last_of_a_repeated_item_at_the_first_place) {
    const std::string text = R"({"a": 1, "b": 2, "a": [3]})";
    EXPECT_EQ(ordered_json::parse(text).dump(), library_json::parse(text).dump());
    EXPECT_EQ(ordered_json::parse(text).dump(), R"({"a":[3],"b":2})");
}

TEST(ordered_json, bytes_that_are_no_utf_8) {
    for (const std::string bytes :
         {"a\xff z", "\xe2\x82", "\xc0\xaf", "\xed\xa0\x80", "ok\xf0\x9f"}) {
        EXPECT_THROW(static_cast<void>(ordered_json(bytes).dump()), json_error);
        EXPECT_EQ(ordered_json(bytes).dump_valid(),
                  library_json(bytes).dump(-1, ' ', false, library_json::error_handler_t::replace));
    }
}

TEST(ordered_json, is_built_as_it_is_written) {
    const ordered_json made = {{"text", "a"},
                               {"truth", true},
                               {"list", {1, 2.5, nullptr}},
                               {"pairs", {{1, 2}, {3, 4}}},
                               {"inner", {{"x", 1}}},
                               {"numbers", std::vector<double>{1.0, 2.0}},
                               {"three", std::array<int, 3>{1, 2, 3}},
                               {"none", ordered_json()}};
    EXPECT_EQ(
        made.dump(),
        R"({"text":"a","truth":true,"list":[1,2.5,null],"pairs":[[1,2],[3,4]],"inner":{"x":1},)"
        R"("numbers":[1.0,2.0],"three":[1,2,3],"none":null})");
    char mutable_text[] = "not a truth";
    EXPECT_TRUE(ordered_json(mutable_text).is_string());
    EXPECT_TRUE(ordered_json::array({made}).is_array());
    EXPECT_EQ(ordered_json::array({made}).size(), 1U);
    EXPECT_TRUE(ordered_json::object().is_object());
}

TEST(ordered_json, changes) {
    ordered_json items;
    items["b"] = 1;
    items["a"]["inner"].push_back("x");
    items["a"]["inner"].push_back(items["a"]); // a part of itself
    EXPECT_EQ(items.dump(), R"({"b":1,"a":{"inner":["x",{"inner":["x"]}]}})");
    items.update({{"b", 2}, {"c", 3}});
    EXPECT_EQ(items.dump(), R"({"b":2,"a":{"inner":["x",{"inner":["x"]}]},"c":3})");
    EXPECT_EQ(items.erase("a"), 1U);
    EXPECT_EQ(items.erase("a"), 0U);
    EXPECT_EQ(items.dump(), R"({"b":2,"c":3})");
    ordered_json list = {1, 2, 3};
    list.erase(list.begin() + 1);
    EXPECT_EQ(list.dump(), "[1,3]");
    list[std::size_t{1}] = "changed";
    list.at(0) = nullptr;
    EXPECT_EQ(list.dump(), R"([null,"changed"])");
    EXPECT_THROW(list[std::size_t{2}] = 0, json_error);
    items.erase(items.begin());
    EXPECT_EQ(items.dump(), R"({"c":3})");
    EXPECT_THROW(items["c"].erase(items["c"].begin()), json_error);
    items = items["c"]; // a part of itself
    EXPECT_EQ(items, 3);
    ordered_json from = {1, 2};
    const ordered_json to = std::move(from);
    EXPECT_TRUE(from.is_null());
    EXPECT_EQ(to[1], 2);
}

TEST(ordered_json, refuses_another_kind) {
    const ordered_json list = {1, 2}, object = {{"a", 1}}, text = "t", nothing;
    EXPECT_THROW(text.get<double>(), json_error);
    EXPECT_THROW(text.get<bool>(), json_error);
    EXPECT_THROW(text.get<long long>(), json_error);
    EXPECT_THROW(text.get<std::vector<std::string>>(), json_error);
    EXPECT_THROW(list.get<std::vector<std::string>>(), json_error);
    EXPECT_THROW(list.get<std::string>(), json_error);
    EXPECT_THROW(list.at(2), json_error);
    EXPECT_THROW(list[std::size_t{2}], json_error);
    EXPECT_THROW(list.at("a"), json_error);
    EXPECT_THROW(list.value("a", 1.0), json_error);
    EXPECT_THROW(object["b"], json_error);
    EXPECT_THROW(object.at(std::size_t{0}), json_error);
    EXPECT_THROW(object.value("a", "text"), json_error);
    EXPECT_EQ(object.value("a", 2.0), 1.0);
    EXPECT_EQ(object.value("b", 2.0), 2.0);
    EXPECT_THROW(text.items(), json_error);
    EXPECT_THROW(nothing.front(), json_error);
    EXPECT_THROW(nothing.back(), json_error);
    EXPECT_THROW(nothing["a"], json_error);
    ordered_json changed = "t";
    EXPECT_THROW(changed["a"], json_error);
    EXPECT_THROW(changed.push_back(1), json_error);
    EXPECT_THROW(changed.update(object), json_error);
    EXPECT_THROW(changed.erase("a"), json_error);
    EXPECT_FALSE(text.contains("t"));
    EXPECT_TRUE(list.find("1") == list.end());
}

TEST(ordered_json, numbers_that_the_language_does_not_convert) {
    constexpr double two_63 = 9223372036854775808.0;
    EXPECT_EQ(ordered_json(-two_63 * 0.5).get<long long>(), -(1LL << 62));
    EXPECT_EQ(ordered_json(std::nextafter(two_63, 0.0)).get<long long>(),
              (1LL << 62) - 1024 + (1LL << 62));
    for (const double number : {two_63, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(ordered_json(number).get<long long>(), json_error) << number;
        EXPECT_THROW(ordered_json(number).get<int>(), json_error) << number;
    }
    EXPECT_THROW(ordered_json(-1.0).get<unsigned long>(), json_error);
    EXPECT_EQ(ordered_json(1.9).get<int>(), 1);
    EXPECT_EQ(ordered_json(3).get<double>(), 3.0);
}

TEST(ordered_json, equal_by_value) {
    std::mt19937 random(6);
    std::vector<library_json> all;
    for (int k = 0; k < 150; ++k) all.push_back(random_document(random, 2));
    // the library takes -1 and 2^64 - 1 for equal
    const auto wraps = [](const library_json &value) {
        return value.dump().find("18446744073709551615") != std::string::npos;
    };
    for (const library_json &a : all) {
        for (const library_json &b : all) {
            if (wraps(a) || wraps(b)) continue;
            ASSERT_EQ(ordered_json::parse(a.dump()) == ordered_json::parse(b.dump()),
                      library_json::parse(a.dump()) == library_json::parse(b.dump()))
                << a << b;
        }
    }
    EXPECT_EQ(ordered_json(3), ordered_json(3U));
    EXPECT_EQ(ordered_json(3), ordered_json(3.0));
    EXPECT_FALSE(ordered_json(-1) == ordered_json(std::numeric_limits<std::uint64_t>::max()));
}
