// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/analysed_sound.h"

#include "host/sound/frame_analyser.h"
#include "host/sound/sound_file.h"
#include "host/sound/spill_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace zorhost {

namespace {

class FileAnalyser {
public:
    FileAnalyser(const std::string& path, Levelling levelling) : File(path), Mode(levelling) {
        Sound.AnnouncedSeconds = File.AnnouncedSeconds();
        Sound.OnLevel = Analyser.OnLevel();
        Sound.OffLevel = Analyser.OffLevel();
    }
    AnalysedSound Analyse() {
        do ReadAll();
        while (!Interrupted() && File.ChooseMixing());
        Sound.Remark = File.Remark();
        AnalyseAll();
        return std::move(Sound);
    }

private:
    void ReadAll();
    void AnalyseAll();
    void ShowProgress();

    SoundFile File;
    Levelling Mode;
    SpillFile Samples;
    FrameAnalyser Analyser;
    AnalysedSound Sound;
    Progress Line; // shown after one second
    const std::chrono::steady_clock::time_point StartTime = std::chrono::steady_clock::now();
};

// First pass: resamples, filters and stores the samples, and measures their peak.
void FileAnalyser::ReadAll() {
    Samples = {};
    Resampler source(File);
    ToneFilter filter;
    Block block;
    for (std::size_t got = block.size(); got == block.size() && !Interrupted();) {
        got = source.Read(block);
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(got), block.end(), 0.0f);
        if (got == 0) break;
        if (Mode != Levelling::None) filter.Apply(block);
        Samples.Write(block);
        ShowProgress();
    }
    Sound.Peak = Samples.Peak();
    Sound.Seconds = File.Position();
    Sound.IsTruncated = !Interrupted() && File.IsTruncated();
    Line.End();
}

// Second pass. For a file, the gain rises in soft passages to at most 4 times (12 dB) what its peak
// allows.
void FileAnalyser::AnalyseAll() {
    Samples.Rewind();
    const float peak = std::max(static_cast<float>(Sound.Peak), 1e-6f);
    LiveGain follower(Mode == Levelling::Live ? LeastLivePeak : peak / 4);
    const float fileGain = Mode == Levelling::File ? GoodPeak / peak : 1;
    Block block;
    while (Samples.Read(block)) {
        const float gain = Mode == Levelling::None ? 1 : follower.Update(block);
        hearing::Frame frame = Analyser.Analyse(block, gain);
        frame.Gain /= fileGain; // now relative to the whole file
        Sound.Frames.push_back(frame);
    }
}

void FileAnalyser::ShowProgress() {
    using namespace std::chrono_literals;
    if (std::chrono::steady_clock::now() - StartTime < 1s || !Line.Due()) return;
    const auto read = static_cast<std::int64_t>(File.Position() * 1000);
    const auto whole = static_cast<std::int64_t>(File.AnnouncedSeconds() * 1000);
    Line.Show(Bar(read, whole, 30) + "  " + ClockText(read) + " of " + ClockText(whole));
}

} // namespace

AnalysedSound AnalyseFile(const std::string& path, Levelling levelling) {
    return FileAnalyser(path, levelling).Analyse();
}

} // namespace zorhost
