#include "tests/support/machine_test.h"

#include <filesystem>
#include <fstream>
#include <iterator>
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
    BOOL Write(const char* section, const char* key, const char* value) const {
        return WritePrivateProfileStringA(section, key, value, Path.c_str());
    }
    std::string Read(const char* section, const char* key, const char* fallback = "?") const {
        char text[200];
        GetPrivateProfileStringA(section, key, fallback, text, sizeof text, Path.c_str());
        return text;
    }
    const fs::path Folder = fs::path(testing::TempDir()) / ("profile-" + std::to_string(getpid()));
    const fs::path Path = Folder / "ZORMIDI.INI";
};

TEST_F(Profile, ReadsValues) {
    Put("\n"
        "; first=comment\r\n"
        "stray=before any section\r\n"
        "[MMEDRVR]\r\n"
        "InName1=USB MIDI\r\n"
        "  InName2  =  two words \t\r\n"
        "InName3=\" quoted \"\n"
        "InName4='single'\n"
        "InName5=\"half\n"
        "InName6=\n"
        "InName7=a=b;c\n"
        ";InName8=comment\n"
        "no equals sign\n"
        "InName1=second of its name\n"
        "[ Other ] rest\n"
        "InName1=other\n"
        "[mmedrvr]\n"
        "Late=second of its name\n"
        "[Last]\n"
        "End=unfinished line");
    struct Case {
        const char *Section, *Key, *Value;
    };
    for (const Case& c :
         {Case{"MMEDRVR", "InName1", "USB MIDI"}, Case{"mmedrvr", "INNAME1", "USB MIDI"},
          Case{" MMEDRVR ", " InName1 ", "USB MIDI"}, Case{"MMEDRVR", "InName2", "two words"},
          Case{"MMEDRVR", "InName3", " quoted "}, Case{"MMEDRVR", "InName4", "single"},
          Case{"MMEDRVR", "InName5", "\"half"}, Case{"MMEDRVR", "InName6", ""},
          Case{"MMEDRVR", "InName7", "a=b;c"}, Case{"MMEDRVR", "InName8", "?"},
          Case{"MMEDRVR", ";InName8", "?"}, Case{"MMEDRVR", "no equals sign", "?"},
          Case{"MMEDRVR", "Late", "?"}, Case{"MMEDRVR", "stray", "?"},
          Case{"Other", "InName1", "other"}, Case{"Last", "End", "unfinished line"},
          Case{"Nowhere", "InName1", "?"}})
        EXPECT_EQ(Read(c.Section, c.Key), c.Value) << c.Section << "/" << c.Key;
    EXPECT_EQ(Read("Nowhere", "x", "fall  back \t "), "fall  back");
}

TEST_F(Profile, CutsToTheBuffer) {
    Put("[A]\nLong=0123456789\n");
    for (const DWORD size : {12u, 11u, 5u, 1u}) {
        std::string buffer(20, '#');
        const std::string text = "0123456789"s.substr(0, size - 1);
        EXPECT_EQ(GetPrivateProfileStringA("A", "Long", "", buffer.data(), size, Path.c_str()),
                  text.size());
        EXPECT_STREQ(buffer.c_str(), text.c_str());
        EXPECT_EQ(buffer[size], '#');
    }
}

TEST_F(Profile, ReadsIntegers) {
    struct Case {
        const char* Text;
        std::int32_t Value;
    };
    for (const Case& c :
         {Case{"-1", -1}, Case{"+12", 12}, Case{"\"5\"", 5}, Case{"abc", 0}, Case{"- 3", 0},
          Case{"4294967298", 2}, Case{"", 99}, Case{"  8 ; eight", 8}}) {
        Put("[S]\nk="s + c.Text + "\n");
        EXPECT_EQ(static_cast<std::int32_t>(GetPrivateProfileIntA("S", "k", 99, Path.c_str())),
                  c.Value)
            << c.Text;
    }
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("S", "none", -5, Path.c_str())), -5);
}

