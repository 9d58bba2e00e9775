// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Output devices whose driver belongs to another program: it calls back, waits and is slow.
#include "engine/active_call.h"
#include "mme_test.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace {

using machine::Call;

constexpr int Key = 60;

// Two ports on neighbouring channels; input on one is echoed to it.
class DriverProgramTest : public MmeTest {
protected:
    void SetUp() override {
        MmeTest::SetUp();
        OpenPorts({0, 16});
        ZorEchoMIDI(1, nullptr);
        MidiOutReset = 1;
    }
    ~DriverProgramTest() override { machine::InsideMidiOut(nullptr); } // uses the test's variables
    static void CallBack() { machine::CallBackMidi(0, MIM_DATA, 0x403C90, 0); }
};

TEST_F(DriverProgramTest, CallbacksDuringSendingSendNothing) {
    Send(0, 0x90, Key, 9);
    Sent();
    machine::InsideMidiOut([](Call, int device) {
        if (device == 0) CallBack();
    });
    EXPECT_TRUE(MMESilence());
    EXPECT_EQ(OutPorts[0].NoteCounts[Key], 0);
    MMEClose();
    EXPECT_EQ(Sent(), Lines{Line(0, 0x90, Key, 0)});
    MIDIEvent event;
    EXPECT_TRUE(ZorRcv(&event, 0)); // the host receives it
}

// Another thread of the driver calls back while it holds the lock that our call waits for.
TEST_F(DriverProgramTest, ACallbackUnderItsLockDoesNotDeadlock) {
    for (const Call call : {Call::midiOutShortMsg, Call::midiOutReset, Call::midiOutClose}) {
        std::timed_mutex driver;
        std::atomic<bool> held{false}, wanted{false};
        std::thread other([&] {
            const std::lock_guard lock(driver);
            held = true;
            held.notify_all();
            wanted.wait(false);
            CallBack();
        });
        held.wait(false);
        machine::InsideMidiOut([&](Call now, int) {
            if (now != call || wanted.exchange(true)) return;
            wanted.notify_all();
            // system_clock, since the thread sanitizer supports no other timed wait.
            const std::unique_lock lock(driver, std::chrono::system_clock::now() +
                                                    std::chrono::seconds(20));
            EXPECT_TRUE(lock.owns_lock());
        });
        Send(0, 0x90, Key, 9);
        MMEClose();
        EXPECT_TRUE(wanted.exchange(true));
        wanted.notify_all();
        other.join();
        machine::InsideMidiOut(nullptr);
        EXPECT_EQ(Sent(), Lines{Line(0, 0x90, Key, 9)});
        ASSERT_TRUE(MMEOpen());
    }
}

TEST_F(DriverProgramTest, OtherThreadsSendWhileAPortCloses) {
    machine::InsideMidiOut([](Call call, int device) {
        if (call == Call::midiOutShortMsg) return;
        EXPECT_EQ(machine::CallCount(Call::midiInStop), 2u); // inputs are stopped by then
        if (device == 0)
            std::thread([] {
                EXPECT_TRUE(Send(0, 0x90, Key, 9) && Send(16, 0x90, Key, 9));
            }).join();
    });
    MMEClose();
    EXPECT_EQ(Sent(), (Lines{Line(1, 0x90, Key, 9), Line(1, 0x90, Key, 9)}));
}

TEST_F(DriverProgramTest, AKillReleasesTheNoteBeingSentAndNothingFollows) {
    OutPorts[1].BaseChannel = 0;
    const MIDIEvent note = Event(3, 0x90, Key, 9);
    std::thread killer;
    std::atomic<bool> begun{false}; // the kill sends too
    machine::InsideMidiOut([&](Call, int) {
        if (begun.exchange(true)) return;
        killer = std::thread([] { ZorKillMIDI(); });
        while (!TransmissionCancelled()) std::this_thread::yield();
    });
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &note));
    killer.join();
    machine::InsideMidiOut(nullptr); // uses local variables
    Lines first, second;
    for (const std::string& line : Sent()) (line[0] == '0' ? first : second).push_back(line);
    EXPECT_EQ(first, (Lines{Line(0, 0x93, Key, 9), Line(0, 0xB0, 64, 0), Line(0, 0xB0, 123, 0),
                            Line(0, 0xE0, 0, 64), Line(0, 0x83, Key, 0)}));
    EXPECT_EQ(second, (Lines{Line(1, 0xB0, 64, 0), Line(1, 0xB0, 123, 0), Line(1, 0xE0, 0, 64)}));
}

} // namespace
