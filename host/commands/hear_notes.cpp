// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/hear_notes.h"

#include "host/devices/settings.h"
#include "host/recording/output_file.h"
#include "host/sound/heard_notes.h"
#include "host/sound/sound_file.h"
#include "host/sound/synthesis.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

namespace zorhost {

namespace {

class SynthesizerPlayback : public NotePlayback {
public:
    SynthesizerPlayback(const GlobalOptions& global, const std::string& path,
                        const std::string& target)
        : Settings(ReadSynthesizerSettings(global.IniFolder)), Recording(path),
          Synthesizer(OpenSynthesizer(Settings, Recording.Rate())) {
        if (!target.empty()) File = std::make_unique<OutputFile>(target);
    }

    void Play(double peak, const std::vector<MIDIEvent>& records, double tuning,
              std::FILE* messages) override {
        StereoSound sound = PlayBeside(Recording, peak, records, tuning, *Synthesizer);
        if (!File) return PlayAloud(sound, Settings);
        if (Interrupted()) throw HostError("stopped; \"" + File->Path() + "\" was not written");
        sound.Write(*File);
        std::fprintf(messages, "Wrote %s: left the recording, right the notes\n",
                     File->Path().c_str());
    }

private:
    const machine::SynthesizerSettings Settings;
    SoundFile Recording;
    const std::unique_ptr<machine::Synthesizer> Synthesizer;
    std::unique_ptr<OutputFile> File; // null to play it
};

} // namespace

std::unique_ptr<NotePlayback> OpenNotePlayback(const GlobalOptions& global, const std::string& path,
                                               const std::string& target) {
    if (!target.empty()) CheckSoundName(target);
    return std::make_unique<SynthesizerPlayback>(global, path, target);
}

} // namespace zorhost
