// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/analysed_sound.h"

#include "host/sound/sound_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"

#include <array>
#include <chrono>
#include <memory>
#include <new>

namespace zorhost {

namespace {

using Clock = std::chrono::steady_clock;

// Shown after one second.
void ShowProgress(Progress& line, Clock::time_point start, const SoundFile& file) {
    using namespace std::chrono_literals;
    if (Clock::now() - start < 1s || !line.Due()) return;
    const auto read = static_cast<std::int64_t>(file.Position() * 1000);
    const auto whole = static_cast<std::int64_t>(file.AnnouncedSeconds() * 1000);
    line.Show(Bar(read, whole, 30) + "  " + ClockText(read) + " of " + ClockText(whole));
}

// Moves what a listener has heard so far.
void Collect(zorhearing::Listener& listener, AnalysedSound& sound) {
    while (const auto frame = listener.NextFrame()) sound.Frames.push_back(frame->Frame);
    while (const auto note = listener.NextNote())
        if (!note->Open) sound.Notes.push_back(*note);
}

// Feeds the file to a new listener.
std::unique_ptr<zorhearing::Listener> Listen(SoundFile& file, Mode mode, AnalysedSound& sound) {
    auto listener =
        std::make_unique<zorhearing::Listener>(zorhearing::SoundFormat{.Rate = file.Rate()}, mode);
    const Clock::time_point start = Clock::now();
    Progress line;
    std::array<float, 4096> samples;
    for (std::size_t got = samples.size(); got == samples.size() && !Interrupted();) {
        got = file.Read(samples);
        listener->Feed(samples.data(), got);
        Collect(*listener, sound);
        ShowProgress(line, start, file);
    }
    line.End();
    return listener;
}

} // namespace

AnalysedSound AnalyseFile(const std::string& path, Mode mode) try {
    SoundFile file(path);
    AnalysedSound sound;
    std::unique_ptr<zorhearing::Listener> listener;
    do {
        sound = {};
        listener = Listen(file, mode, sound);
    } while (!Interrupted() && file.ChooseMixing());
    sound.Seconds = file.Position();
    listener->Finish();
    Collect(*listener, sound);
    sound.AnnouncedSeconds = file.AnnouncedSeconds();
    sound.IsTruncated = !Interrupted() && file.IsTruncated();
    sound.Remark = file.Remark();
    sound.Peak = listener->Peak();
    sound.OnLevel = listener->OnLevel();
    sound.OffLevel = listener->OffLevel();
    sound.Tuning = listener->Tuning();
    return sound;
} catch (const std::bad_alloc&) {
    throw HostError("neither memory nor disk space is left for the sound");
}

} // namespace zorhost
