// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Fault injection: runs each scenario of a host once per system call, with that call refused: the
// first call of a function, the second, and so on until the scenario makes no more calls of it.
#include "engine/driver_table.h"
#include "mme/setup_dialog.h"
#include "setup/tonequill.h"
#include "tests/support/dialog_user.h"
#include "tests/support/direct_sound.h"
#include "tests/support/machine_test.h"

#include <cstdio>
#include <fstream>

namespace {

using machine::Call;

bool IsBetween(Call call, Call first, Call last) { return call >= first && call <= last; }

// The result of a refused call.
std::intptr_t Refusal(Call call) {
    const bool null = call <= Call::_beginthreadex || call == Call::timeSetEvent;
    if (null || call == Call::GetDC) return 0;
    if (call == Call::DialogBoxParamA) return -1;
    return call >= Call::DirectSoundCaptureEnumerateA ? std::intptr_t{DSERR_GENERIC}
                                                      : MMSYSERR_ERROR;
}

// True if the refusal leaks a resource: of calls that release one. Ports and buffers are released
// on a second attempt.
bool Leaks(Call call, bool once) {
    if (call == Call::timeEndPeriod || call == Call::mixerClose || call == Call::waveInClose)
        return true;
    return !once && (IsBetween(call, Call::midiInReset, Call::midiInClose) ||
                     IsBetween(call, Call::midiOutReset, Call::midiOutClose) ||
                     call == Call::waveInReset || call == Call::waveInUnprepareHeader);
}

// Checks the message boxes after a refused call. MIDI ports: the system's text, once. Settings that
// cannot be stored: one box. Timers, mixers and optional calls: none. Others: at most two, about
// what could not be opened.
bool BoxesAreRight(Call call, const std::vector<std::string>& boxes) {
    char text[256] = "";
    midiOutGetErrorTextA(MMSYSERR_ERROR, text, sizeof text);
    if (IsBetween(call, Call::midiInOpen, Call::midiInClose) ||
        IsBetween(call, Call::midiOutOpen, Call::midiOutShortMsg))
        return boxes == std::vector<std::string>{text};
    if (call == Call::WritePrivateProfileStringA)
        return boxes.size() == 1 && boxes[0].find("cannot be stored") != std::string::npos;
    if (IsBetween(call, Call::WritePrivateProfileStringA, Call::midiOutCachePatches) ||
        IsBetween(call, Call::waveInClose, Call::mixerSetControlDetails) ||
        IsBetween(call, Call::CaptureBufferStart, Call::CaptureBufferLock) || call == Call::GetDC)
        return boxes.empty();
    return boxes.size() <= 2;
}

// Results of a scenario, without times.
struct Outcome {
    std::vector<std::uint32_t> Sent, Received;
    std::vector<std::string> Boxes;
    std::string Ini;
    int Starts = 0;  // successful ones
    int Dialogs = 0; // shown
    bool operator==(const Outcome&) const = default;
};

struct Scenario {
    const char* Name;
    DirectSound Sound;
    void (*Run)(Outcome&);
};

MIDIEvent Later(int milliseconds, std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    return {ZorTimeMIDI(0) + milliseconds, 0, 0, 2, status, data1, data2};
}

void Drain(Outcome& outcome) {
    for (MIDIEvent event; ZorRcv(&event, 0);)
        outcome.Received.push_back(static_cast<std::uint32_t>(
            event.Status | event.Data1 << 8 | event.Data2 << 16 | event.Channel << 24));
    for (const machine::SentMidi& sent : machine::DrainSentMidi())
        if (!sent.Reset) outcome.Sent.push_back(sent.Message);
}

// Queued, immediate and received messages; one record still waits at the end.
void SendAndReceive(Outcome& outcome) {
    const MIDIEvent program = Later(0, 0xC0, 7, 0), on = Later(10, 0x90, 60, 64),
                    off = Later(30, 0x80, 60, 0), late = Later(9999, 0x90, 61, 1);
    for (const MIDIEvent& event : {program, on, off, late}) ZorXmit(1, &event);
    ZorXmit(2, &on);
    ZorMIDIPlay();
    for (int i = 0; i < 4; ++i) {
        machine::ReceiveMidi(0, 0x403C90);
        machine::ReceiveMidi(1, 0xF8);
        ZorXmit(ZOR_IMMEDIATE, &on);
        machine::Advance(20);
    }
    Drain(outcome);
}

// Starts; after a message box the user tries once more.
void Start(Outcome& outcome, ZorBool (*start)()) {
    for (int tries = 0; tries < 2; ++tries) {
        std::uint8_t open = 0;
        const bool started = start() != 0;
        ZorMIDIStatus(&open, nullptr);
        outcome.Starts += started;
        EXPECT_EQ(started, open != 0);
        if (started) return;
        const auto boxes = machine::DrainBoxes();
        EXPECT_FALSE(boxes.empty()) << "a failed start showed no message box";
        for (const machine::Box& box : boxes) outcome.Boxes.push_back(box.Text);
        EXPECT_NE(ZorErrorMIDI(nullptr), -1);
    }
}

void Plays(Outcome& outcome) {
    Start(outcome, [] { return ZorStartMIDI(1); });
    SendAndReceive(outcome);
    ZorKillMIDI();
    ZorMIDIPlay();
    SendAndReceive(outcome);
    ZorStopMIDI();
    Start(outcome, [] { return ZorStartMIDI(1); });
    SendAndReceive(outcome);
}

void Echoes(Outcome& outcome) {
    Start(outcome, [] {
        ZorEchoMIDI(1, nullptr);
        std::uint8_t open = 0;
        return ZorMIDIStatus(&open, nullptr), open;
    });
    ZorStartMIDI(1);
    SendAndReceive(outcome);
    ZorKillMIDI();
    ZorEchoMIDI(0, nullptr);
}

void Listens(Outcome& outcome) {
    Start(outcome, [] { return ZorStartMIDI(1); });
    machine::Advance(150);
    Drain(outcome);
}

void Shows(Outcome& outcome, std::int16_t row, const DialogScript& script) {
    ZorStartMIDI(1);
    ScriptDialogs([&](DialogUser& user) {
        ++outcome.Dialogs;
        script(user);
    });
    ZorConfigMIDIDriver(nullptr, row);
    ScriptDialogs(nullptr);
    SendAndReceive(outcome);
}

void SetsUpPorts(Outcome& outcome) {
    Shows(outcome, MMERow, [](DialogUser& user) {
        if (!user.Shown(midisetup::OutBase)) user.Click(midisetup::Advanced);
        user.Type(midisetup::OutBase, "2");
        user.Select(midisetup::OutDevice + 2, "Third");
        user.Click(midisetup::Help);
        user.Enter();
    });
}

void SetsUpMicrophone(Outcome& outcome) {
    Shows(outcome, PRecRow, [](DialogUser& user) {
        user.Wait(120);
        user.Slide(tonequill::LevelSlider, 30);
        user.Click(tonequill::MicThru);
        user.Select(tonequill::DeviceList, 0);
        user.Click(tonequill::OutputVolume);
        user.Wait(60);
        user.Enter();
    });
}

constexpr Scenario Scenarios[] = {
    {"plays", DirectSound::Absent, Plays},
    {"echoes", DirectSound::Absent, Echoes},
    {"listens by DirectSound", DirectSound::Present, Listens},
    {"listens by waveIn", DirectSound::Absent, Listens},
    {"sets up the ports", DirectSound::Absent, SetsUpPorts},
    {"sets up the microphone by DirectSound", DirectSound::Present, SetsUpMicrophone},
    {"sets up the microphone by waveIn", DirectSound::Absent, SetsUpMicrophone},
};

class Failures : public MachineTest, public testing::WithParamInterface<Scenario> {
protected:
    ~Failures() override { SetDirectSound(DirectSound::Absent); }

