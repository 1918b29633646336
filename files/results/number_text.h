// SPDX-License-Identifier: BSD-3-Clause
// number_text.h -- numbers as a reader wants them, and as a program does
#pragma once

#include <string>

namespace tools {

// Three significant digits, whole numbers from 1000 to a million, "n/a" for what is no finite
// number.
std::string short_number(double value);
// A fit quality: two digits behind the point, so that 1.10 stands below 1.09; below 0.1 and
// from 100 on as above.
std::string quality_number(double quality);
// A value and its standard deviation for a reader: two digits of the deviation, and the value to
// the same place, both in one notation (with a power of ten from a million on, below 0.0001, and
// where the place is the eighth behind the point or one farther). Without a deviation above 0 five
// digits of the value, and "n/a" for the other. The pages have the same rule in chart_values.js.
struct value_with_error {
    std::string value, error;
};
value_with_error with_error(double value, double sd);
// The value alone.
std::string with_digits_of(double value, double sd);
// An error in percent: two digits, from 100 on whole percents.
std::string percent_number(double percent);
// Nine digits, enough for what the result files hold; "n/a" for what is no finite number.
std::string table_number(double value);
// Six digits: a number that was read in single precision shows as it was written.
std::string short_link_number(double value);
// A difference of two values of single precision, of which one is given, with the digits that it
// has; "0" below them.
std::string difference_number(double difference, double value);

} // namespace tools
