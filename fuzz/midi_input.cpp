// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Any bytes from an input device, at any port, with echo, filters and external clock.
#include "fuzz/fuzz.h"
#include "platform/platform.h"

namespace {

constexpr int Ports = 2;

void BringUp() {
    FreshMachine("[MMEDRVR]\nInName1=A\nInName2=B\nInBase2=17\nOutName1=A\nOutName2=B\n"
                 "OutBase2=17\n");
    for (const char* name : {"A", "B"}) machine::AddMidiInput(name), machine::AddMidiOutput(name);
    Check(MIDISysInit(0) == -1 && ZorAllocMIDI(0, 64) && ZorAllocMIDI(1, 16), "initialises");
    ZorEchoMIDI(1, nullptr);
    ZorStartTimer();
}

void CheckRecords(bool full) {
    int count = 0;
    for (MIDIEvent event; ZorRcv(&event, 0); ++count) {
        Check(event.Status >= 0x80 && event.Length <= 2 && event.Etime == 0, "a record is whole");
        Check(event.Status >= 0xF0 || event.Status % 16 == 0, "the channel is not in the status");
        Check(event.Channel >= 0 && event.Channel < 16 * Ports, "the channel is its port's");
        Check(event.Status < 0xF0 || event.Channel % 16 == 0, "a system message has no channel");
    }
    Check(count < 64 && (!full || count == 63), "the ring's count");
}

void CheckSent() {
    for (const machine::SentMidi& sent : machine::DrainSentMidi())
        Check((sent.Message & 0x8080) <= 0x80 && sent.Message < 0x800000,
              "data bytes are in range");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    [[maybe_unused]] static const bool up = (BringUp(), true);
    Bytes bytes(data, size);
    const std::uint8_t flags = bytes.Byte();
    ZorSyncMIDI(flags & 1 ? ZOR_SYNC_EXTERNAL : ZOR_SYNC_INTERNAL);
    ZorFilterMIDI(flags & 4 ? bytes.Word() : std::uint16_t{0}, bytes.Word());
    machine::RecordSentMidi(flags & 8);
    int passed = 0;
    while (bytes.Any()) {
        const std::uint8_t how = bytes.Byte();
        const std::uint32_t packed = bytes.Long();
        machine::CallBackMidi(how % Ports, how & 0x40 ? bytes.Word() : MIM_DATA, packed, how);
        passed += (packed & 0xFF) >= 0x80 && (packed & 0xFF) < 0xF0 && !(how & 0x40) ? 1 : 0;
        if (how & 0x80) ZorMIDIPlay();
    }
    CheckRecords(passed > 63 && !(flags & 4));
    CheckSent();
    return 0;
}
