// SPDX-License-Identifier: BSD-3-Clause
// pattern_name.h -- under which name a pattern that a table or a start file names lies beside a fit
#pragma once

#include <map>
#include <string>

namespace tools {

// Names for copies of pattern files in one folder. A name in a table says where a file is read,
// which may be anywhere; its copy has the last part of that name, or pattern_N with the same ending
// where that part is no plain name, belongs to a file of a fit, or is taken by another pattern.
class pattern_names {
  public:
    // spectrum: name of the data beside which the patterns lie, without ending. A pattern may share
    // neither its .bin nor any file that the fit writes.
    explicit pattern_names(std::string spectrum) : spectrum_(std::move(spectrum)) {}
    // The name of the copy of this file; the same one for the same file. Errors: bad_input when the
    // file cannot be found.
    std::string name_for(const std::string &file);
    // File by name of its copy.
    const std::map<std::string, std::string> &files() const { return files_; }

  private:
    bool is_free(const std::string &name) const;
    std::string spectrum_;
    std::map<std::string, std::string> files_;
};

// The file that `named` stands for in a table or start file: beside that file first, then from the
// working folder. Errors: bad_input when it is not there, or is no file.
std::string find_pattern_file(const std::string &named_in, const std::string &named);

} // namespace tools