    static void NewMachine() {
        PowerOff();
        PowerOn();
        for (const char* name : {"First", "Second", "Third"}) machine::AddMidiInput(name);
        machine::AddMidiOutput("First", MIDICAPS_CACHE);
        for (const char* name : {"Second", "Third"}) machine::AddMidiOutput(name);
        machine::FeedGenerator(machine::AddMicrophone({"Desk"}), [](const auto& request) {
            for (std::size_t i = 0; i < request.Samples.size(); ++i) // 441 Hz
                request.Samples[i] = i / request.Channels % 50 < 25 ? 0.8f : -0.8f;
        });
        SetDirectSound(GetParam().Sound);
    }

    // Runs the scenario from MIDISysInit to MIDISysTerm.
    static Outcome Run() {
        const bool listening = GetParam().Run == Listens || GetParam().Run == SetsUpMicrophone;
        WriteIni("[MMEDRVR]\nInName1=First\nInName2=Second\nInBase2=17\nOutName1=First\n"
                 "OutName2=Second\nOutBase2=1\nOutMatch2=0\nMidiOutReset=1\n[PRECDRVR]\n"
                 "EnablePitchRec=" +
                 std::to_string(listening) + "\n[ZORMIDI]\nMMESpeed=20\n");
        Outcome outcome;
        EXPECT_EQ(MIDISysInit(0), -1);
        for (std::int16_t queue = 0; queue < 3; ++queue)
            ZorAllocMIDI(queue, 100) || ZorAllocMIDI(queue, 100);
        GetParam().Run(outcome);
        ZorStopMIDI();
        MIDISysTerm();
        machine::Advance(11000); // a one-shot that could not be cancelled expires
        Drain(outcome);
        for (const std::string& text : DrainBoxTexts()) outcome.Boxes.push_back(text);
        std::getline(std::ifstream("ZORMIDI.INI"), outcome.Ini, '\0');
        return outcome;
    }

