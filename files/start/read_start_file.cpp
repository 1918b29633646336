// SPDX-License-Identifier: BSD-3-Clause
// read_start_file.cpp -- start value / fit control files of the three generations
#include "files/start/read_start_file.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace tools {

// Blank-separated words with their lines.
class word_reader {
  public:
    word_reader(std::string text, const std::string &file) : file_(file), text_(std::move(text)) {
        if (text_.find('\0') != std::string::npos)
            refuse_input(file, "not a text file; expected a start value file");
    }

    bool at_end() {
        skip_blanks();
        return at_ == text_.size();
    }
    std::string word() {
        skip_blanks();
        const std::size_t begin = at_;
        while (at_ < text_.size() && !is_blank(text_[at_])) ++at_;
        return text_.substr(begin, at_ - begin);
    }
    std::string peek() {
        const std::size_t at = at_;
        const int line = line_;
        std::string next = word();
        at_ = at;
        line_ = line;
        return next;
    }
    // the '@' of a strategy line may touch the number behind it
    bool take(char c) {
        skip_blanks();
        if (at_ == text_.size() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    std::string rest_of_line() {
        const std::size_t end = std::min(text_.find('\n', at_), text_.size());
        std::string rest = text_.substr(at_, end - at_);
        at_ = end;
        return rest;
    }
    void expect(const char *wanted) {
        const std::string found = word();
        if (found != wanted) refuse(found, std::string("the word ") + wanted);
    }
    int integer(const char *what) {
        const std::string found = word();
        int value = 0;
        if (!whole_number(found, value)) refuse(found, std::string(what) + ", a whole number");
        return value;
    }
    int count(const char *what, int most) {
        const std::string found = peek();
        const int value = integer(what);
        if (value < 0 || value > most)
            refuse(found, std::string(what) + " from 0 to " + std::to_string(most));
        return value;
    }
    double real(const char *what) {
        std::string found = word();
        const char *begin = found.data();
        if (*begin == '+') ++begin;
        float value = 0.0F; // the fit scans in single precision
        const auto end = std::from_chars(begin, found.data() + found.size(), value);
        if (end.ec != std::errc() || end.ptr != found.data() + found.size() ||
            !std::isfinite(value))
            refuse(found, std::string(what) + ", a finite number");
        return static_cast<double>(value);
    }
    [[noreturn]] void refuse(const std::string &found, const std::string &expected) const {
        refuse_input(file_ + ":" + std::to_string(line_),
                     "found " + (found.empty() ? "the end" : "\"" + found + "\"") + "; expected " +
                         expected);
    }

  private:
    static bool is_blank(char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
    }
    static bool whole_number(const std::string &text, int &value) {
        const char *const end = text.data() + text.size();
        const char *const begin = text.data() + (text.starts_with('+') ? 1 : 0);
        const auto result = std::from_chars(begin, end, value);
        return result.ec == std::errc() && result.ptr == end;
    }
    void skip_blanks() {
        while (at_ < text_.size() && is_blank(text_[at_])) line_ += text_[at_++] == '\n' ? 1 : 0;
    }

    std::string file_, text_;
    std::size_t at_ = 0;
    int line_ = 1;
};

static int keyword_integer(word_reader &words, const char *keyword) {
    words.expect(keyword);
    return words.integer(keyword);
}

static int keyword_count(word_reader &words, const char *keyword, int most) {
    words.expect(keyword);
    return words.count(keyword, most);
}

static void read_strategy_step(word_reader &words, start_file &start) {
    start_step step;
    step.algorithm = words.integer("the algorithm");
    step.points = words.integer("the truncation");
    for (int &value : step.switches) value = words.integer("a switch of the strategy");
    const int intervals = words.count("a number of intervals", 9);
    for (int i = 0; i < intervals; ++i) {
        const int first = words.integer("the first point of an interval");
        step.intervals.emplace_back(first, words.integer("the last point of an interval"));
    }
    start.steps.push_back(step);
}

static void read_starting_values(word_reader &words, start_file &start) {
    for (start_entry &entry : start.entries) {
        words.word();
        for (int q = 0; q < quantities; ++q) entry.of(q).value = words.real(name_of(q));
    }
}

// Link, value and range behind the type. The starting value holds where the two differ.
static void read_record(word_reader &words, const start_file &start, start_parameter &own) {
    own.link = words.integer("a link");
    words.real("a value");
    if (start.ranges == 2) return;
    const double least = words.real("the smallest value");
    own.range = {least, words.real("the largest value")};
}

// Lines "entry 3 PCr" among what the fit does not read.
static void read_names(word_reader &words, start_file &start) {
    while (!words.at_end()) {
        std::string line = words.rest_of_line();
        std::replace(line.begin(), line.end(), '\t', ' ');
        const std::size_t number = line.find(' ');
        if (line.substr(0, number) != "entry") continue;
        const std::size_t name = line.find(' ', number + 1);
        if (name == std::string::npos) continue;
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (std::to_string(k + 1) == line.substr(number + 1, name - number - 1))
                start.entries[k].name =
                    line.substr(name + 1, line.find_first_of(" \r", name + 1) - name - 1);
    }
}

static void make_entries(start_file &start, int lines, int patterns) {
    start.lines = lines;
    start.patterns = patterns;
    start.entries.assign(static_cast<std::size_t>(lines + patterns), {});
    for (std::size_t k = static_cast<std::size_t>(lines); k < start.entries.size(); ++k)
        start.entries[k].type = pattern_entry;
}

static void read_pattern_names(word_reader &words, start_file &start) {
    for (std::size_t k = static_cast<std::size_t>(start.lines); k < start.entries.size(); ++k)
        start.entries[k].pattern_file = words.word();
}

static void read_coefficients(word_reader &words, start_file &start, int count) {
    start.lineshape.clear();
    for (int i = 0; i < 2 * count; ++i)
        start.lineshape.push_back(words.real("a lineshape coefficient"));
}

static start_file read_keyword_format(word_reader &words, bool is_version_3) {
    start_file start;
    if (is_version_3) words.expect("version_3");
    start.generation = is_version_3 ? "version 3" : "old format";
    start.points = keyword_integer(words, "n_pnts");
    start.noise_first = keyword_integer(words, "noistr");
    start.noise_stop = keyword_integer(words, "noistp");
    const int lines = keyword_count(words, "nLines", search_limits::stored_patterns);
    const int coefficients = keyword_count(words, "lsfcfs", search_limits::stored_coefficients);
    words.expect("phi__1");
    start.phi_1 = words.real("phi__1");
    words.expect("Hz_p_p");
    start.hz_per_point = words.real("Hz_p_p");
    if (is_version_3) {
        words.expect("f__tol");
        start.tolerance = words.real("f__tol");
    }
    start.fit_mode = keyword_integer(words, "fit_mo");
    start.verbose = keyword_integer(words, "verbos");
    start.followed = keyword_integer(words, "showli");
    start.errors = keyword_integer(words, "clcerr");
    words.expect("sg_idl");
    start.data_format = words.word();
    start.ranges = keyword_integer(words, "ranges");
    start.ignored = keyword_integer(words, "ignore");
    int patterns = 0;
    if (is_version_3) patterns = keyword_count(words, "pattrn", search_limits::stored_patterns);
    make_entries(start, lines, patterns);
    read_pattern_names(words, start);
    words.expect("algor");
    for (int i = 0; i < 14; ++i) words.word();
    while (words.take('@')) read_strategy_step(words, start);
    words.expect("number");
    for (int i = 0; i < 5; ++i) words.word();
    read_starting_values(words, start);
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        start_entry &entry = start.entries[k];
        words.expect(("#" + std::to_string(k + 1)).c_str());
        words.expect("lsffit");
        entry.takes_lineshape = words.integer("0 or 1");
        for (int q = 0; q < quantities; ++q) {
            const int type = words.integer("a line type");
            if (q == 0) entry.type = type;
            if (type != entry.type)
                words.refuse(std::to_string(type),
                             "the type of the lines above it, " + std::to_string(entry.type));
            read_record(words, start, entry.of(q));
        }
    }
    words.expect("lsf_coefs");
    read_coefficients(words, start, start.fit_mode == 3 ? coefficients : 0);
    while (!words.at_end() && words.peek() != "end_of_lsf") words.word();
    words.expect("end_of_lsf");
    read_names(words, start);
    return start;
}

static void read_block_prior_knowledge(word_reader &words, start_file &start) {
    for (std::size_t i = 0; i < start.entries.size(); ++i) {
        const std::string found = words.peek();
        const int number = words.integer("an entry number");
        if (number < 1 || number > static_cast<int>(start.entries.size()))
            words.refuse(found,
                         "an entry number from 1 to " + std::to_string(start.entries.size()));
        start_entry &entry = start.entries[static_cast<std::size_t>(number - 1)];
        entry.takes_lineshape = words.integer("0 or 1");
        entry.type = words.integer("a line type");
        for (start_parameter &own : entry.parameters) read_record(words, start, own);
    }
}

static start_file read_block_format(word_reader &words) {
    start_file start;
    start.generation = "block format";
    int coefficients = 0;
    bool has_sizes = false, has_values = false;
    while (!words.at_end()) {
        if (words.take('@')) {
            read_strategy_step(words, start);
            continue;
        }
        const std::string word = words.word();
        if (word.starts_with('#')) { // an explanation may speak of the keywords
            words.rest_of_line();
        } else if (word == "varokel_spectrum_information") {
            start.points = words.integer("points");
            start.noise_first = words.integer("first noise point");
            start.noise_stop = words.integer("end of the noise");
            const int lines = words.count("lines", search_limits::stored_patterns);
            coefficients =
                words.count("lineshape coefficients", search_limits::stored_coefficients);
            start.phi_1 = words.real("phi_1");
            start.hz_per_point = words.real("Hz per point");
            start.tolerance = words.real("tolerance");
            start.ignored = words.integer("ignored points");
            make_entries(start, lines, words.count("patterns", search_limits::stored_patterns));
            has_sizes = true;
        } else if (word == "varokel_pattern_references") {
            read_pattern_names(words, start);
        } else if (word == "varokel_fit_control") {
            start.fit_mode = words.integer("fit mode");
            start.verbose = words.integer("verbosity");
            start.followed = words.integer("followed line");
            start.errors = words.integer("0 or 1");
            start.data_format = words.word();
            start.ranges = words.integer("ranges");
        } else if (word == "varokel_starting_values") {
            read_starting_values(words, start);
            has_values = true;
        } else if (word == "varokel_prior_knowledge") {
            read_block_prior_knowledge(words, start);
        } else if (word == "varokel_line_shape_function") {
            read_coefficients(words, start, start.fit_mode == 3 ? coefficients : 0);
        } else if (word == "varokel_end_of_file") {
            break;
        }
    }
    if (!has_sizes) words.refuse("", "the block varokel_spectrum_information");
    if (!has_values) words.refuse("", "the block varokel_starting_values");
    return start;
}

start_file parse_start_file(const std::string &text, const std::string &file) {
    word_reader words(text, file);
    const std::string first = words.peek();
    if (first == "version_3") return read_keyword_format(words, true);
    if (first == "varokel_begin_of_file") return read_block_format(words);
    if (first != "n_pnts")
        words.refuse(first, "version_3, varokel_begin_of_file or n_pnts, the first word of a "
                            "start value file");
    return read_keyword_format(words, false);
}

start_file read_start_file(const std::string &file) {
    return parse_start_file(read_text_file(file, "a start value file"), file);
}

} // namespace tools
