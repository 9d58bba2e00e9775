// What zorhost answers to files, ports and values that are no use.
#include "midifile/reader.h"
#include "midifile/writer.h"
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
    std::size_t Messages; // read all the same
};

Bytes With(Bytes file, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<int>(at));
    return file;
}

Bytes Behind(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The track of Sound begins at byte 22; its note on is at 23, its note off's delta at 26.
std::vector<Case> FaultyFiles() {
    const Bytes good = Sound();
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<int>(size));
    };
    const Bytes letter = {'M', 'T', 'h', 'i', 's'};
    const TrackEvents text = {{0, {0xFF, 1, 1, 'x'}}};
    return {
        {"empty", {}, "is empty", 0},
        {"text", letter, "is not a MIDI file", 0},
        {"header cut", cut(11), "is cut off in its header", 0},
        {"header only", cut(14), "is cut off: it holds no track", 0},
        {"cut in the track", cut(good.size() - 6), "the file is cut off", 1},
        {"a track missing", With(good, 11, {2}), "it has 1 of the 2 tracks", 2},
        {"type 2", With(good, 9, {2}), "type 2", 2},
        {"type 7", With(good, 9, {7}), "type 7", 2},
        {"film frames", With(good, 12, {0xE7, 40}), "film frames, 25 a second", 2},
        {"no ticks", With(good, 12, {0, 0}), "no ticks a quarter", 2},
        {"RIFF", Behind({'R', 'I', 'F', 'F', 9, 0, 0, 0, 'R', 'M', 'I', 'D'}, good), "RIFF", 2},
        {"junk before", Behind({1, 2, 3}, good), "3 bytes before its header", 2},
        {"junk behind", Behind(good, {1, 2, 3}), "bytes behind the end", 2},
        {"length too short", With(good, 21, {2}), "wrong length", 2},
        {"length too long", With(Behind(good, TrackChunk(text)), 18, {1}), "wrong length", 2},
        {"no end mark", With(good, 32, {0xFF, 1, 0}), "without an end mark", 2},
        {"data byte as status", With(good, 23, {0x10}), "make no sense", 1},
        {"wrong status", With(good, 23, {0xF5}), "make no sense", 1},
        {"data above 127", With(good, 25, {200}), "taken as 127", 2},
        {"key above 127", With(good, 24, {200}), "first data byte above 127", 1},
        {"running status across a text",
         MidiBytes(0, 96, {{{0, Note}, {1, {0xFF, 1, 0}}, {2, {60, 0}}}}), "running status", 2},
    };
}

TEST(Files, ThatAreFaultyAreReadAndToldOrRefused) {
    for (const Case& c : FaultyFiles()) {
        std::string said;
        try {
            const midifile::Song song = midifile::Read(c.File);
            EXPECT_EQ(song.Events.size(), c.Messages) << c.What;
            for (const std::string& line : song.Findings) said += line + "\n";
        } catch (const midifile::Error& error) {
            said = error.what();
            EXPECT_EQ(c.Messages, 0u) << c.What << ": " << said;
        }
        EXPECT_NE(said.find(c.Says), std::string::npos) << c.What << ": " << said;
        EXPECT_THROW(midifile::Read(c.File, midifile::Care::Strict), midifile::Error) << c.What;
    }
    const std::string path = WriteBytes("junk.mid", Behind(Sound(), {1, 2, 3}));
    EXPECT_EQ(RunZorhost({"play", path, "--strict"}).Code, 1);
    const Result played = RunZorhost({"play", path});
    EXPECT_EQ(played.Code, 0);
    EXPECT_NE(played.Err.find("junk.mid: bytes behind the end"), std::string::npos) << played.Err;
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
    EXPECT_EQ(midifile::Read(good).Events.size(), 5u);
    EXPECT_EQ(midifile::Read(good).SystemExclusive, 2);
    int read = 0;
    int refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            Bytes changed = good;
            changed[at] = static_cast<unsigned char>(value);
            for (const auto care : {midifile::Care::Strict, midifile::Care::Lenient}) {
                try {
                    const midifile::Song file = midifile::Read(changed, care);
                    for (const midifile::Event& event : file.Events)
                        ASSERT_TRUE(event.Status >= 0x80 && event.Data1 < 128 && event.Data2 < 128);
                    ++read;
                } catch (const midifile::Error&) {
                    ++refused;
                }
            }
        }
    }
    EXPECT_GT(read, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(Files, HoldPausesThatNoDeltaTimeCan) {
    const int late = 3 * 0x0FFFFFFF + 5;
    midifile::TrackWriter track;
    track.Add(7, Note);
    track.Add(late, Bytes{0x80, 60, 0});
    const midifile::Bytes file = midifile::Write({track}, 960);
    const auto events = ReadBack(WriteBytes("pause.mid", file));
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].Tick, 7);
    EXPECT_EQ(events[1].Tick, late);
    EXPECT_EQ(midifile::Read(file, midifile::Care::Strict).EndTick, late);
}

TEST(Files, AreReadAndWrittenWhereThatCanBe) {
    EXPECT_NE(RunZorhost({"play", InFolder("absent.mid")}).Err.find("No such file"),
              std::string::npos);
    EXPECT_NE(RunZorhost({"play", TestFolder()}).Err.find("is a folder"), std::string::npos);
    const std::string piece = WriteBytes("good.mid", Sound());
    const std::string link = InFolder("link.mid");
    std::filesystem::create_symlink("behind.mid", link);
    EXPECT_EQ(RunZorhost({"play", piece, "--tempo", "5000", "--record", link}).Code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadBack(InFolder("behind.mid")).size(), 2u);
    for (const std::string& path : {TestFolder(), std::string("/dev/null"), InFolder("no/x.mid")}) {
        const Result result = RunZorhost({"record", path});
        EXPECT_EQ(result.Code, 1);
        EXPECT_NE(result.Err.find("cannot be written: "), std::string::npos) << result.Err;
    }
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
    EXPECT_NE(RunZorhost({"plaay"}).Err.find("did you mean \"play\"?"), std::string::npos);
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