    // Runs the scenario with the nth call refused, then once more without faults. Returns false if
    // the scenario made fewer calls.
    static bool RunWithFault(Call call, int nth, bool once, const Outcome& clean) {
        SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " number " << nth
                                        << (once ? "" : " and all later ones"));
        NewMachine();
        machine::FailCall(call, nth, Refusal(call), once ? 1 : 0);
        const Outcome failed = Run();
        machine::ClearFaults();
        if (machine::CallCount(call) < static_cast<unsigned>(nth)) return false;
        if (once) {
            EXPECT_EQ(failed.Starts, clean.Starts);
            // Without events the microphone is captured by waveIn.
            EXPECT_TRUE(call != Call::CreateEventA || failed.Received == clean.Received);
            EXPECT_TRUE(BoxesAreRight(call, failed.Boxes)) << testing::PrintToString(failed.Boxes);
        }
        while (ZorErrorMIDI(nullptr) >= 0) continue;
        const Outcome second = Run();
        EXPECT_EQ(OpenCaptureObjects(), 0);
        if (Leaks(call, once)) return machine::PowerOn(), true;
        EXPECT_EQ(second, clean);
        return true;
    }
};

TEST_P(Failures, EveryCallRefusedInTurn) {
    NewMachine();
    const Outcome clean = Run();
    EXPECT_EQ(clean.Boxes, std::vector<std::string>{});
    int runs = 0;
    for (int call = 0; call < static_cast<int>(Call::Count); ++call)
        for (const bool once : {true, false})
            for (int nth = 1; RunWithFault(static_cast<Call>(call), nth, once, clean); ++nth)
                ++runs;
    std::printf("A host that %s, with %d refusals\n", GetParam().Name, runs);
    EXPECT_GT(runs, 100);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Failures, testing::ValuesIn(Scenarios));

} // namespace
