// A piece as it is played to the user: with keys, beside a microphone, and with what comes back.
#pragma once

#include "host/sound/melody.h"
#include "host/devices/microphone.h"
#include "host/terminal/progress.h"
#include "host/recording/take_writer.h"
#include "host/terminal/terminal.h"
#include "host/playback/transport.h"

#include <vector>

namespace zorhost {

constexpr std::int64_t PlayLead = 100; // milliseconds from the start of the timer to the music

struct PerformancePlan {
    Route Way;
    bool SoundFile = false; // the microphone hears one, on a channel of its own
    bool Report = false;    // all that was sent is waited for
    TakeWriter* Record = nullptr; // what comes back is taken into it
};

class Performance {
public:
    Performance(const midifile::Song& song, const PerformancePlan& plan)
        : File(song), Plan(plan), Music(song, plan.Way) {}

    // Until the end, Ctrl-C or the key that ends it. mic may be null.
    void Run(const Microphone* mic);
    bool Complete() const { return !Stopped; }
    const Transport& Of() const { return Music; }
    // As they came in from the ports, with times from the start of the music.
    std::vector<MIDIEvent> FromPorts() const;
    // The notes of the microphone's sound file, with times from its beginning.
    std::vector<Note> Heard() const;
    // Throws HostError if nothing came back.
    void FinishRecording() const;

private:
    void Receive();
    void ShowProgress(Progress& progress) const;
    void Obey(Key key);
    void AwaitRest();
    void AwaitMicrophone(const Microphone& mic);
    void SilenceRest(const Microphone* mic);

    const midifile::Song& File;
    const PerformancePlan Plan;
    Transport Music;
    std::vector<MIDIEvent> Incoming; // times from the start of the music
    std::int64_t MicStart = 0;
    bool Stopped = false;
};

} // namespace zorhost
