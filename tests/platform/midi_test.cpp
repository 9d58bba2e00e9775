#include "tests/platform/machine_test.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Received {
    UINT Message;
    DWORD_PTR First, Second;
    bool operator==(const Received&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Received& r) {
    return out << r.Message << " " << std::hex << r.First << std::dec << " @" << r.Second;
}

// What an input called back, and what it was asked to do then.
struct Port {
    HMIDIIN Handle = nullptr;
    std::vector<Received> Got;
    std::function<void()> Then;

    static void CALLBACK CallBack(void* handle, UINT message, DWORD_PTR instance, DWORD_PTR first,
                                  DWORD_PTR second) {
        auto& port = *reinterpret_cast<Port*>(instance);
        EXPECT_TRUE(message == MIM_OPEN || handle == port.Handle);
        port.Got.push_back({message, first, second});
        if (port.Then) port.Then();
    }
    MMRESULT Open(UINT device) {
        return midiInOpen(&Handle, device, reinterpret_cast<DWORD_PTR>(CallBack),
                          reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION | MIDI_IO_STATUS);
    }
    void Start(UINT device) {
        ASSERT_EQ(Open(device), MMSYSERR_NOERROR);
        ASSERT_EQ(midiInStart(Handle), MMSYSERR_NOERROR);
        Got.clear();
    }
};

HMIDIOUT OpenOut(UINT device) {
    HMIDIOUT handle = nullptr;
    EXPECT_EQ(midiOutOpen(&handle, device, 0, 0, 0), MMSYSERR_NOERROR);
    return handle;
}

using All = std::vector<Received>;

using Midi = SteppedTest;

TEST_F(Midi, DevicesAreListedByNameAndNumber) {
    EXPECT_EQ(midiInGetNumDevs(), 0u);
    EXPECT_EQ(machine::AddMidiInput("Keys"), 0);
    EXPECT_EQ(machine::AddMidiInput("A name of more than thirty-one characters"), 1);
    EXPECT_EQ(machine::AddMidiOutput("Synth", MIDICAPS_CACHE), 0);
    MIDIINCAPSA in;
    EXPECT_EQ(midiInGetDevCapsA(1, &in, sizeof in), MMSYSERR_NOERROR);
    EXPECT_STREQ(in.szPname, "A name of more than thirty-one ");
    MIDIOUTCAPSA out;
    EXPECT_EQ(midiOutGetDevCapsA(0, &out, sizeof out), MMSYSERR_NOERROR);
    EXPECT_STREQ(out.szPname, "Synth");
    EXPECT_EQ(out.dwSupport, MIDICAPS_CACHE);
    EXPECT_EQ(midiOutGetDevCapsA(MIDI_MAPPER, &out, sizeof out), MMSYSERR_NOERROR);
    EXPECT_EQ(midiInGetDevCapsA(2, &in, sizeof in), MMSYSERR_BADDEVICEID);
}

TEST_F(Midi, ADeviceOpensOnceAndAHandleThatIsHandedBackIsDead) {
    machine::AddMidiInput("In");
    machine::AddMidiOutput("Out");
    Port port, other;
    ASSERT_EQ(port.Open(0), MMSYSERR_NOERROR);
    const HMIDIOUT out = OpenOut(MIDI_MAPPER);
    HMIDIOUT second = nullptr;
    EXPECT_EQ(other.Open(0), MMSYSERR_ALLOCATED);
    EXPECT_EQ(midiOutOpen(&second, 0, 0, 0, 0), MMSYSERR_ALLOCATED);
    // A handle of the other direction.
    EXPECT_EQ(midiInStart(reinterpret_cast<HMIDIIN>(out)), MMSYSERR_INVALHANDLE);
    EXPECT_EQ(midiOutShortMsg(reinterpret_cast<HMIDIOUT>(port.Handle), 0x90), MMSYSERR_INVALHANDLE);
    const HMIDIIN old = port.Handle;
    EXPECT_EQ(midiInClose(old), MMSYSERR_NOERROR);
    ASSERT_EQ(port.Open(0), MMSYSERR_NOERROR);
    EXPECT_EQ(midiInReset(old), MMSYSERR_INVALHANDLE);
    EXPECT_EQ(midiInClose(old), MMSYSERR_INVALHANDLE);
    EXPECT_EQ(midiOutClose(out), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutReset(out), MMSYSERR_INVALHANDLE);
    EXPECT_EQ(midiInClose(port.Handle), MMSYSERR_NOERROR);
}

