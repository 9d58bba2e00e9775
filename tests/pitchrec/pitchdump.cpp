// pitchdump: what the recogniser makes of raw PCM, entry by entry, for comparing and studying it.
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* Usage =
    "Usage: pitchdump [options] < PCM\n"
    "Reads raw PCM (8 bits unsigned or 16 bits signed little-endian, interleaved), runs it "
    "through\n"
    "the pitch recogniser in blocks of rate*512/22050 frames, and prints each note message as\n"
    "TIME STATUS DATA1 DATA2 (status in hexadecimal). The first block ends a block after 1000 ms.\n"
    "  --tracking 0|1      1: a held note slides, and changes on a jump\n"
    "  --factor 0|1        which peaks count as strong\n"
    "  --attack THRESHOLD  report attacks as controller 12\n"
    "  --bend              pitch bends, one unit a cent\n"
    "  --raw               the frame-by-frame notes too\n"
    "  --ref HZ            pitch of note 69 (440)\n"
    "  --rate HZ           frames a second of the input (22050)\n"
    "  --channels N        interleaved channels, the first is used (2)\n"
    "  --bits 8|16         bits a sample (8)\n"
    "  --frames            also a line for each block:\n"
    "                      F BLOCK AMPLITUDE ONSET DETECTED ACTIVE CENTS FREQUENCY VALID\n";

struct Options {
    int Tracking = 0;
    int Factor = 0;
    int Attack = 0;
    int Bend = 0;
    int Raw = 0;
    int Reference = 440;
    int Rate = 22050;
    int Channels = 2;
    int Bits = 8;
    int Frames = 0;
};

struct Option {
    std::string_view Name;
    int Options::*Value;
    bool IsFlag;
    int Least;
    int Most;
};

constexpr int Any = 1 << 30;
constexpr Option Table[] = {
    {"--tracking", &Options::Tracking, false, 0, 1},
    {"--factor", &Options::Factor, false, 0, 1},
    {"--attack", &Options::Attack, false, -Any, Any},
    {"--bend", &Options::Bend, true, 0, 1},
    {"--raw", &Options::Raw, true, 0, 1},
    {"--ref", &Options::Reference, false, 1, Any},
    {"--rate", &Options::Rate, false, 22050, 1000000},
    {"--channels", &Options::Channels, false, 1, 64},
    {"--bits", &Options::Bits, false, 8, 16},
    {"--frames", &Options::Frames, true, 0, 1},
};

bool ParseNumber(const char* text, const Option& option, int& value) {
    const char* end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, value);
    return result.ec == std::errc{} && result.ptr == end && value >= option.Least &&
           value <= option.Most;
}

bool Parse(int argc, char** argv, Options& options) {
    for (int at = 1; at < argc; ++at) {
        const Option* found = nullptr;
        for (const Option& option : Table)
            if (option.Name == argv[at]) found = &option;
        if (!found) return false;
        if (found->IsFlag)
            options.*found->Value = 1;
        else if (++at == argc || !ParseNumber(argv[at], *found, options.*found->Value))
            return false;
    }
    return options.Bits == 8 || options.Bits == 16;
}

void PrintFrame(const Sonorel::PitchRecWaveIn& recogniser, long long block) {
    const Sonorel::FrameState& now = recogniser.Now;
    std::printf("F %lld %d %d %d %d %d %.6f %d\n", block, now.Amplitude, now.OnsetTime,
                now.DetectedNote, now.ActiveNote, now.CentsOffset, now.Frequency,
                recogniser.ValidSamples);
}

void PrintEntries(Sonorel::PitchRecWaveIn& recogniser) {
    std::int32_t time = 0;
    std::int32_t status = 0;
    std::int32_t data1 = 0;
    std::int32_t data2 = 0;
    while (recogniser.GetNote(&time, &status, &data1, &data2))
        std::printf("%d %02X %d %d\n", time, static_cast<unsigned>(status), data1, data2);
}

void Configure(Sonorel::PitchRecWaveIn& recogniser, const Options& options) {
    recogniser.SetTrackingMode(options.Tracking != 0);
    recogniser.SetPeakFactorSet(options.Factor);
    recogniser.SetAttackDetect(options.Attack > 0, options.Attack);
    recogniser.SetPitchBendOutput(options.Bend != 0);
    recogniser.SetRawNoteOutput(options.Raw != 0);
    recogniser.SetReferencePitch(options.Reference);
}

int Run(const Options& options) {
    auto* sound = new FedSound(options.Rate, options.Channels, options.Bits);
    Sonorel::PitchRecWaveIn recogniser(sound);
    Configure(recogniser, options);
    if (!recogniser.Open(options.Rate) || !recogniser.Enable(true)) {
        std::fputs("pitchdump: out of memory\n", stderr);
        return 1;
    }
    std::vector<std::uint8_t> data(static_cast<std::size_t>(sound->BytesPerBlock));
    for (long long block = 0; std::fread(data.data(), 1, data.size(), stdin) == data.size();
         ++block) {
        const long long end = (block + 1) * sound->FramesPerBlock;
        sound->Feed(static_cast<std::uint32_t>(1000 + end * 1000 / options.Rate), data);
        if (options.Frames) PrintFrame(recogniser, block);
        PrintEntries(recogniser);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!Parse(argc, argv, options)) {
        std::fputs(Usage, stderr);
        return 2;
    }
    return Run(options);
}
