#include "host/sound/analysed_sound.h"

#include "host/sound/frame_analyser.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"
#include "host/sound/sound_file.h"
#include "host/sound/spill_file.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace zorhost {

namespace {

class FileHearing {
public:
    FileHearing(const std::string& path, Loudness loudness) : File(path), How(loudness) {
        Sound.Announced = File.Announced();
        Sound.OnLevel = Maker.OnLevel();
        Sound.OffLevel = Maker.OffLevel();
    }
    HeardSound Hear() {
        do ReadAll();
        while (!Interrupted() && File.ReadAnew());
        Sound.Remark = File.Remark();
        Measure();
        return std::move(Sound);
    }

private:
    void ReadAll();
    void Measure();
    void ShowProgress();

    SoundFile File;
    Loudness How;
    Spool Samples;
    FrameMaker Maker;
    HeardSound Sound;
    Progress Line; // for what takes longer than a second
    const std::chrono::steady_clock::time_point Begun = std::chrono::steady_clock::now();
};

void FileHearing::ReadAll() {
    Samples = {};
    Resampled source(File);
    ToneFilter filter;
    Block block;
    for (std::size_t got = block.size(); got == block.size() && !Interrupted();) {
        got = source.Read(block);
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(got), block.end(), 0.0f);
        if (got == 0) break;
        if (How != Loudness::AsItIs) filter.Apply(block);
        Samples.Write(block);
        ShowProgress();
    }
    Sound.Peak = Samples.Peak();
    Sound.Seconds = File.Position();
    Sound.BrokeOff = !Interrupted() && File.BrokeOff();
    Line.End();
}

// Soft stretches of a file are raised up to 12 dB more than its peak allows.
void FileHearing::Measure() {
    Samples.Rewind();
    const float peak = std::max(static_cast<float>(Sound.Peak), 1e-6f);
    LiveGain follower(How == Loudness::Followed ? LeastLivePeak : peak / 4);
    const float own = How == Loudness::Raised ? GoodPeak / peak : 1;
    Block block;
    while (Samples.Read(block)) {
        const float gain = How == Loudness::AsItIs ? 1 : follower.For(block);
        hearing::Frame frame = Maker.Take(block, gain);
        frame.Gain /= own;
        Sound.Frames.push_back(frame);
    }
}

void FileHearing::ShowProgress() {
    using namespace std::chrono_literals;
    if (std::chrono::steady_clock::now() - Begun < 1s || !Line.Due()) return;
    const auto read = static_cast<std::int64_t>(File.Position() * 1000);
    const auto whole = static_cast<std::int64_t>(File.Announced() * 1000);
    Line.Show(Bar(read, whole, 30) + "  " + ClockText(read) + " of " + ClockText(whole));
}

} // namespace

HeardSound HearFile(const std::string& path, Loudness loudness) {
    return FileHearing(path, loudness).Hear();
}

} // namespace zorhost
