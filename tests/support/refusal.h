// SPDX-License-Identifier: BSD-3-Clause
// refusal.h -- what a call refuses with
#pragma once

#include "files/base/tool_error.h"

#include <gtest/gtest.h>

#include <string>

namespace support {

// The message of the tool_error that `what` ends with, whose status is held against this one;
// "no error" without one.
template <class body>
std::string refusal_of(int status, const body &what) {
    try {
        what();
    } catch (const tools::tool_error &error) {
        EXPECT_EQ(error.status(), status);
        return error.what();
    }
    return "no error";
}

// That a message has this part.
inline void expect_said(const std::string &said, const std::string &part) {
    EXPECT_NE(said.find(part), std::string::npos) << '"' << part << "\" is not in: " << said;
}

} // namespace support
