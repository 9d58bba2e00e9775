// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/microphone.h"

#include "engine/zormidi.h"
#include "host/devices/played_file.h"
#include "host/terminal/host_error.h"

#include <cstdio>

namespace zorhost {

namespace {

// Offers the formats at AnalysisRate only, so that the library opens it at the file's rate after
// resampling.
machine::Microphone AddMicrophone(const char* name) {
    machine::MicrophoneModel model;
    model.Name = name;
    model.Formats = 0x0F0; // WAVE_FORMAT_2*: 22.05 kHz, mono and stereo, 8 and 16 bits
    return machine::AddMicrophone(model);
}

// Why the computer has no microphone to use, as a sentence.
std::string NoMicrophoneReason() {
    const std::string problem = machine::MicrophoneProblem();
    return problem.empty() ? "With --virtual, this computer's microphones are not used." : problem;
}

} // namespace

Microphone::Microphone() : Device(AddMicrophone("Silence")) {}

Microphone::Microphone(const std::string& path)
    : Path(path), File(std::make_shared<PlayedFile>(path)), Device(AddMicrophone("Sound file")) {
    if (const std::string remark = File->Remark(); !remark.empty())
        std::fprintf(stderr, "%s: %s\n", path.c_str(), remark.c_str());
    machine::FeedGenerator(Device, [file = File](const auto& request) { file->Fill(request); });
}

double Microphone::Seconds() const { return File ? File->Seconds() : 0; }

double Microphone::SecondsCaptured() const { return File ? File->SecondsCaptured() : 0; }

bool Microphone::Ended() const { return File && File->Ended(); }

void Microphone::CheckRead() const {
    if (File && File->BrokeOff()) {
        throw HostError("\"" + Path + "\" is truncated: it could not be read to its end");
    }
}

std::int64_t Microphone::StartTime() const {
    const auto age = machine::Microseconds() - machine::StatsOf(Device).OriginMicroseconds;
    return ZorTimeMIDI(0) - static_cast<std::int64_t>(age / 1000);
}

void SelectMicrophone(int number) {
    const auto found = machine::FindMicrophones();
    if (found.empty()) throw HostError("no microphone found. " + NoMicrophoneReason());
    if (number < 1 || number > static_cast<int>(found.size())) {
        std::string text = "microphone " + std::to_string(number) + " not found; available:";
        for (std::size_t i = 0; i < found.size(); ++i)
            text += "\n  " + std::to_string(i + 1) + "  " + found[i].Name;
        throw HostError(text);
    }
    const auto& chosen = found[static_cast<std::size_t>(number) - 1];
    machine::PreferMicrophone(chosen.Id);
    std::fprintf(stderr, "Microphone: %s\n", chosen.Name.c_str());
}

std::unique_ptr<Microphone> MakeVirtualMicrophone(const std::string& file, const PortMap& map) {
    if (!file.empty()) return std::make_unique<Microphone>(file);
    if (!map.MicrophoneOn || !machine::FindMicrophones().empty()) return nullptr;
    std::fprintf(
        stderr,
        "The settings switch the microphone on, but it captures only silence. %s Use --mic "
        "to play a sound file into it.\n",
        NoMicrophoneReason().c_str());
    return std::make_unique<Microphone>();
}

} // namespace zorhost
