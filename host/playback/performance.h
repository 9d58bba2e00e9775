// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays a song to the user: handles keys and a microphone, and collects what comes back through the
// inputs.
#pragma once

#include "host/devices/microphone.h"
#include "host/playback/transport.h"
#include "host/recording/take_writer.h"
#include "host/sound/melody.h"
#include "host/terminal/progress.h"
#include "host/terminal/terminal.h"

#include <vector>

namespace zorhost {

constexpr std::int64_t PlayLead = 100; // milliseconds from the start of the timer to the music

struct PerformancePlan {
    PlayRange Range;
    bool HasSoundFile = false;  // the microphone plays a sound file, on MicrophoneChannel
    bool Report = false;        // waits for all messages to come back
    TakeWriter* Take = nullptr; // records what comes back; may be null
};

class Performance {
public:
    // The song must outlive the performance.
    Performance(const midifile::Song& song, const PerformancePlan& plan)
        : Song(song), Plan(plan), Music(song, plan.Range) {}

    // Plays until the end of the song, Ctrl-C or the quit key. mic may be null.
    void Run(const Microphone* mic);
    // False if Run was stopped by the user.
    bool IsComplete() const { return !Stopped; }
    const Transport& Playback() const { return Music; }
    // Channel messages of the input ports. Their times are milliseconds from the start of the
    // music.
    std::vector<MIDIEvent> PortRecords() const;
    // Notes of the microphone's sound file, with times from its beginning.
    std::vector<Note> MicrophoneNotes() const;
    // Writes the take of the plan. Throws HostError if nothing came back.
    void FinishRecording() const;

private:
    void Receive();
    void ShowProgress(Progress& progress) const;
    void HandleKey(Key key);
    void AwaitReturns();
    void AwaitMicrophone(const Microphone& mic);
    void EndNotes(const Microphone* mic);

    const midifile::Song& Song;
    const PerformancePlan Plan;
    Transport Music;
    std::vector<MIDIEvent> Incoming; // times from the start of the music
    std::int64_t MicStart = 0;       // of the sound file, milliseconds from the start of the music
    bool Stopped = false;
};

} // namespace zorhost
