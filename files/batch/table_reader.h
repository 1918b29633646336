// SPDX-License-Identifier: BSD-3-Clause
// table_reader.h -- a table of tab-separated cells that a batch left, by the names of its columns
#pragma once

#include "files/base/input_file.h"
#include "files/base/not_known.h"
#include "files/base/plain_text.h"
#include "files/base/tool_error.h"

#include <charconv>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// Every column of numbers that is shown takes a number for each spectrum of the plan.
inline constexpr std::size_t most_columns = 4096;

// A table with named columns, a row at a time.
class table_reader {
  public:
    explicit table_reader(const std::string &file) : file_(file), stream_(open_input(file)) {
        if (!stream_)
            refuse_input(file, "cannot be opened; merge the batch first (varokel-batch merge)");
        std::string line;
        next_line(stream_, line, file_);
        cut(line);
        if (cells_.size() > most_columns)
            refuse_input(file, std::to_string(cells_.size()) + " columns; expected up to " +
                                   std::to_string(most_columns));
        for (std::size_t c = 0; c < cells_.size(); ++c) {
            if (!columns_.emplace(utf8_cell(c), c).second)
                refuse_input(file, "two columns are called " + text_of_cell(cells_[c]) +
                                       ". Merge the batch again");
            names_.emplace_back(cells_[c]);
        }
        width_ = cells_.size();
    }

    bool next() {
        if (next_line(stream_, line_, file_) == 0) return false;
        ++number_;
        cut(line_);
        if (cells_.size() != width_)
            refuse_input(file_ + ", line " + std::to_string(number_),
                         std::to_string(cells_.size()) + " columns; expected " +
                             std::to_string(width_) + ". Merge the batch again");
        return true;
    }

    std::size_t column(const char *name) const {
        const auto found = columns_.find(name);
        if (found == columns_.end())
            refuse_input(
                file_,
                std::string("no column ") + name +
                    "; expected the table of this version of the programs. Merge the batch again");
        return found->second;
    }
    bool has(const char *name) const { return columns_.contains(name); }
    const std::vector<std::string> &names() const { return names_; }
    // Errors: bad_input for a cell that is not UTF-8: what is read goes into a page.
    std::string text(std::size_t column) const { return text_of_cell(utf8_cell(column)); }
    // Nothing for a cell that holds no number; n/a is not a number.
    std::optional<double> number_of(std::size_t column) const {
        const std::string_view cell = cells_[column];
        if (cell == "n/a") return not_known;
        double value = 0.0;
        const auto read = std::from_chars(cell.data(), cell.data() + cell.size(), value);
        if (read.ec != std::errc() || read.ptr != cell.data() + cell.size()) return std::nullopt;
        return value;
    }
    double number(std::size_t column) const {
        const std::optional<double> value = number_of(column);
        if (!value)
            refuse_input(file_ + ", line " + std::to_string(number_),
                         "\"" + text(column) + "\" where a number or n/a was expected");
        return *value;
    }

  private:
    std::string_view utf8_cell(std::size_t column) const {
        const std::string_view cell = cells_[column];
        if (utf8_fault(cell) != cell.npos)
            refuse_not_utf8(cell, file_ + ", line " + std::to_string(number_) + ": cell");
        return cell;
    }
    void cut(const std::string &line) {
        cells_.clear();
        std::size_t begin = 0;
        for (;;) {
            const std::size_t tab = line.find('\t', begin);
            cells_.emplace_back(std::string_view(line).substr(
                begin, tab == std::string::npos ? std::string::npos : tab - begin));
            if (tab == std::string::npos) return;
            begin = tab + 1;
        }
    }

    std::string file_;
    std::ifstream stream_;
    std::string line_;
    std::vector<std::string_view> cells_;
    std::map<std::string, std::size_t> columns_;
    std::vector<std::string> names_;
    std::size_t width_ = 0;
    long long number_ = 1;
};

} // namespace tools
