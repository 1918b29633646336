// SPDX-License-Identifier: BSD-3-Clause
// Which files of a folder are a fit's own, and what happens to those of others.
#include "varokel-fit/earlier_fit.h"

#include "files/base/own_files.h"
#include "files/base/tool_error.h"

#include "support/refusal.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

// Two folders; the first holds an earlier fit of three files.
class two_folders : public testing::Test {
  protected:
    two_folders() {
        fs::create_directories(from("sub"));
        fs::create_directory(to(""));
        write("start.par", "begin");
        write("sub/data.fit", "curve");
        write("data.mat", "values");
        tools::write_fit_list(from(""));
    }
    std::string from(const std::string &file) const { return place_.file("from/" + file); }
    std::string to(const std::string &file) const { return place_.file("to/" + file); }
    void write(const std::string &file, const std::string &text) const {
        fs::create_directories(fs::path(from(file)).parent_path());
        support::write_file(from(file), text);
    }
    auto taken() const { return tools::take_over(from(""), to("")); }
    std::vector<std::string> there() const {
        std::vector<std::string> all;
        for (const fs::path &file : tools::files_below(to(""))) all.push_back(file.string());
        return all;
    }
    typedef std::vector<std::string> names;

    support::temporary_folder place_;
};

} // namespace

TEST_F(two_folders, a_file_is_the_fits_own_while_it_has_the_listed_digest) {
    const tools::earlier_fit before(from(""));
    for (const std::string file : {"start.par", "sub/data.fit", "data.mat"})
        EXPECT_TRUE(before.has(file)) << file;
    write("data.mat", "VALUES");
    fs::remove(from("start.par"));
    fs::create_symlink("sub/data.fit", from("start.par"));
    fs::remove(from("sub/data.fit"));
    for (const std::string file : {"start.par", "sub/data.fit", "data.mat", "other"})
        EXPECT_FALSE(before.has(file)) << file;
}

TEST_F(two_folders, the_list_and_the_files_of_the_report_are_the_fits_own) {
    const tools::earlier_fit before(from(""));
    for (const std::string file : {tools::fit_list_name, "report.html", "data.fit.svg"})
        EXPECT_TRUE(before.has(file)) << file;
    EXPECT_FALSE(before.has(fs::path("sub") / "report.html")) << "of a folder within";
    EXPECT_FALSE(before.has("report.htm"));
}

TEST_F(two_folders, without_a_list_nothing_is_a_fits_own) {
    fs::remove(from(tools::fit_list_name));
    const tools::earlier_fit before(from(""));
    for (const std::string file : {"start.par", tools::fit_list_name, "report.html"})
        EXPECT_FALSE(before.has(file)) << file;
}

TEST_F(two_folders, files_of_others_are_taken_over_as_they_are) {
    write("notes.txt", "mine");
    write("deep/er/table.csv", "1,2");
    fs::create_symlink("notes.txt", from("link"));
    fs::permissions(from("deep"), fs::perms::owner_all);
    write("data.mat", "changed"); // no longer the fit's
    const auto looked_at = taken();
    EXPECT_EQ(there(), (names{"data.mat", "deep/er/table.csv", "link", "notes.txt"}));
    EXPECT_EQ(support::read_file(to("data.mat")), "changed");
    EXPECT_TRUE(fs::equivalent(to("notes.txt"), from("notes.txt"))) << "linked, not copied";
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(to("link"))));
    EXPECT_EQ(fs::read_symlink(to("link")), "notes.txt");
    EXPECT_EQ(fs::status(to("deep")).permissions(), fs::perms::owner_all);
    for (const std::string file : {"notes.txt", "start.par", "link", "deep/er/table.csv"}) {
        ASSERT_TRUE(looked_at.contains(file)) << file;
        EXPECT_EQ(looked_at.at(file), tools::identity_of(from(file)).text()) << file;
    }
    EXPECT_EQ(looked_at.size(), 7u) << "with the list and two more of the fit";
}

TEST_F(two_folders, what_the_new_fit_wrote_is_not_replaced) {
    write("notes.txt", "mine");
    support::write_file(to("notes.txt"), "new");
    taken();
    EXPECT_EQ(support::read_file(to("notes.txt")), "new");
    EXPECT_EQ(support::read_file(from("notes.txt")), "mine");
}

TEST_F(two_folders, folders_without_files_stay) {
    fs::create_directories(from("empty/within"));
    taken();
    EXPECT_TRUE(fs::is_directory(to("empty/within")));
    EXPECT_FALSE(fs::exists(to("sub"))) << "which holds a file of the fit only";
}

TEST_F(two_folders, a_file_with_the_name_of_a_folder_is_refused_and_the_other_way_round) {
    write("name", "a file");
    fs::create_directory(to("name"));
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { taken(); }),
              from("name") + ": a file; expected a place for a folder");
    fs::remove(from("name"));
    fs::remove(to("name"));
    support::write_file(to("name"), "a file");
    fs::create_directory(from("name"));
    const std::string folder = from("name") + ": a folder; expected a place for a file";
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { taken(); }), folder);
    write("name/within", "mine");
    EXPECT_EQ(support::refusal_of(tools::bad_output, [&] { taken(); }), folder);
}

// A new folder on another file system than this place: storage, or a disk where the place is in
// storage itself. "" where there is none.
static std::string folder_beyond(const std::string &place) {
    struct stat here = {}, other = {};
    EXPECT_EQ(stat(place.c_str(), &here), 0);
    for (const std::string &root : {std::string("/dev/shm"), fs::current_path().string()}) {
        std::string name = root + "/earlier_fit_XXXXXX";
        if (stat(root.c_str(), &other) == 0 && other.st_dev != here.st_dev &&
            mkdtemp(name.data()) != nullptr)
            return name;
    }
    return "";
}

// On another file system a file cannot be linked: it is copied.
TEST_F(two_folders, over_the_edge_of_a_file_system_files_are_copied) {
    const std::string elsewhere = folder_beyond(place_.name());
    if (elsewhere.empty()) GTEST_SKIP() << "no other file system";
    write("notes.txt", "mine");
    fs::create_symlink("nowhere", from("link"));
    tools::take_over(from(""), elsewhere);
    EXPECT_EQ(support::read_file(elsewhere + "/notes.txt"), "mine");
    EXPECT_EQ(fs::read_symlink(elsewhere + "/link"), "nowhere");
    EXPECT_FALSE(fs::exists(elsewhere + "/start.par"));
    fs::remove_all(elsewhere);
}

TEST_F(two_folders, what_came_after_the_look_is_moved_over) {
    write("notes.txt", "mine");
    const auto looked_at = taken();
    write("late/late.txt", "too late");
    support::write_file(from("replaced"), "another");
    fs::rename(from("replaced"), from("notes.txt"));
    write(".owner", "of the folder");
    tools::take_late_files(from(""), to(""), looked_at);
    EXPECT_EQ(support::read_file(to("late/late.txt")), "too late");
    EXPECT_EQ(support::read_file(to("notes.txt")), "another") << "another file of this name";
    EXPECT_FALSE(fs::exists(from("late/late.txt")));
    EXPECT_FALSE(fs::exists(to(".owner")));
    EXPECT_FALSE(fs::exists(to("start.par"))) << "which was looked at";
}

TEST_F(two_folders, a_late_file_with_the_name_of_a_folder_stays_where_it_is) {
    const auto looked_at = taken();
    write("name", "late");
    fs::create_directory(to("name"));
    tools::take_late_files(from(""), to(""), looked_at);
    EXPECT_TRUE(fs::is_directory(to("name")));
    EXPECT_EQ(support::read_file(from("name")), "late");
}
