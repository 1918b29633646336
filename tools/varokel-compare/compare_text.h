// SPDX-License-Identifier: BSD-3-Clause
// compare_text.h -- two result files, words exactly, numbers within a tolerance
#pragma once

#include <string>
#include <vector>

namespace tools {

struct tolerance {
    double relative = 0.0; // of the larger magnitude of the two numbers
    double absolute = 0.0;
    long long whole = 0;   // between two numbers that both are written as whole numbers
    double fraction = 0.0; // of the error that stands at the same place of a third file
};

struct difference {
    long long line = 0, column = 0; // in the first file, from 1
    std::string text;               // got, wanted, and for numbers their distance
};

// Compares line by line; of each line only its first difference counts.
//
// Notes:
//   1. A number is a decimal constant, nan or inf that no letter, digit, point or underscore
//      touches: the 3 of "[3]" is one, that of "version_3" or of "31P" is not. Everything between
//      numbers, white space and line ends included, must agree to the byte.
//   2. Two numbers agree when they are within the absolute or within the relative tolerance;
//      two nan agree whatever their sign, infinities when they have the same sign.
//      With `errors`, the text of a file of the same shape, also when they are within `fraction`
//      of the number at the same place there; it does not count where that is nan.
//   3. What follows "File created at" must be a time stamp, "14:05:59 CET Monday March 04 2024",
//      in both files; it may be another one.
std::vector<difference> compare_text(const std::string &got, const std::string &wanted,
                                     const tolerance &allowed, const std::string &errors = {});

// True for "<hh>:<mm>:<ss> <zone> <weekday> <month> <dd> 20<yy>", blanks around it ignored. The
// zone may be missing.
bool is_time_stamp(const std::string &text);

} // namespace tools
