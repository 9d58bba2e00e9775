// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Invalid files, ports and option values, and the messages for them.
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const Bytes Note = {0x90, 60, 100};

Bytes Sound() { return MidiBytes(480, {{{0, Note}, {480, {0x80, 60, 0}}}}); }

TEST(Files, ThatAreFaultyGiveAWarningOrAreRefused) {
    Bytes junk = Sound();
    junk.insert(junk.end(), {1, 2, 3});
    WriteBytes("junk.mid", junk);
    EXPECT_EQ(RunZorhost("play junk.mid --strict").Code, 1);
    const Result played = RunZorhost("play junk.mid");
    EXPECT_EQ(played.Code, 0);
    EXPECT_NE(played.Err.find("junk.mid: bytes after the end"), std::string::npos) << played.Err;
}

TEST(Files, AreReadAndWrittenWhereThatCanBe) {
    WriteBytes("good.mid", Sound());
    // Through a link into another folder. An existing file keeps its owner and permissions.
    const char* const file = "links/linked/behind.mid";
    std::filesystem::create_directories("links/linked");
    std::filesystem::create_symlink("linked/behind.mid", "links/link.mid");
    for (const bool there : {false, true}) {
        if (there && (chmod(file, 0620) != 0 || chown(file, 65534, 65534) != 0)) {
            EXPECT_NE(geteuid(), 0u); // only root may
        }
        struct stat before = {}, after = {};
        stat(file, &before);
        EXPECT_EQ(RunZorhost("play good.mid --tempo 5000 --record links/link.mid").Code, 0);
        stat(file, &after);
        EXPECT_EQ(ReadBack(file).size(), 2u);
        EXPECT_TRUE(!there || before.st_mode == after.st_mode);
        EXPECT_TRUE(!there || before.st_uid == after.st_uid);
    }
    EXPECT_TRUE(std::filesystem::is_symlink("links/link.mid"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("links/linked"), {}), 1);
    const std::pair<const char*, const char*> cases[] = {
        {"play absent.mid", "No such file"},
        {"play .", "is a folder"},
        {"record .", "cannot be written: "},
        {"record /dev/null", "cannot be written: "},
        {"record no/x.mid", "cannot be written: "},
        {"record --click 120 no/x.mid", "cannot be written: "},
        {"play good.mid --to Nowhere", "\"Nowhere\" not found; available:\n  Loopback MIDI 1"},
        {"follow good.mid --in Nowhere", "\"Nowhere\" not found; available:\n  Loopback MIDI 1"},
    };
    for (const auto& [line, expected] : cases) {
        const Result result = RunZorhost(line);
        EXPECT_EQ(result.Code, 1) << line;
        EXPECT_NE(result.Err.find(expected), std::string::npos) << result.Err;
    }
}

TEST(CommandLines, ThatAreInvalidExitWithTwo) {
    WriteBytes("good.mid", Sound());
    for (const char* line :
         {"", "play", "play good.mid --tempo 0", "play good.mid --tempo fast",
          "play good.mid --from 3", "play good.mid --to 1 --to 1", "record x.mid --seconds -1",
          "monitor --filter noise", "monitor --thru 1 --in 2 --map 0:1",
          "monitor --thru 1 --in 2 --map 1:2x", "monitor --map 1:2", "monitor --thru 1", "clock 1",
          "record x.mid --click 120 --to 1", "record x.mid --overdub good.mid --to 1",
          "--ini absent devices"}) {
        const Result result = RunZorhost(line);
        EXPECT_EQ(result.Code, 2) << line << result.Err;
        EXPECT_FALSE(result.Err.empty()) << line;
    }
    for (const auto& [line, nearest] : {std::pair("plaay", "play"), std::pair("recrod", "record"),
                                        std::pair("play good.mid --tmepo 9", "--tempo")})
        EXPECT_NE(RunZorhost(line).Err.find("did you mean \"" + std::string(nearest) + "\"?"),
                  std::string::npos)
            << line;
    setenv("COLUMNS", "80", 1);
    for (const auto& [line, expected] :
         {std::pair("play --help",
                    "\n  --tempo PERCENT       Tempo in percent of the written tempo (5 to 5000,\n"
                    "                        default 100)\n"),
          std::pair("record --help", "beats per bar if not 4. Cannot be combined\n"
                                     "                        with --overdub\n")}) {
        const Result help = RunZorhost(line);
        EXPECT_EQ(help.Code, 0);
        EXPECT_NE(help.Output.find(expected), std::string::npos) << help.Output;
    }
}

// In the user's folder.
TEST(Settings, DecideThePortsAndAreNeverWritten) {
    const char* const ini = "config/zormidi/ZORMIDI.INI";
    const std::string text = "; mine\n[MMEDRVR]\nInName1=Loopback MIDI 3\nInBase1=17\n"
                             "InName2=Gone\nOutName2=Loopback MIDI 3\nSyncMaster=1\n"
                             "[Other]\nKey=kept\n";
    std::filesystem::create_directory("config/zormidi");
    std::ofstream(ini) << text;
    const Result devices = RunZorhost("devices");
    EXPECT_EQ(devices.Code, 0);
    for (const char* line :
         {"input  1   channels  17-32   Loopback MIDI 3\n",
          "input  2   channels  17-32   Gone  (not found, not opened)\n",
          "output 1   channels   1-16   Default MIDI Output Device  -> "
          "Loopback MIDI 1\n",
          "output 2   channels  17-32   Loopback MIDI 3\n", "external clock from input 2\n"})
        EXPECT_NE(devices.Output.find(line), std::string::npos) << line << devices.Output;
    for (const auto& [line, expected] :
         {std::pair("follow good.mid",
                    "input 2, selected for clock in the settings, has no device"),
          std::pair("follow good.mid --in 4", "clock on Loopback MIDI 4")}) {
        WriteBytes("good.mid", Sound());
        Program follow(line);
        EXPECT_TRUE(follow.Await(expected)) << follow.Err;
    }
    // The input of the settings receives from the output of the command line.
    WriteBytes("good.mid", Sound());
    const Result played =
        RunZorhost("play good.mid --to 'Loopback MIDI 3' --tempo 5000 --record copy.mid");
    EXPECT_EQ(played.Code, 0) << played.Err;
    EXPECT_EQ(ReadBack("copy.mid").size(), 2u);
    EXPECT_EQ(ReadText(ini), text);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("config/zormidi"), {}), 1);
    std::filesystem::remove_all("config/zormidi");
}

} // namespace