TEST_F(Profile, ChangesOneLineAndKeepsTheRest) {
    struct Case {
        const char *Why, *Before, *Section, *Key, *Value, *After;
    };
    for (const Case& c : {
             Case{"new file", "", "S", "k", "v", "[S]\r\nk=v\r\n"},
             Case{"new section", "[A]\r\nx=1\r\n", "S", "k", "v", "[A]\r\nx=1\r\n[S]\r\nk=v\r\n"},
             Case{"new key", "[S]\r\na=1\r\n", "S", "k", "v", "[S]\r\na=1\r\nk=v\r\n"},
             Case{"new key stays above the blank lines", "[S]\r\na=1\r\n\r\n[B]\r\n", "S", "k", "v",
                  "[S]\r\na=1\r\nk=v\r\n\r\n[B]\r\n"},
             Case{"old key", "[S]\r\nk=old\r\nb=2\r\n", "S", "k", "v", "[S]\r\nk=v\r\nb=2\r\n"},
             Case{"its spelling and its indent stay", "[Sec]\r\n Key = old\r\n", "SEC", "KEY", "v",
                  "[Sec]\r\n Key=v\r\n"},
             Case{"comments and unknown lines", "; top\r\n[S]\r\n;k=no\r\nfoo\r\nk=1\r\n# x\r\n",
                  "S", "k", "2", "; top\r\n[S]\r\n;k=no\r\nfoo\r\nk=2\r\n# x\r\n"},
             Case{"line ends as they are", "[S]\na=1\nk=2\n", "S", "k", "3", "[S]\na=1\nk=3\n"},
             Case{"new line in their manner", "[S]\na=1\n", "S", "k", "v", "[S]\na=1\nk=v\n"},
             Case{"unfinished last line", "[S]\r\na=1", "S", "k", "v", "[S]\r\na=1\r\nk=v\r\n"},
             Case{"value as it stands", "[S]\r\n", "S", "k", " \"v\" ", "[S]\r\nk= \"v\" \r\n"},
             Case{"only the first of two", "[S]\r\nk=1\r\nk=2\r\n", "S", "k", "3",
                  "[S]\r\nk=3\r\nk=2\r\n"},
             Case{"mark of UTF-8", "\xEF\xBB\xBF[S]\r\nk=1\r\n", "S", "k", "2",
                  "\xEF\xBB\xBF[S]\r\nk=2\r\n"},
         }) {
        Put(c.Before);
        EXPECT_TRUE(Write(c.Section, c.Key, c.Value)) << c.Why;
        EXPECT_EQ(Get(), c.After) << c.Why;
    }
}

TEST_F(Profile, WhatOthersWriteIsSeen) {
    EXPECT_EQ(Read("S", "k"), "?");
    EXPECT_TRUE(Write("S", "k", "1"));
    for (const char* value : {"2", "3"}) { // in place, as long as the last
        Put("[S]\nk="s + value + "\n");
        EXPECT_EQ(Read("S", "k"), value);
    }
    fs::remove(Path);
    EXPECT_EQ(Read("S", "k"), "?");
    // Below a file no folder can be made, elsewhere it is.
    Put("");
    EXPECT_FALSE(WritePrivateProfileStringA("S", "k", "v", (Path / "x.ini").c_str()));
    EXPECT_TRUE(
        WritePrivateProfileStringA("S", "k", "v", (Folder / "new" / "er" / "x.ini").c_str()));
}

TEST_F(Profile, AFileInSmallLettersStandsIn) {
    std::ofstream(Folder / "zormidi.ini") << "[S]\nk=1\n";
    EXPECT_EQ(Read("S", "k"), "1");
    EXPECT_TRUE(Write("S", "k", "2"));
    EXPECT_FALSE(fs::exists(Path));
    EXPECT_EQ(Read("S", "k"), "2");
}

TEST_F(Profile, NothingIsLostWhereNothingMayBeWritten) {
    Put("[S]\r\nk=1\r\n");
    struct Case {
        const char* Why;
        fs::path Protected;
        mode_t Mode, Back;
    };
    for (const Case& c : {Case{"file", Path, 0444, 0644}, Case{"folder", Folder, 0555, 0755}}) {
        ASSERT_EQ(chmod(c.Protected.c_str(), c.Mode), 0);
        EXPECT_FALSE(Write("S", "k", "2")) << c.Why;
        EXPECT_TRUE(Write("S", "k", "1")) << c.Why << ": it has that value already";
        ASSERT_EQ(chmod(c.Protected.c_str(), c.Back), 0);
        EXPECT_EQ(Get(), "[S]\r\nk=1\r\n") << c.Why;
    }
    EXPECT_TRUE(Write("S", "k", "2"));
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder), {}), 1); // no leavings
}

TEST_F(Profile, AReplacedFileKeepsItsPermissionsAndItsPlaceBehindALink) {
    const fs::path real = Folder / "real.ini";
    std::ofstream(real) << "[S]\nk=1\n";
    ASSERT_EQ(chmod(real.c_str(), 0640), 0);
    fs::create_symlink(real, Path);
    EXPECT_TRUE(Write("S", "k", "2"));
    EXPECT_TRUE(fs::is_symlink(Path));
    struct stat status {};
    ASSERT_EQ(stat(real.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(Get(), "[S]\nk=2\n");
}

} // namespace
