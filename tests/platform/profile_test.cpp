// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/machine_test.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class Profile : public MachineTest {
protected:
    Profile() { fs::create_directory(Folder); }
    ~Profile() override { fs::remove_all(Folder); }

    void Put(const std::string& bytes) const { std::ofstream(Path, std::ios::binary) << bytes; }
    std::string Get() const {
        std::ostringstream bytes;
        bytes << std::ifstream(Path, std::ios::binary).rdbuf();
        return bytes.str();
    }
    BOOL Write(const char* value) const {
        return WritePrivateProfileStringA("S", "k", value, Path.c_str());
    }
    std::string Read(const char* section, const char* key) const {
        char text[200];
        GetPrivateProfileStringA(section, key, "?", text, sizeof text, Path.c_str());
        return text;
    }
    const fs::path Folder = fs::path(testing::TempDir()) / ("profile-" + std::to_string(getpid()));
    const fs::path Path = Folder / "ZORMIDI.INI";
};

TEST_F(Profile, ReadsTextsAndIntegers) {
    Put("\n"
        "; first=comment\r\n"
        "stray=before any section\r\n"
        "[MMEDRVR]\r\n"
        "  InName1  =  two words \t\r\n"
        "InName2=\" quoted \"\n"
        "InName3=\"half\n"
        "InName4=\n"
        "InName5=a=b;c\n"
        ";InName6=comment\n"
        "no equals sign\n"
        "InName1=second of its name\n"
        "[ Other ] rest\n"
        "InName1='other'\n"
        "[mmedrvr]\n"
        "Late=second of its name\n"
        "[Last]\n"
        "I1=-1\nI2=+12\nI3=\"5\"\nI4=- 3\nI5=4294967298\nI6=\nI7=  8 ; eight\n"
        "End=unfinished line");
    std::string all;
    for (const char* key : {" INNAME1 ", "InName2", "InName3", "InName4", "InName5", ";InName6",
                            "no equals sign", "Late", "stray"})
        all += Read("MmeDrvr", key) + "|";
    EXPECT_EQ(all, "two words| quoted |\"half||a=b;c|?|?|?|?|");
    EXPECT_EQ(Read("Other", "InName1"), "other");
    EXPECT_EQ(Read("Last", "End"), "unfinished line");
    EXPECT_EQ(Read("Nowhere", "InName1"), "?");
    for (const auto& [key, value] : std::map<const char*, int>{
             {"I1", -1}, {"I2", 12}, {"I3", 5}, {"I4", 0}, {"I5", 2}, {"I6", -5}, {"I7", 8}})
        EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("Last", key, -5, Path.c_str())), value)
            << key;
    char cut[20] = "###################";
    EXPECT_EQ(GetPrivateProfileStringA("Last", "End", "", cut, 5, Path.c_str()), 4u);
    EXPECT_STREQ(cut, "unfi");
    EXPECT_EQ(cut[5], '#');
}

TEST_F(Profile, ChangesOneLineAndKeepsTheRest) {
    const struct {
        const char *Why, *Before, *After; // after k in [S] was set to " v "
    } cases[] = {
        {"new file", "", "[S]\r\nk= v \r\n"},
        {"new section", "[A]\r\nx=1\r\n", "[A]\r\nx=1\r\n[S]\r\nk= v \r\n"},
        {"new key stays above the blank lines", "[S]\r\na=1\r\n\r\n[B]\r\n",
         "[S]\r\na=1\r\nk= v \r\n\r\n[B]\r\n"},
        {"old key, its spelling and its indent stay", "[s]\r\n K = old\r\nb=2\r\n",
         "[s]\r\n K= v \r\nb=2\r\n"},
        {"comments, unknown lines, and only the first of two",
         "; top\r\n[S]\r\n;k=no\r\nfoo\r\nk=1\r\nk=2\r\n",
         "; top\r\n[S]\r\n;k=no\r\nfoo\r\nk= v \r\nk=2\r\n"},
        {"new line in their manner", "[S]\na=1\n", "[S]\na=1\nk= v \n"},
        {"unfinished last line", "[S]\r\na=1", "[S]\r\na=1\r\nk= v \r\n"},
        {"mark of UTF-8", "\xEF\xBB\xBF[S]\r\nk=1\r\n", "\xEF\xBB\xBF[S]\r\nk= v \r\n"},
    };
    for (const auto& c : cases) {
        Put(c.Before);
        EXPECT_TRUE(Write(" v ")) << c.Why;
        EXPECT_EQ(Get(), c.After) << c.Why;
    }
}

TEST_F(Profile, WhatOthersWriteIsSeenAndAFileInSmallLettersStandsIn) {
    EXPECT_EQ(Read("S", "k"), "?");
    for (const char* value : {"2", "3"}) { // in place, as long as the last
        Put("[S]\nk="s + value + "\n");
        EXPECT_EQ(Read("S", "k"), value);
    }
    fs::rename(Path, Folder / "zormidi.ini");
    EXPECT_EQ(Read("S", "k"), "3");
    EXPECT_TRUE(Write("4"));
    EXPECT_FALSE(fs::exists(Path));
    EXPECT_EQ(Read("S", "k"), "4");
    const auto writeTo = [](const fs::path& path) {
        return WritePrivateProfileStringA("S", "k", "v", path.c_str());
    };
    EXPECT_FALSE(writeTo(Folder / "zormidi.ini" / "x.ini")); // the parent is a file
    EXPECT_TRUE(writeTo(Folder / "new" / "er" / "x.ini"));
}

// A read-only file or folder is left unchanged; a replaced file keeps its permissions, and a link
// to it stays a link.
TEST_F(Profile, IsReplacedWholeOrNotAtAll) {
    const fs::path real = Folder / "real.ini";
    std::ofstream(real) << "[S]\nk=1\n";
    fs::create_symlink(real, Path);
    for (const auto& [place, locked, back] :
         {std::tuple{real, 0444u, 0640u}, std::tuple{Folder, 0555u, 0755u}}) {
        ASSERT_EQ(chmod(place.c_str(), locked), 0);
        EXPECT_FALSE(Write("2")) << place;
        EXPECT_TRUE(Write("1")) << place << ": it has that value already";
        ASSERT_EQ(chmod(place.c_str(), back), 0);
        EXPECT_EQ(Get(), "[S]\nk=1\n") << place;
    }
    // Nor is a link followed that stands where the new file is written: it may lead anywhere.
    const fs::path other = Folder / "other";
    std::ofstream(other) << "kept";
    fs::create_symlink(other, real.string() + "." + std::to_string(getpid()) + ".new");
    EXPECT_TRUE(Write("2"));
    EXPECT_EQ(fs::file_size(other), 4u);
    EXPECT_EQ(Get(), "[S]\nk=2\n");
    EXPECT_TRUE(fs::is_symlink(Path));
    EXPECT_EQ(static_cast<unsigned>(fs::status(real).permissions()), 0640u);
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder), {}), 3); // no temporary file is left
}

} // namespace
