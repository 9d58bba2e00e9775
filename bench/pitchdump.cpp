// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// pitchdump < PCM: feeds a recording to the recogniser, for scripts/accuracy. The recording is raw,
// in the usual format of a microphone: 22,050 Hz, 2 channels, 8 bits unsigned. Prints each note
// message as TIME STATUS DATA1 DATA2, the status in hexadecimal. The recording begins at 1000 ms.
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"

#include <cstdio>

namespace {

constexpr int Rate = 22050;

void PrintNotes(Sonorel::PitchRec& recogniser) {
    std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
    while (recogniser.GetNote(&time, &status, &data1, &data2))
        std::printf("%d %02X %d %d\n", time, static_cast<unsigned>(status), data1, data2);
}

} // namespace

int main() {
    auto* sound = new FedSound(Rate, 2, 8); // owned by the recogniser
    Sonorel::PitchRecWaveIn recogniser(sound);
    if (!recogniser.Open(Rate) || !recogniser.Enable(true)) {
        std::fputs("pitchdump: out of memory\n", stderr);
        return 1;
    }
    std::vector<std::uint8_t> data(static_cast<std::size_t>(sound->BytesPerBlock));
    long long frames = 0;
    while (std::fread(data.data(), 1, data.size(), stdin) == data.size()) {
        frames += sound->FramesPerBlock;
        sound->Feed(static_cast<std::uint32_t>(1000 + frames * 1000 / Rate), data);
        PrintNotes(recogniser);
    }
    return 0;
}
