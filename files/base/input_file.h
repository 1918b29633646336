// SPDX-License-Identifier: BSD-3-Clause
// input_file.h -- opening what is to be read, when somebody else may have put it there
//
// A name may lead to something that is no file. To open a pipe waits for a writer, maybe for ever,
// and a device need not have an end. A file may say that it is larger than any storage while it
// takes none on its disk, and one line may be all of it.
#pragma once

#include <fstream>
#include <string>

namespace tools {

// Bytes of a text that is held as a whole, and of a line: a whole FID of text fits.
inline constexpr std::size_t largest_text_file = std::size_t{1} << 28;
inline constexpr std::size_t longest_input_line = std::size_t{1} << 24;

// Whether a file is there, links followed, that is no folder, pipe or device.
bool is_file(const std::string &file);
std::string in_folder(const std::string &folder, const std::string &file);

// Errors: bad_input when the name leads to a pipe, a socket or a device. What the shell hands over
// as a file, below /dev/ or /proc/, is taken as it is; so is what is not there.
void refuse_no_file(const std::string &file);

// The bytes of a file; a stream that failed when it cannot be opened or is a folder.
// Errors: those of refuse_no_file.
std::ifstream open_input(const std::string &file);

// The next line, without its LF. Returns the bytes read, LF included; 0 at the end.
// Errors: bad_input, naming the file, for a line longer than longest_input_line.
std::size_t next_line(std::istream &stream, std::string &line, const std::string &file);

// Contents of a file; `expected` says in messages what should be there, such as "a table of peaks".
// Errors: bad_input when it is not there, a folder, or cannot be read.
std::string read_text_file(const std::string &file, const std::string &expected);

} // namespace tools
