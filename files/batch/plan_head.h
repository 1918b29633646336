// SPDX-License-Identifier: BSD-3-Clause
// plan_head.h -- the head of a manifest, each item within its bounds
#pragma once

#include "files/base/plain_text.h"
#include "files/batch/batch_plan.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace tools {

// Refuses a manifest that plan did not write like this. Errors: bad_input.
[[noreturn]] void refuse_manifest(const std::string &name, const std::string &what);

// The lines that open and close the list of spectra.
inline constexpr char spectra_begin[] = " \"spectra\": [\n";
inline constexpr char spectra_end[] = " ]\n}\n";

// The text up to the list of spectra; where that begins.
std::string text_of_head(const manifest_file &file, long long &begin);

// The items of a head, each within its bounds.
class head_items {
  public:
    head_items(const ordered_json &items, const std::string &file) : items_(items), file_(file) {
        if (!items.is_object()) refuse_manifest(file, "is no JSON object");
    }
    const ordered_json &item(const char *name) const {
        const auto found = items_.find(name);
        if (found == items_.end()) refuse(name, "missing");
        return *found;
    }
    bool has(const char *name) const { return items_.contains(name); }
    long long whole(const char *name, long long least, long long most) const {
        const ordered_json &value = item(name);
        if (!value.is_number_integer() ||
            (value.is_number_unsigned() &&
             value.get<std::uint64_t>() > static_cast<std::uint64_t>(most)) ||
            value.get<long long>() < least || value.get<long long>() > most)
            refuse(name,
                   "no whole number from " + std::to_string(least) + " to " + std::to_string(most));
        return value.get<long long>();
    }
    bool truth(const char *name) const {
        if (!item(name).is_boolean()) refuse(name, "neither true nor false");
        return item(name).get<bool>();
    }
    std::string text(const char *name) const {
        const ordered_json &value = item(name);
        if (!value.is_string() || !is_plain_text(value.get<std::string>()))
            refuse(name, "no text of one line");
        return value.get<std::string>();
    }
    std::string name(const char *item_name) const {
        const std::string found = text(item_name);
        if (!is_plain_name(found)) refuse(item_name, "no plain name");
        return found;
    }
    std::string digest(const char *name) const {
        const std::string found = text(name);
        if (!is_digest(found)) refuse(name, "no digest");
        return found;
    }
    const ordered_json &list(const char *name) const {
        if (!item(name).is_array()) refuse(name, "no list");
        return item(name);
    }
    std::optional<double> number(const char *name, bool positive) const {
        if (!has(name) || item(name).is_null()) return std::nullopt;
        if (!item(name).is_number() || !std::isfinite(item(name).get<double>()) ||
            (positive && !(item(name).get<double>() > 0.0)))
            refuse(name, positive ? "no number above 0" : "no number");
        return item(name).get<double>();
    }
    [[noreturn]] void refuse(const char *name, const std::string &what) const {
        refuse_manifest(file_, std::string("item ") + name + " is " + what);
    }

  private:
    const ordered_json &items_;
    std::string file_;
};

// Everything in the head that a program uses, from plan.head. Digests of files are compared by the
// caller. Errors: bad_input, naming file and item.
void read_head(batch_plan &plan, const std::string &file);

// Windows of a table, which a start file has no place for, into plan.start. Errors: as above.
void read_windows(batch_plan &plan, const head_items &items, const std::string &file);

} // namespace tools