TEST_F(Midi, AMessageArrivesWhileTheInputIsStarted) {
    machine::AddMidiInput("In");
    Port port;
    machine::ReceiveMidi(0, 0x403C90); // to a closed device
    ASSERT_EQ(port.Open(0), MMSYSERR_NOERROR);
    machine::ReceiveMidi(0, 0x413C90); // to an open one that is not started
    machine::Advance(5);
    EXPECT_EQ(port.Got, (All{{MIM_OPEN, 0, 0}}));
    midiInStart(port.Handle);
    machine::ReceiveMidi(0, 0x423C90);
    EXPECT_EQ(port.Got.size(), 1u); // not before the callback thread gets to it
    machine::Advance(250);
    machine::ReceiveMidi(0, 0x433C90);
    machine::Advance(0);
    midiInStop(port.Handle);
    machine::ReceiveMidi(0, 0x443C90);
    machine::Advance(10);
    midiInStart(port.Handle); // stamps begin again
    machine::Advance(7);
    machine::ReceiveMidi(0, 0x453C90);
    machine::Advance(1);
    midiInClose(port.Handle);
    EXPECT_EQ(port.Got, (All{{MIM_OPEN, 0, 0},
                             {MIM_DATA, 0x423C90, 0},
                             {MIM_DATA, 0x433C90, 250},
                             {MIM_DATA, 0x453C90, 7},
                             {MIM_CLOSE, 0, 0}}));
}

TEST_F(Midi, CablesCarryWithTheirOwnDelayAndInOrder) {
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("Near");
    machine::AddMidiInput("Far");
    machine::Connect(0, 0);
    machine::Connect(0, 1, 20);
    machine::Connect(0, 7); // nothing is there
    Port near, far;
    near.Start(0);
    far.Start(1);
    const HMIDIOUT out = OpenOut(MIDI_MAPPER);
    for (DWORD note = 60; note < 64; ++note)
        EXPECT_EQ(midiOutShortMsg(out, 0x400090 | note << 8), MMSYSERR_NOERROR);
    machine::Advance(10);
    EXPECT_EQ(near.Got, (All{{MIM_DATA, 0x403C90, 0},
                             {MIM_DATA, 0x403D90, 0},
                             {MIM_DATA, 0x403E90, 0},
                             {MIM_DATA, 0x403F90, 0}}));
    EXPECT_TRUE(far.Got.empty());
    machine::Advance(10);
    EXPECT_EQ(far.Got, (All{{MIM_DATA, 0x403C90, 20},
                            {MIM_DATA, 0x403D90, 20},
                            {MIM_DATA, 0x403E90, 20},
                            {MIM_DATA, 0x403F90, 20}}));
}

