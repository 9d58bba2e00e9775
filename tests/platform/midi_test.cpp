// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The ports of the memory back end, in stepped time.
#include "tests/support/machine_test.h"

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace {

using All = std::vector<std::pair<DWORD, DWORD>>; // message and stamp

class Midi : public MachineTest {
protected:
    void TearDown() override { machine::PowerOn(); } // closes every handle
    static void CALLBACK OnMidi(void*, UINT, DWORD_PTR got, DWORD_PTR first, DWORD_PTR stamp) {
        reinterpret_cast<All*>(got)->emplace_back(first, stamp);
    }
    static HMIDIIN Start(UINT device, All& got) {
        HMIDIIN in = nullptr;
        midiInOpen(&in, device, reinterpret_cast<DWORD_PTR>(OnMidi),
                   reinterpret_cast<DWORD_PTR>(&got), CALLBACK_FUNCTION);
        midiInStart(in);
        return in;
    }
    static HMIDIOUT OpenOut(UINT device) {
        HMIDIOUT out = nullptr;
        EXPECT_EQ(midiOutOpen(&out, device, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
        return out;
    }
};

TEST_F(Midi, CablesCarryWithTheirOwnDelayAndStampsCountFromTheStart) {
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("Far");
    machine::AddMidiInput("Near");
    machine::Connect(0, 0, 20);
    machine::Connect(0, 1);
    All far, near;
    Start(0, far);
    const HMIDIIN in = Start(1, near);
    const HMIDIOUT out = OpenOut(MIDI_MAPPER);
    for (DWORD note = 60; note < 62; ++note) midiOutShortMsg(out, 0x400090 | note << 8);
    EXPECT_TRUE(near.empty()); // callbacks run inside Advance only
    machine::Advance(10);
    midiInStop(in);
    machine::ReceiveMidi(1, 0xFE); // lost
    machine::Advance(10);
    midiInStart(in);
    machine::Advance(7);
    midiInStart(in); // as it was already
    machine::ReceiveMidi(1, 0xF8);
    machine::Advance(0);
    EXPECT_EQ(near, (All{{0x403C90, 0}, {0x403D90, 0}, {0xF8, 7}}));
    EXPECT_EQ(far, (All{{0x403C90, 20}, {0x403D90, 20}}));
}

TEST_F(Midi, TheWireTakesWhatTheStatusCallsFor) {
    machine::Connect(machine::AddMidiOutput("Out"), machine::AddMidiInput("In"));
    All got;
    Start(0, got);
    const HMIDIOUT out = OpenOut(0);
    const std::pair<DWORD, DWORD> cases[] = {
        // what is sent, and what arrives, 0 for nothing
        {0x12FFC89F, 0x7F7F9F}, {0x554433C2, 0x33C2}, {0x004433D0, 0x33D0},
        {0x001122F2, 0x1122F2}, {0x001122F3, 0x22F3}, {0x001122F6, 0xF6},
        {0x001122F0, 0},        {0x001122F7, 0},      {0x00403C05, 0}};
    for (const auto& [sent, arrived] : cases) {
        got.clear();
        EXPECT_EQ(midiOutShortMsg(out, sent), MMSYSERR_NOERROR);
        machine::Advance(1);
        EXPECT_EQ(machine::DrainSentMidi().at(0).Message & 0xFF, sent & 0xFF);
        EXPECT_EQ(got.empty() ? 0 : got[0].first, arrived) << std::hex << sent;
    }
}

TEST_F(Midi, ClosingWaitsForTheCallbackUnderWay) {
    struct State {
        std::atomic<bool> Inside{false}, MayEnd{false}, Ended{false};
    } state;
    const auto callback = +[](void*, UINT, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
        auto& s = *reinterpret_cast<State*>(instance);
        s.Inside = true;
        while (!s.MayEnd) std::this_thread::yield();
        s.Ended = true;
    };
    machine::AddMidiInput("In");
    HMIDIIN in = nullptr;
    midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(callback), reinterpret_cast<DWORD_PTR>(&state),
               CALLBACK_FUNCTION);
    const std::jthread driver([] { machine::CallBackMidi(0, MIM_DATA, 0x403C90, 0); });
    while (!state.Inside) std::this_thread::yield();
    const std::jthread helper([&state] {
        std::this_thread::yield();
        state.MayEnd = true;
    });
    EXPECT_EQ(midiInClose(in), MMSYSERR_NOERROR);
    EXPECT_TRUE(state.Ended);
}

TEST_F(Midi, PatchesAreCachedForOneChannelAfterTheOther) {
    machine::AddMidiOutput("Out", MIDICAPS_CACHE);
    const HMIDIOUT out = OpenOut(0);
    WORD patches[MIDIPATCHSIZE] = {};
    for (const WORD channels : {1, 4}) {
        patches[9] = channels;
        EXPECT_EQ(midiOutCachePatches(out, 0, patches, MIDI_CACHE_BESTFIT), MMSYSERR_NOERROR);
    }
    EXPECT_EQ(midiOutCachePatches(out, 0, patches, MIDI_CACHE_QUERY), MMSYSERR_NOERROR);
    EXPECT_EQ(patches[9], 5);
}

// A host that needs an output must start on a computer with only a keyboard.
TEST_F(Midi, WithoutOutputsTheDefaultOneIsSilent) {
    machine::AddMidiInput("Keys");
    OpenLibrary();
    const MIDIEvent note = {0, 0, 0, 2, 0x90, 60, 1};
    for (const bool plugged : {false, true}) {
        if (plugged) machine::Connect(machine::AddMidiOutput("Synth"), 0);
        EXPECT_EQ(midiOutGetNumDevs(), plugged ? 1u : 0u);
        EXPECT_TRUE(ZorStartMIDI(0));
        HMIDIOUT out = nullptr;
        EXPECT_EQ(midiOutOpen(&out, MIDI_MAPPER, 0, 0, CALLBACK_NULL), MMSYSERR_ALLOCATED);
        EXPECT_EQ(midiOutOpen(&out, 1, 0, 0, CALLBACK_NULL), MMSYSERR_BADDEVICEID);
        EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &note));
        machine::Advance(1);
        EXPECT_EQ(DrainReceived().size(), plugged ? 1u : 0u);
        ZorStopMIDI();
    }
    EXPECT_EQ(DrainBoxTexts(), std::vector<std::string>{});
}

