// SPDX-License-Identifier: BSD-3-Clause
// Where a program finds the programs that it starts.
#include "common/find_program.h"

#include "files/base/tool_error.h"

#include "support/refusal.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

void make_program(const std::string &file, bool executable = true) {
    fs::create_directories(fs::path(file).parent_path());
    support::write_file(file, "#!/bin/sh\n");
    fs::permissions(file, executable ? fs::perms::owner_all : fs::perms::owner_read);
}

// PATH as given (nullptr: none) until the end of the block.
class own_path {
  public:
    explicit own_path(const char *value) {
        if (const char *before = std::getenv("PATH")) before_ = before;
        value == nullptr ? unsetenv("PATH") : setenv("PATH", value, 1);
    }
    ~own_path() { setenv("PATH", before_.c_str(), 1); }
    own_path(const own_path &) = delete;
    own_path &operator=(const own_path &) = delete;

  private:
    std::string before_;
};

std::string folder_of_this_program() {
    return fs::read_symlink("/proc/self/exe").parent_path().string();
}

} // namespace

TEST(find_program, a_program_is_a_file_with_the_right_to_be_started) {
    const support::temporary_folder folder;
    make_program(folder.file("does"));
    make_program(folder.file("not"), false);
    fs::create_directory(folder.file("place"));
    fs::create_symlink("does", folder.file("link"));
    fs::create_symlink("nowhere", folder.file("broken"));
    EXPECT_TRUE(tools::is_program(folder.file("does")));
    EXPECT_TRUE(tools::is_program(folder.file("link")));
    for (const std::string name : {"not", "place", "broken", "missing"})
        EXPECT_FALSE(tools::is_program(folder.file(name))) << name;
    EXPECT_FALSE(tools::is_program(""));
}

TEST(find_program, the_first_folder_of_PATH_that_has_it_counts) {
    const support::temporary_folder folder;
    make_program(folder.file("a/thing-1"), false); // no program
    make_program(folder.file("b/thing-1"));
    make_program(folder.file("c/thing-1"));
    make_program(folder.file("c/thing-2"));
    const own_path path((folder.file("missing") + "::" + folder.file("a") + ":" + folder.file("b") +
                         ":" + folder.file("c"))
                            .c_str());
    EXPECT_EQ(tools::find_program("thing-1"), folder.file("b/thing-1"));
    EXPECT_EQ(tools::find_program("thing-2"), folder.file("c/thing-2"));
    EXPECT_EQ(tools::find_program("thing-3"), "");
}

TEST(find_program, a_folder_of_PATH_without_a_beginning_is_from_here) {
    const support::temporary_folder folder(true);
    make_program(folder.file("own/thing-1"));
    make_program(folder.file("thing-2"));
    const own_path path("own:");
    EXPECT_EQ(tools::find_program("thing-1"), fs::absolute("own/thing-1").string());
    EXPECT_EQ(tools::find_program("thing-2"), "") << "an empty folder is not the current one";
}

TEST(find_program, without_PATH_only_the_folder_of_the_program_is_searched) {
    const own_path path(nullptr);
    EXPECT_EQ(tools::find_program("sh"), "");
    const std::string own = fs::read_symlink("/proc/self/exe").filename().string();
    EXPECT_EQ(tools::find_program(own), folder_of_this_program() + "/" + own);
}

TEST(find_program, what_stands_beside_comes_before_PATH) {
    const support::temporary_folder folder;
    const std::string own = fs::read_symlink("/proc/self/exe").filename().string();
    make_program(folder.file(own));
    const own_path path(folder.name().c_str());
    EXPECT_EQ(tools::find_program(own), folder_of_this_program() + "/" + own);
}

TEST(find_program, a_fitter_that_was_named_is_taken_or_refused) {
    const support::temporary_folder folder(true);
    make_program(folder.file("fitter"));
    make_program(folder.file("text"), false);
    EXPECT_EQ(tools::find_fitter("fitter"), fs::absolute("fitter").string());
    for (const std::string name : {"text", "missing", "."}) {
        const std::string said =
            support::refusal_of(tools::bad_input, [&] { tools::find_fitter(name); });
        EXPECT_TRUE(said.starts_with(name + ": no program")) << said;
    }
}

TEST(find_program, a_fitter_that_is_nowhere_is_asked_for) {
    if (tools::is_program(folder_of_this_program() + "/varokel"))
        GTEST_SKIP() << "the fitter stands beside this test";
    const support::temporary_folder folder;
    {
        const own_path path(folder.name().c_str());
        EXPECT_THROW(tools::find_fitter(""), tools::tool_error);
    }
    make_program(folder.file("varokel"));
    const own_path path(folder.name().c_str());
    EXPECT_EQ(tools::find_fitter(""), folder.file("varokel"));
}