TEST_F(Midi, TheWireTakesWhatTheStatusCallsFor) {
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("In");
    machine::Connect(0, 0);
    Port port;
    port.Start(0);
    const HMIDIOUT out = OpenOut(0);
    struct Case {
        DWORD Sent, Recorded, Arrived; // Arrived 0: nothing
    };
    const Case cases[] = {{0x00FFC890, 0x7F7F90, 0x7F7F90}, {0x12403C9F, 0x403C9F, 0x403C9F},
                          {0x554433C2, 0x4433C2, 0x33C2},   {0x004433D0, 0x4433D0, 0x33D0},
                          {0x004400E0, 0x4400E0, 0x4400E0}, {0x001122F2, 0x1122F2, 0x1122F2},
                          {0x001122F3, 0x1122F3, 0x22F3},   {0x001122F6, 0x1122F6, 0xF6},
                          {0x001122F8, 0x1122F8, 0xF8},     {0x001122F0, 0x1122F0, 0},
                          {0x001122F7, 0x1122F7, 0},        {0x00403C05, 0x403C05, 0}};
    for (const Case& c : cases) {
        port.Got.clear();
        EXPECT_EQ(midiOutShortMsg(out, c.Sent), MMSYSERR_NOERROR);
        machine::Advance(1);
        const auto sent = machine::TakeSentMidi();
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent[0].Message, c.Recorded);
        EXPECT_FALSE(sent[0].Reset);
        EXPECT_EQ(port.Got.empty() ? 0 : port.Got[0].First, c.Arrived) << std::hex << c.Sent;
    }
}

TEST_F(Midi, AResetReleasesWhatSoundsAtTheOtherEnd) {
    machine::AddMidiOutput("Other");
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("In");
    machine::Connect(1, 0);
    Port port;
    port.Start(0);
    const HMIDIOUT out = OpenOut(1);
    for (const DWORD message : {0x403C90u, 0x403D91u, 0x403E90u, 0x003E90u, 0x403F90u, 0x403F80u})
        midiOutShortMsg(out, message);
    machine::Advance(3);
    machine::TakeSentMidi();
    port.Got.clear();
    EXPECT_EQ(midiOutReset(out), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutReset(out), MMSYSERR_NOERROR);
    machine::Advance(1);
    EXPECT_EQ(port.Got, (All{{MIM_DATA, 0x3C80, 3}, {MIM_DATA, 0x3D81, 3}}));
    const auto sent = machine::TakeSentMidi();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_TRUE(sent[0].Reset && sent[1].Reset);
    EXPECT_EQ(sent[0].Device, 1);
    EXPECT_EQ(sent[0].Microseconds, 1003000u);
}

TEST_F(Midi, ACallbackMaySendAndMayCloseItsOwnDevice) {
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("In");
    machine::Connect(0, 0);
    Port port;
    port.Start(0);
    const HMIDIOUT out = OpenOut(0);
    port.Then = [&] { // an echo that feeds itself, and then an end to it
        if (port.Got.size() < 5)
            midiOutShortMsg(out, 0xF8);
        else if (port.Got.size() == 5) {
            midiInReset(port.Handle);
            midiInClose(port.Handle);
        }
    };
    midiOutShortMsg(out, 0xF8);
    midiOutShortMsg(out, 0xFE);
    machine::Advance(10);
    EXPECT_EQ(port.Got.size(), 6u);
    EXPECT_EQ(port.Got.back().Message, MIM_CLOSE);
    EXPECT_EQ(machine::OpenMidiInputs(), 0);
}

