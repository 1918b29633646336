// SPDX-License-Identifier: BSD-3-Clause
//
// The main function of a program that holds the tests of several source files: runs those of the
// file that its argument names, the others not even in their set-up.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <string_view>

namespace {

/** A filter that takes the tests whose source file's path ends in "/" and `name`; empty if there
 * are none. */
std::string tests_of_file(std::string_view name) {
    const std::string ending = "/" + std::string(name);
    std::string filter;
    const testing::UnitTest &all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite &suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            const testing::TestInfo &test = *suite.GetTestInfo(j);
            if (std::string_view(test.file()).ends_with(ending)) {
                filter += std::string(suite.name()) + '.' + test.name() + ':';
            }
        }
    }
    return filter;
}

} // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::string filter = argc == 2 ? tests_of_file(argv[1]) : "";
    if (filter.empty()) {
        std::cerr << "expected the name of one source file, as unit/kernel/test_fft.cpp, whose "
                     "tests are here\n";
        return 2;
    }
    // a filter that was asked for is narrower, and the child of a death test has its own
    if (testing::GTEST_FLAG(filter) == "*") testing::GTEST_FLAG(filter) = filter;
    return RUN_ALL_TESTS();
}
