// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The contract of api/midi.h for every MIDI back end, tested through the calls: an output and an
// input that are connected, on the real clock, so that threads meet. No test measures time.
#include "platform/api/midi.h"
#include "platform/registry/back_ends.h"
#include "tests/platform/midi_instrument.h"
#include "tests/support/machine_test.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <semaphore>
#include <thread>

namespace {

using Messages = std::vector<DWORD>;

const MidiInstrument Instruments[] = {
    {"memory",
     [] {
         machine::Connect(machine::AddMidiOutput("Wire"), machine::AddMidiInput("Wire"));
         return true;
     },
     [] {
         machine::UnplugMidiOutput("Wire");
         machine::UnplugMidiInput("Wire");
     },
     [] { machine::AddMidiOutput("Wire"), machine::AddMidiInput("Wire"); }},
#ifdef ZOR_ALSA
    AlsaInstrument,
#endif
};

class MidiContract : public testing::TestWithParam<MidiInstrument> {
protected:
    void SetUp() override {
        machine::PowerOn();
        machine::RecordSentMidi(false);
        device::UseOnlyBackEnd(GetParam().BackEnd);
        if (!GetParam().Plug()) GTEST_SKIP();
        ASSERT_EQ(midiOutOpen(&OutputHandle, 0, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
        OpenInput();
    }
    void TearDown() override {
        midiInClose(InputHandle);
        midiOutClose(OutputHandle);
        machine::PowerOn();
        GetParam().Unplug();
        device::UseOnlyBackEnd(nullptr);
    }
    void OpenInput() {
        ASSERT_EQ(midiInOpen(&InputHandle, 0, reinterpret_cast<DWORD_PTR>(&OnMidi),
                             reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION),
                  MMSYSERR_NOERROR);
        ASSERT_EQ(midiInStart(InputHandle), MMSYSERR_NOERROR);
    }
    static void CALLBACK OnMidi(void*, UINT, DWORD_PTR self, DWORD_PTR first, DWORD_PTR stamp) {
        auto& test = *reinterpret_cast<MidiContract*>(self);
        test.Got.push_back(static_cast<DWORD>(first));
        test.Stamps.push_back(static_cast<DWORD>(stamp));
        if (test.Within) test.Within();
        test.Came.release();
    }
    void Send(const Messages& messages) {
        for (const DWORD message : messages)
            while (midiOutShortMsg(OutputHandle, message) == MIDIERR_NOTREADY)
                std::this_thread::yield();
    }
    Messages Await(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) Came.acquire();
        return std::exchange(Got, {});
    }

    HMIDIOUT OutputHandle = nullptr;
    HMIDIIN InputHandle = nullptr;
    // Not atomic, so that a sanitizer reports a callback that is still running.
    Messages Got, Stamps;
    std::function<void()> Within;
    std::counting_semaphore<> Came{0};
};
INSTANTIATE_TEST_SUITE_P(Every, MidiContract, testing::ValuesIn(Instruments),
                         [](const auto& each) { return each.param.BackEnd; });

TEST_P(MidiContract, EveryMessageComesWholeInOrderWithItsTime) {
    Messages sent = {0x403C90, 0x003C90, 0x33C2, 0x44D0, 0x4400E0, 0x22F3, 0xF6, 0xF8};
    for (DWORD i = 0; i < 5000; ++i) sent.push_back(0xF2 | (i & 0x7F) << 8 | (i >> 7) << 16);
    Send(sent);
    EXPECT_EQ(Await(sent.size()), sent);
    midiInStop(InputHandle);
    EXPECT_TRUE(std::ranges::is_sorted(Stamps));
    EXPECT_LT(Stamps.back(), 600000u);
}

TEST_P(MidiContract, NothingComesBehindStopAndClose) {
    std::atomic<bool> done{false};
    std::thread sender([&] {
        for (; !done; std::this_thread::yield()) midiOutShortMsg(OutputHandle, 0xF8);
    });
    for (int run = 0; run < 300; ++run) {
        Came.acquire();
        if (run % 2)
            midiInStop(InputHandle);
        else
            midiInClose(InputHandle);
        const std::size_t kept = Got.size();
        std::this_thread::yield();
        EXPECT_EQ(Got.size(), kept);
        if (run % 2) midiInClose(InputHandle);
        OpenInput();
    }
    done = true;
    sender.join();
}

TEST_P(MidiContract, ACallbackMaySendAndMayCloseItsOwnDevice) {
    Within = [&] {
        if (Got.size() < 5)
            Send({0xF8}); // an echo loop, ended below
        else
            EXPECT_EQ(midiInClose(InputHandle), MMSYSERR_NOERROR);
    };
    Send({0xF8, 0xF8});
    Await(5);
    Within = nullptr;
    EXPECT_EQ(midiInClose(InputHandle), MMSYSERR_INVALHANDLE);
    OpenInput(); // it is free again
    Send({0xFE});
    EXPECT_EQ(Await(1).back(), 0xFEu);
}

TEST_P(MidiContract, AResetReleasesWhatSoundsAndAHandleThatWasHandedBackIsDead) {
    Send({0x403C90, 0x403D91, 0x403E90, 0x003E90, 0x403F90, 0x403F80});
    Await(6);
    midiOutReset(OutputHandle);
    midiOutReset(OutputHandle);
    Send({0xFE});
    EXPECT_EQ(Await(3), (Messages{0x3C80, 0x3D81, 0xFE}));
    HMIDIIN in = nullptr;
    HMIDIOUT out = nullptr;
    EXPECT_EQ(midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(&OnMidi), 0, CALLBACK_FUNCTION),
              MMSYSERR_ALLOCATED);
    EXPECT_EQ(midiOutOpen(&out, MIDI_MAPPER, 0, 0, CALLBACK_NULL), MMSYSERR_ALLOCATED);
    const HMIDIIN old = InputHandle;
    EXPECT_EQ(midiInClose(InputHandle), MMSYSERR_NOERROR);
    OpenInput();
    EXPECT_EQ(midiInReset(old), MMSYSERR_INVALHANDLE);
    EXPECT_EQ(midiOutClose(OutputHandle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutShortMsg(OutputHandle, 0xF8), MMSYSERR_INVALHANDLE);
}

TEST_P(MidiContract, PulledOutItSaysSoAndPluggedInAgainItGoesOn) {
    std::counting_semaphore<> notified{0};
    const auto awaitBoth = [&notified] { notified.acquire(), notified.acquire(); };
    machine::WatchMidiDevices([&notified] { notified.release(); });
    const auto device = device::MidiDeviceAt(device::MidiDirection::Output, 0);
    Send({0x403C90});
    Await(1);
    GetParam().Unplug();
    awaitBoth();
    EXPECT_EQ(Await(1), Messages{0x3C80}); // which was held
    EXPECT_EQ(midiInGetNumDevs() + midiOutGetNumDevs(), 0u);
    for (const MMRESULT result : {MMSYSERR_NODRIVER, MMSYSERR_NOERROR, MMSYSERR_NOERROR})
        EXPECT_EQ(midiOutShortMsg(OutputHandle, 0xF8),
                  result); // fails once, not for each message of a song
    EXPECT_EQ(midiInStart(InputHandle), MMSYSERR_NODRIVER);
    // Calls that lead to closing a handle succeed.
    EXPECT_EQ(midiOutReset(OutputHandle), MMSYSERR_NOERROR);
    GetParam().PlugAgain();
    awaitBoth();
    EXPECT_FALSE(notified.try_acquire());
    EXPECT_EQ(device::MidiDeviceAt(device::MidiDirection::Output, 0), device);
    EXPECT_EQ(midiOutReset(OutputHandle), MMSYSERR_NOERROR); // no note sounds any more
    Send({0xFE});
    EXPECT_EQ(Await(1), Messages{0xFE});
    GetParam().Unplug();
    EXPECT_EQ(midiOutShortMsg(OutputHandle, 0xF8), MMSYSERR_NODRIVER);
    EXPECT_EQ(midiInStop(InputHandle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiInClose(InputHandle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutClose(OutputHandle), MMSYSERR_NOERROR);
    machine::WatchMidiDevices(nullptr);
}

} // namespace
