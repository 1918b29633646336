// SPDX-License-Identifier: BSD-3-Clause
// packed_file.h -- bytes of a file that gzip may have packed
#pragma once

#include <cstddef>
#include <string>

namespace tools {

// Reads a .gz file as what was packed, and any other file as it is.
//
// Errors: bad_input when it cannot be opened; for a packed file, too, when the program was built
//         without zlib.
class packed_file {
  public:
    // buffer: bytes that are unpacked at a time.
    explicit packed_file(const std::string &file, unsigned buffer = 8192);
    ~packed_file();
    packed_file(const packed_file &) = delete;
    packed_file &operator=(const packed_file &) = delete;

    // Up to count bytes from here on; fewer at the end, and where the packed bytes are damaged.
    std::size_t read(void *bytes, std::size_t count);
    // place: from the begin of what was packed. Returns whether it can be there.
    bool seek(long long place);
    // For a file that is read many times: from here on reads a copy of the first `most` bytes, a
    // file without a name in TMPDIR, else /tmp, so that going back does not unpack all of it again.
    // Nothing changes for a file that is not packed, and when there is no room for the copy.
    void unpack(long long most);

  private:
    std::string file_;
    void *stream_;
};

} // namespace tools