TEST_F(Midi, WhatIsOnItsWayToADeviceThatLeavesIsLost) {
    int notified = 0;
    machine::WatchMidiDevices([&notified] { ++notified; });
    machine::Connect(machine::AddMidiOutput("Out"), machine::AddMidiInput("In"), 20);
    EXPECT_EQ(notified, 2);
    All got;
    const HMIDIIN first = Start(0, got);
    midiOutShortMsg(OpenOut(0), 0x403C90);
    machine::Advance(10);
    machine::UnplugMidiInput("In");
    machine::Advance(30);
    EXPECT_TRUE(got.empty());
    EXPECT_EQ(notified, 3);
    machine::AddMidiInput("In");
    machine::ReceiveMidi(0, 0x403C90);
    machine::Advance(1);
    midiInClose(first);
    Start(0, got);
    machine::UnplugMidiInput("In");
    machine::Advance(1);
    EXPECT_EQ(got.size(), 1u); // a note that an earlier handle held is not released to this one
    machine::WatchMidiDevices(nullptr);
}

// A flood of messages leaves room for timers, is refused rather than lost, and ends with the clock.
TEST_F(Midi, AsManyAreUnderWayAsACableHolds) {
    machine::RecordSentMidi(false);
    machine::Connect(machine::AddMidiOutput("Out"), machine::AddMidiInput("In"), 5);
    All got;
    Start(0, got);
    const HMIDIOUT out = OpenOut(0);
    for (std::size_t most : {65536, 65536}) {
        for (std::size_t i = 0; i < most; ++i) ASSERT_EQ(midiOutShortMsg(out, 0xF8), 0u);
        EXPECT_EQ(midiOutShortMsg(out, 0xF8), MIDIERR_NOTREADY);
        machine::Advance(5);
        EXPECT_EQ(std::exchange(got, {}).size(), most);
    }
    midiOutShortMsg(out, 0xF8);
    machine::UseSteppedClock(5000);
    midiOutShortMsg(out, 0xFE);
    machine::Advance(5);
    EXPECT_EQ(got.size(), 1u);
}

} // namespace
