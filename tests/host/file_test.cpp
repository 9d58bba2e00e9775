// What zorhost answers to files, ports and values that are no use.
#include "host/host_error.h"
#include "host/midi_file.h"
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

const Bytes Note = {0x90, 60, 100};

Bytes Sound() { return MidiBytes(0, 480, {{{0, Note}, {480, {0x80, 60, 0}}}}); }

struct Case {
    const char* What;
    Bytes File;
    const char* Says;
};

std::vector<Case> BrokenFiles() {
    const Bytes good = Sound();
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<int>(size));
    };
    const auto with = [&](std::size_t at, unsigned char value) {
        Bytes changed = good;
        changed[at] = value;
        return changed;
    };
    const std::string text = "MThis is a letter, and no music at all.";
    Bytes trackless = MidiBytes(1, 480, {{{0, Note}, {1, {0x80, 60, 0}}}});
    trackless[11] = 2;
    return {
        {"empty", {}, "is empty"},
        {"text", Bytes(text.begin(), text.end()), "is not a MIDI file"},
        {"header only, cut", cut(11), "is cut off in its header"},
        {"header only", cut(14), "is cut off: it has 0 of its 1 tracks"},
        {"cut in the track", cut(good.size() - 6), "is cut off in track 1 of 1"},
        {"a track missing", trackless, "is cut off: it has 1 of its 2 tracks"},
        {"type 2", with(9, 2), "type 2"},
        {"film frames", with(12, 0xE7), "film frames"},
        {"no ticks",
         [&] {
             Bytes b = with(12, 0);
             b[13] = 0;
             return b;
         }(),
         "is damaged in its header"},
        {"data byte as status", with(23, 0x10), "is damaged"},
        {"status as data byte", with(24, 0xF5), "is damaged"},
        {"no notes", MidiBytes(0, 480, {{}}), "holds no notes"},
        {"RIFF", {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'R', 'M', 'I', 'D'}, "RIFF"},
    };
}

TEST(Files, ThatCannotBePlayedAreRefusedWithTheReason) {
    for (const Case& c : BrokenFiles()) {
        const std::string path = WriteBytes("broken.mid", c.File);
        const Result result = RunZorhost({"play", path, "--record", InFolder("none.mid")});
        EXPECT_EQ(result.Code, 1) << c.What;
        EXPECT_NE(result.Err.find("zorhost: \"" + path + "\" "), std::string::npos)
            << c.What << ": " << result.Err;
        EXPECT_NE(result.Err.find(c.Says), std::string::npos) << c.What << ": " << result.Err;
        EXPECT_FALSE(std::filesystem::exists(InFolder("none.mid"))) << c.What;
    }
}

