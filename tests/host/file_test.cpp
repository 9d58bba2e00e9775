// What zorhost answers to files, ports and values that are no use.
#include "midifile/reader.h"
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

// Of fuzz/midi_file.cpp: ends the program if what can be read is not in order.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

const Bytes Note = {0x90, 60, 100};

Bytes Sound() { return MidiBytes(480, {{{0, Note}, {480, {0x80, 60, 0}}}}); }

Bytes With(Bytes file, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<int>(at));
    return file;
}

Bytes Behind(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST(Files, ThatAreFaultyAreReadAndToldOrRefused) {
    const Bytes good = Sound();
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<int>(size));
    };
    // The track begins at byte 22; its note on is at 23, its note off's delta at 26.
    const struct {
        Bytes File;
        const char* Says;
        std::size_t Messages; // read all the same
    } cases[] = {
        {{}, "is empty", 0},
        {{'M', 'T', 'h', 'i', 's'}, "is not a MIDI file", 0},
        {cut(11), "is cut off in its header", 0},
        {cut(14), "is cut off: it holds no track", 0},
        {cut(good.size() - 6), "the file is cut off", 1},
        {With(good, 11, {2}), "it has 1 of the 2 tracks", 2},
        {With(good, 9, {2}), "type 2", 2},
        {With(good, 12, {0xE7, 40}), "film frames, 25 a second", 2},
        {With(good, 12, {0, 0}), "no ticks a quarter", 2},
        {Behind({'R', 'I', 'F', 'F', 9, 0, 0, 0, 'R', 'M', 'I', 'D'}, good), "RIFF", 2},
        {Behind(good, {1, 2, 3}), "bytes behind the end", 2},
        {With(Behind(good, good), 18, {1}), "wrong length", 4},
        {With(good, 32, {0xFF, 1, 0}), "without an end mark", 2},
        {With(good, 23, {0x10}), "make no sense", 1},
        {With(good, 25, {200}), "taken as 127", 2},
        {With(good, 24, {200}), "first data byte above 127", 1},
        {MidiBytes(96, {{{0, Note}, {1, {0xFF, 1, 0}}, {2, {60, 0}}}}), "running status", 2},
    };
    for (const auto& c : cases) {
        std::string said;
        try {
            const midifile::Song song = midifile::Read(c.File);
            EXPECT_EQ(song.Events.size(), c.Messages) << c.Says;
            for (const std::string& line : song.Findings) said += line + "\n";
        } catch (const midifile::Error& error) {
            said = error.what();
            EXPECT_EQ(c.Messages, 0u) << c.Says << ": " << said;
        }
        EXPECT_NE(said.find(c.Says), std::string::npos) << c.Says << ": " << said;
        EXPECT_THROW(midifile::Read(c.File, midifile::Care::Strict), midifile::Error) << c.Says;
    }
    WriteBytes("junk.mid", Behind(Sound(), {1, 2, 3}));
    EXPECT_EQ(RunZorhost("play junk.mid --strict").Code, 1);
    const Result played = RunZorhost("play junk.mid");
    EXPECT_EQ(played.Code, 0);
    EXPECT_NE(played.Err.find("junk.mid: bytes behind the end"), std::string::npos) << played.Err;
}

// Any byte of a file may be wrong: it is read or refused, never worse.
TEST(Files, WithAnyByteChangedDoNoHarm) {
    const Bytes good = MidiBytes(
        96, {{{0, Tempo(1000)}, {0, {0xFF, 0x58, 4, 3, 2, 24, 8}}, {5, {0xFF, 1, 2, 'h', 'i'}}},
             {{0, {0xF0, 3, 1, 2, 0xF7}},
              {0, {0xF7, 2, 0xF3, 1}},
              {0, {0xC0, 5}},
              {1, Note},
              {200, {0x80, 60, 0}},
              {201, {61, 0}},
              {3 * 0x0FFFFFFF, {0xE0, 1, 2}}}}); // longer than one delta time
    const midifile::Song song = midifile::Read(good, midifile::Care::Strict);
    EXPECT_EQ(song.Events.size(), 5u);
    EXPECT_EQ(song.SystemExclusive, 2);
    EXPECT_EQ(song.EndTick, 3 * 0x0FFFFFFF);
    for (std::size_t i = 0; i < good.size() * 256; ++i) {
        const Bytes changed = With(good, i / 256, {static_cast<unsigned char>(i)});
        LLVMFuzzerTestOneInput(changed.data(), changed.size());
    }
}

TEST(Files, AreReadAndWrittenWhereThatCanBe) {
    WriteBytes("good.mid", Sound());
    std::filesystem::create_symlink("behind.mid", "link.mid");
    EXPECT_EQ(RunZorhost("play good.mid --tempo 5000 --record link.mid").Code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink("link.mid"));
    EXPECT_EQ(ReadBack("behind.mid").size(), 2u);
    const std::pair<const char*, const char*> cases[] = {
        {"play absent.mid", "No such file"},
        {"play .", "is a folder"},
        {"record .", "cannot be written: "},
        {"record /dev/null", "cannot be written: "},
        {"record no/x.mid", "cannot be written: "},
        {"record --click 120 no/x.mid", "cannot be written: "},
        {"play good.mid --to Nowhere", "\"Nowhere\"; there are:\n  Loopback MIDI 1"},
        {"follow good.mid --in Nowhere", "\"Nowhere\"; there are:\n  Loopback MIDI 1"},
    };
    for (const auto& [line, says] : cases) {
        const Result result = RunZorhost(line);
        EXPECT_EQ(result.Code, 1) << line;
        EXPECT_NE(result.Err.find(says), std::string::npos) << result.Err;
    }
}

TEST(CommandLines, ThatMakeNoSenseAreWrongUse) {
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
    for (const auto& [line, meant] : {std::pair("plaay", "play"), std::pair("recrod", "record"),
                                      std::pair("play good.mid --tmepo 9", "--tempo")})
        EXPECT_NE(RunZorhost(line).Err.find("did you mean \"" + std::string(meant) + "\"?"),
                  std::string::npos)
            << line;
    setenv("COLUMNS", "80", 1);
    for (const auto& [line, says] :
         {std::pair("play --help",
                    "\n  --tempo PERCENT       Tempo in percent of the written one (5 to "
                    "5000, else\n                        100)\n"),
          std::pair("record --help",
                    "\n                        a bar if not 4. Not with --overdub\n")}) {
        const Result help = RunZorhost(line);
        EXPECT_EQ(help.Code, 0);
        EXPECT_NE(help.Out.find(says), std::string::npos) << help.Out;
    }
}

// Found where the user's lie.
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
          "input  2   channels  17-32   Gone  (not there: not opened)\n",
          "output 1   channels   1-16   Default MIDI Output Device  -> "
          "Loopback MIDI 1\n",
          "output 2   channels  17-32   Loopback MIDI 3\n", "external clock comes from input 2\n"})
        EXPECT_NE(devices.Out.find(line), std::string::npos) << line << devices.Out;
    for (const auto& [line, says] :
         {std::pair("follow good.mid", "input 2, which the settings take it from, has no device"),
          std::pair("follow good.mid --in 4", "clock on Loopback MIDI 4")}) {
        WriteBytes("good.mid", Sound());
        Program follow(line);
        EXPECT_TRUE(follow.Await(says)) << follow.Err;
    }
    // The input of the settings hears the output of the command line.
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
