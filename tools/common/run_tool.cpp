// SPDX-License-Identifier: BSD-3-Clause
#include "common/run_tool.h"

#include "files/base/tool_error.h"

#include <iostream>
#include <new>

namespace tools {

int run_tool(const char *program, const std::function<int()> &body) {
    int status = all_right;
    try {
        status = body();
    } catch (const tool_error &error) {
        std::cout.flush();
        std::cerr << program << ": " << error.what() << '\n';
        return error.status();
    } catch (const std::bad_alloc &) {
        std::cerr << program << ": not enough memory for this input\n";
        return bad_input;
    }
    std::cout.flush();
    if (!std::cout) {
        std::cerr << program << ": standard output cannot be written\n";
        return bad_output;
    }
    return status;
}

} // namespace tools
