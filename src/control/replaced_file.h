// SPDX-License-Identifier: BSD-3-Clause
// replaced_file.h -- a text file that takes the place of an older one in one step
//
// A run may write the very file that it was started from. The new file is written beside the old
// one and renamed when it is whole: whatever ends the run, there stands the old file or the new
// one. Behind a link it is the file that the link leads to. Where nothing can be made or renamed in
// the folder, and where the name is not that of a plain file (a device), the file is written in
// place.
#pragma once

#include <cstdio>
#include <string>

class replaced_file {
  public:
    explicit replaced_file(const char *name);
    ~replaced_file();
    replaced_file(const replaced_file &) = delete;
    replaced_file &operator=(const replaced_file &) = delete;

    // Null when neither way of writing can be opened.
    std::FILE *stream() const { return stream_; }

    // Closes the file and puts it in place. Returns 0, or EOF when it is not whole: then a message
    // names it, and an older file that was to be replaced in one step is still there.
    int finish();

  private:
    std::string name_;    // as the user knows it
    std::string place_;   // behind links
    std::string written_; // where the bytes go until the end
    std::FILE *stream_;
};