// Any byte of a file may be wrong: it is read or refused, never worse.
TEST(Files, WithAnyByteChangedDoNoHarm) {
    const Bytes good =
        MidiBytes(1, 96,
                  {{{0, Tempo(1000)}, {0, TimeSignature(3, 2)}, {5, {0xFF, 1, 2, 'h', 'i'}}},
                   {{0, {0xF0, 3, 1, 2, 0xF7}},
                    {0, {0xF7, 2, 0xF3, 1}},
                    {0, {0xC0, 5}},
                    {1, Note},
                    {200, {0x80, 60, 0}},
                    {201, {61, 0}},
                    {20000, {0xE0, 1, 2}}}});
    EXPECT_EQ(zorhost::ParseMidiFile("", good).Events.size(), 5u);
    EXPECT_EQ(zorhost::ParseMidiFile("", good).SystemExclusive, 2);
    int read = 0;
    int refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            Bytes changed = good;
            changed[at] = static_cast<unsigned char>(value);
            try {
                const zorhost::MidiFile file = zorhost::ParseMidiFile("", changed);
                for (const zorhost::FileEvent& event : file.Events) {
                    ASSERT_TRUE(event.Status >= 0x80 && event.Data1 < 128 && event.Data2 < 128);
                }
                ++read;
            } catch (const zorhost::HostError&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(read, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(Files, MissingOnesAndFolders) {
    EXPECT_NE(RunZorhost({"play", InFolder("absent.mid")}).Err.find("No such file"),
              std::string::npos);
    EXPECT_NE(RunZorhost({"play", TestFolder()}).Err.find("is a folder"), std::string::npos);
    const std::string piece = WriteBytes("good.mid", Sound());
    const Result folder = RunZorhost({"play", piece, "--record", TestFolder()});
    EXPECT_EQ(folder.Code, 1);
    EXPECT_NE(folder.Err.find("cannot be written: it is a folder"), std::string::npos);
    EXPECT_EQ(RunZorhost({"record", InFolder("no/such/folder.mid")}).Code, 1);
}

TEST(Ports, AnUnknownOneIsAnsweredByThoseThatAreThere) {
    const std::string piece = WriteBytes("good.mid", Sound());
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{"play", piece, "--to", "Nowhere"},
                                               {"monitor", "--in", "Nowhere"},
                                               {"record", InFolder("x.mid"), "--thru", "Nowhere"},
                                               {"clock", "120", "--to", "Nowhere"},
                                               {"follow", piece, "--in", "Nowhere"}}) {
        const Result result = RunZorhost(arguments);
        EXPECT_EQ(result.Code, 1) << arguments[0];
        EXPECT_NE(result.Err.find("\"Nowhere\"; there are:\n  Loopback MIDI 1"), std::string::npos)
            << result.Err;
    }
}

TEST(Values, ThatMakeNoSenseAreWrongUse) {
    const std::string piece = WriteBytes("good.mid", Sound());
    const std::string one = "Loopback MIDI 1";
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {},
             {"sing"},
             {"play"},
             {"play", piece, "--tempo", "0"},
             {"play", piece, "--tempo", "fast"},
             {"play", piece, "--from", "0"},
             {"play", piece, "--from", "3"},
             {"play", piece, "--to", one, "--to", one},
             {"record", InFolder("x.mid"), "--seconds", "-1"},
             {"monitor", "--filter", "noise"},
             {"monitor", "--thru", one, "--in", "Loopback MIDI 2", "--map", "0:1"},
             {"monitor", "--thru", one, "--in", "Loopback MIDI 2", "--map", "1:2x"},
             {"monitor", "--map", "1:2"},
             {"monitor", "--thru", one},
             {"clock", "1"},
             {"--ini", InFolder("absent"), "devices"}}) {
        const Result result = RunZorhost(arguments);
        EXPECT_EQ(result.Code, 2) << (arguments.empty() ? "" : arguments.back()) << result.Err;
        EXPECT_FALSE(result.Err.empty());
    }
    EXPECT_EQ(RunZorhost({"play", "--help"}).Code, 0);
}

TEST(Settings, DecideThePortsAndAreNeverWritten) {
    const std::string folder = InFolder("settings");
    std::filesystem::create_directory(folder);
    const std::string ini = folder + "/ZORMIDI.INI";
    const std::string text = "; mine\n[MMEDRVR]\nInName1=Loopback MIDI 3\nInBase1=17\n"
                             "InName2=Gone\nOutName2=Loopback MIDI 3\nSyncMaster=1\n"
                             "[Other]\nKey=kept\n";
    std::ofstream(ini) << text;
    const Result devices = RunZorhost({"--ini", folder, "devices"});
    EXPECT_EQ(devices.Code, 0);
    for (const char* line : {"input  1   channels  17-32   Loopback MIDI 3\n",
                             "input  2   channels  17-32   Gone  (not there: not opened)\n",
                             "output 1   channels   1-16   Default MIDI Output Device  -> "
                             "Loopback MIDI 1\n",
                             "output 2   channels  17-32   Loopback MIDI 3\n",
                             "external clock comes from input 2\n"}) {
        EXPECT_NE(devices.Out.find(line), std::string::npos) << line << devices.Out;
    }
    // The input of the settings hears the output of the command line.
    const std::string piece = WriteBytes("good.mid", Sound());
    const std::string copy = InFolder("copy.mid");
    EXPECT_EQ(RunZorhost({"--ini", folder, "play", piece, "--to", "Loopback MIDI 3", "--tempo",
                          "5000", "--record", copy})
                  .Code,
              0);
    EXPECT_EQ(ReadBack(copy).size(), 2u);
    EXPECT_EQ(ReadText(ini), text);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
}

} // namespace
