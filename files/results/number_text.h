// SPDX-License-Identifier: BSD-3-Clause
// number_text.h -- numbers as a reader wants them, and as a program does
#pragma once

#include <string>

namespace tools {

// Three significant digits, whole numbers from 1000 to a million, "n/a" for what is no finite
// number.
std::string short_number(double value);
// With as many digits as the standard deviation allows: two of it. Without one, five digits.
std::string with_digits_of(double value, double sd);
// Nine digits, enough for what the result files hold; "n/a" for what is no finite number.
std::string table_number(double value);
// Six digits: a number that was read in single precision shows as it was written.
std::string short_link_number(double value);
// A difference of two values of single precision, of which one is given, with the digits that it
// has; "0" below them.
std::string difference_number(double difference, double value);

} // namespace tools
