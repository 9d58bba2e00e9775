// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sound blocks of any size, content and format, into the recogniser.
#include "fuzz/fuzz.h"
#include "pitchrec/pitch_rec.h"
#include "soundin/sound_in.h"

#include <cstring>
#include <vector>

using namespace Sonorel;

namespace {

// Changes all settings of a recogniser. wild: reference pitches out of range too.
void Set(PitchRecWaveIn& recogniser, Bytes& bytes, bool wild) {
    const std::uint8_t flags = bytes.Byte();
    recogniser.SetTrackingMode(flags & 1);
    recogniser.SetPitchBendOutput(flags & 2);
    recogniser.SetRawNoteOutput(flags & 4);
    recogniser.SetAttackDetect(flags & 8, bytes.Byte());
    recogniser.SetPeakFactorSet(flags >> 4 & 1);
    const auto pitch = static_cast<std::int32_t>(bytes.Long());
    recogniser.SetReferencePitch(wild ? pitch : 415 + flags / 32 % 2 * 25);
}

// Bytes of a block: mostly those of a device's, sometimes more than the recogniser can store.
std::size_t Size(Bytes& bytes, std::uint8_t kind) {
    return kind >= 0xF8 ? bytes.Word() : bytes.Byte() * 8u;
}

// A block copied from the bytes, or a synthesised wave whose parameters are read from them.
std::vector<std::uint8_t> Block(Bytes& bytes) {
    const std::uint8_t kind = bytes.Byte();
    if (kind % 4 == 0) {
        const std::string_view raw = bytes.Read(Size(bytes, kind));
        return {raw.begin(), raw.end()};
    }
    std::vector<std::uint8_t> block(kind % 4 == 1 ? 1024u : Size(bytes, kind));
    const unsigned period = bytes.Byte() + 2u, height = bytes.Byte(), noise = bytes.Byte() % 16u;
    for (std::size_t i = 0; i < block.size(); ++i) {
        const std::size_t phase = i / 2 % period;
        block[i] = static_cast<std::uint8_t>(128 + phase * height / period - height / 2 +
                                             i * 7919 % 251 % (noise + 1));
    }
    return block;
}

// Only MIDI messages, and one note at a time. held: the note that sounds, or -1. most: the highest
// note, 127 with a reference pitch in range.
void CheckNotes(PitchRecWaveIn& recogniser, std::int32_t& held, std::int32_t most) {
    std::int32_t time, status, note, value;
    while (recogniser.GetNote(&time, &status, &note, &value)) {
        Check((status & 0x0F) < 2 && (note & ~most) == 0 && (value & ~0xFF) == 0, "MIDI");
        if (status == 0x90) Check(held < 0, "the previous note has ended"), held = note;
        if (status == 0x80) Check(held == note, "the note sounded"), held = -1;
        const std::int32_t type = status & 0xF0;
        Check(type == 0x80 || type == 0x90 || type == 0xB0 || type == 0xE0, "a known message");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    auto* input = new SoundIn;
    PitchRecWaveIn recogniser(input);
    static constexpr std::uint32_t rates[] = {22050, 44100, 11025, 8000, 48000, 96000, 1, 0};
    const std::uint8_t format = bytes.Byte();
    const bool wild = format & 128;
    input->Channels = format % 4 == 3 ? 1 + bytes.Byte() : 1 + format % 4;
    input->BitsPerSample = format & 4 ? 16 : 8;
    if (format & 64) input->BitsPerSample = bytes.Byte();
    Check(recogniser.Open(22050) && recogniser.Enable(true), "opens");
    input->SetSampleRate(rates[format >> 3 & 7]);
    std::int32_t held = -1;
    for (std::uint32_t time = bytes.Long(); bytes.Any(); time += 23) {
        if (bytes.Byte() % 8 == 0) Set(recogniser, bytes, wild);
        const auto block = Block(bytes);
        PitchRecWaveIn::ProcessChunk(time, block.data(), static_cast<std::int32_t>(block.size()),
                                     &recogniser);
        CheckNotes(recogniser, held, wild ? 255 : 127);
        Check(recogniser.GetSignalLevel() >= 0 && recogniser.GetSignalLevel() <= 32768, "a level");
    }
    return 0;
}