TEST_F(Midi, UnpluggedDevicesLeaveTheListAndTheirHandlesCanBeClosed) {
    for (const char* name : {"A", "B", "C"}) {
        machine::AddMidiInput(name);
        machine::AddMidiOutput(name);
    }
    machine::Connect(1, 1);
    machine::Connect(2, 1);
    Port port;
    port.Start(1);
    const HMIDIOUT out = OpenOut(1), other = OpenOut(2);
    midiOutShortMsg(out, 0xF8); // still in the cable
    machine::UnplugMidiInput("B");
    machine::UnplugMidiOutput("B");
    machine::Advance(5);
    EXPECT_TRUE(port.Got.empty());
    EXPECT_EQ(midiInGetNumDevs(), 2u);
    MIDIINCAPSA caps;
    midiInGetDevCapsA(1, &caps, sizeof caps);
    EXPECT_STREQ(caps.szPname, "C");
    EXPECT_EQ(midiOutShortMsg(out, 0xF8), MMSYSERR_NODRIVER);
    EXPECT_EQ(midiInStart(port.Handle), MMSYSERR_NODRIVER);
    // What leads to the end of the handle succeeds.
    EXPECT_EQ(midiOutReset(out), MMSYSERR_NOERROR);
    EXPECT_EQ(midiInStop(port.Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiInReset(port.Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutShortMsg(other, 0xF8), MMSYSERR_NOERROR); // into a cable that hangs loose
    machine::TakeSentMidi();
    midiOutShortMsg(other, 0xF8);
    EXPECT_EQ(machine::TakeSentMidi()[0].Device, 1); // C has moved down
    EXPECT_EQ(midiInClose(port.Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutClose(out), MMSYSERR_NOERROR);
    EXPECT_EQ(machine::OpenMidiInputs() + machine::OpenMidiOutputs(), 1);
    // Plugged in again it is a new device behind the others.
    EXPECT_EQ(machine::AddMidiInput("B"), 2);
}

// With the real clock: one callback thread keeps the order, and a stop leaves no callback behind.
TEST_F(MachineTest, OneThreadCallsBackInOrderUntilStopped) {
    machine::AddMidiOutput("Out");
    machine::AddMidiInput("In");
    machine::Connect(0, 0);
    machine::RecordSentMidi(false);
    Port port;
    port.Start(0);
    const HMIDIOUT out = OpenOut(0);
    std::atomic<int> got{0};
    port.Then = [&] { ++got; };
    for (DWORD i = 0; i < 5000; ++i)
        EXPECT_EQ(midiOutShortMsg(out, 0xF2 | (i & 0x7F) << 8 | (i >> 7) << 16), MMSYSERR_NOERROR);
    while (got < 4000) std::this_thread::yield();
    midiInStop(port.Handle);
    const int stopped = got;
    const std::size_t kept = port.Got.size(); // no thread writes there any more
    for (std::size_t i = 0; i < kept; ++i)
        ASSERT_EQ(port.Got[i].First, 0xF2 | (i & 0x7F) << 8 | (i >> 7) << 16);
    EXPECT_EQ(got, stopped);
    port.Then = nullptr;
    EXPECT_EQ(midiInClose(port.Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(midiOutClose(out), MMSYSERR_NOERROR);
}

// A host opens and closes an input while messages come from two threads and a third calls back by
// itself: once a close has returned, nothing comes any more.
TEST_F(MachineTest, AClosedInputStaysSilentUnderTraffic) {
    machine::AddMidiOutput("One");
    machine::AddMidiOutput("Two");
    machine::AddMidiInput("In");
    machine::Connect(0, 0);
    machine::Connect(1, 0);
    machine::RecordSentMidi(false);
    struct {
        std::atomic<bool> Open{false}, Done{false};
        std::atomic<int> Strays{0}, Came{0};
    } state;
    const auto note = [](void*, UINT, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
        auto& s = *reinterpret_cast<decltype(state)*>(instance);
        ++(s.Open ? s.Came : s.Strays);
    };
    void(CALLBACK * callback)(void*, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) = note;
    const auto send = [&](UINT device) {
        const HMIDIOUT out = OpenOut(device);
        while (!state.Done) {
            midiOutShortMsg(out, 0xF8);
            std::this_thread::yield();
        }
        midiOutClose(out);
    };
    std::thread first(send, 0), second(send, 1), third([&] {
        while (!state.Done) {
            machine::CallBackMidi(0, MIM_MOREDATA, 0xF8, 0);
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 300 || state.Came < 1000; ++i) {
        HMIDIIN in = nullptr;
        state.Open = true;
        ASSERT_EQ(midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(callback),
                             reinterpret_cast<DWORD_PTR>(&state), CALLBACK_FUNCTION),
                  MMSYSERR_NOERROR);
        midiInStart(in);
        std::this_thread::yield();
        ASSERT_EQ(midiInClose(in), MMSYSERR_NOERROR);
        state.Open = false;
        std::this_thread::yield();
    }
    state.Done = true;
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(state.Strays, 0);
}

} // namespace
