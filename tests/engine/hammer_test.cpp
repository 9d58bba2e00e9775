// The real drivers on virtual devices in real time, used from every side at once. Run under the
// thread sanitizer this finds races; everywhere it finds torn records and threads that hang.
#include "engine/sections.h"
#include "engine/time_base.h"
#include "tests/support/machine_test.h"

#include <atomic>
#include <thread>

namespace {

constexpr int Ports = 2;
constexpr int Rounds = 300;

// Data 2 follows from data 1 and channel, so that a record made of two others shows.
std::uint8_t Check(int data1, int channel) {
    return static_cast<std::uint8_t>((data1 * 5 + channel * 11) & 0x7F);
}

class Hammer : public MachineTest {
protected:
    Hammer() {
        machine::UseRealClock();
        machine::RecordSentMidi(false);
        std::string ini = "[ZORMIDI]\nMMESpeed=1\n[MMEDRVR]\n";
        for (int port = 0; port < Ports; ++port) {
            const std::string name = "Cable " + std::to_string(port);
            machine::Connect(machine::AddMidiOutput(name), machine::AddMidiInput(name));
            const std::string row = std::to_string(port + 1);
            const std::string base = std::to_string(port * 16 + 1);
            for (const std::string side : {"Out", "In"})
                ini += side + "Name" + row + "=" + name + "\n" + side + "Base" + row + "=" + base +
                       "\n";
        }
        WriteIni(ini);
        EXPECT_EQ(MIDISysInit(0), -1);
        for (std::int16_t queue = 0; queue < 3; ++queue) EXPECT_TRUE(ZorAllocMIDI(queue, 64));
    }

    // Runs the action over and over on a thread of its own, as long as the host is at work.
    void Beside(std::function<void(int)> action) {
        threads.emplace_back([this, action] {
            for (int i = 0; !done; ++i) {
                action(i);
                std::this_thread::yield();
            }
        });
    }
    void Join() {
        done = true;
        for (std::thread& thread : threads) thread.join();
        threads.clear();
        done = false;
    }
    static void Play(int i, std::uint16_t queue) {
        const std::int16_t channel = static_cast<std::int16_t>(i % (16 * Ports));
        const std::uint8_t key = static_cast<std::uint8_t>(i & 127);
        const MIDIEvent event = {ZorTimeMIDI(0) + i % 3,  i, channel, 2, 0xB0, key,
                                 Check(key, channel & 15)};
        ZorXmit(queue, &event);
    }
    // Counts what came in whole, and fails on what did not.
    void TakeAll() {
        MIDIEvent event;
        while (ZorRcv(&event, 0)) {
            if (event.Status != 0xB0) continue; // the kill's own messages and the clock
            if (event.Data1 == 64 || event.Data1 == 123) continue;
            ASSERT_EQ(event.Data2, Check(event.Data1, event.Channel & 15));
            ASSERT_LT(event.Channel, 16 * Ports);
            ++received;
        }
    }

    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    int received = 0;
};

// Players, receivers, a device with a clock, a host's own timer, and the host starting, stopping,
// killing, filtering and emptying, all at once; half of the rounds with echo.
TEST_F(Hammer, EverythingAtOnce) {
    EXPECT_TRUE(ZorStartMIDI(1));
    Beside([](int i) { Play(i, 1); });
    Beside([](int i) { Play(i, 2); });
    // Both inputs call back by themselves as well, together.
    for (int input = 0; input < Ports; ++input)
        Beside([input](int i) {
            const int key = i & 127;
            const auto control = static_cast<std::uint32_t>(0xB0 | key << 8 | Check(key, 0) << 16);
            machine::ReceiveMidi(input, control);
            machine::ReceiveMidi(input, i % 50 == 0 ? 0xFA : 0xF8);
            machine::CallBackMidi(input, MIM_DATA, control, 1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        });
    Beside([](int) {
        MMETimerCallBack(0, 0, 0, 0, 0);
        ZorMIDIPlay();
        ZorTimeMIDI(0);
        ZorEtimeMIDI(1, nullptr);
        ZorErrorMIDI(nullptr);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    });
    std::uint8_t map[64];
    for (int i = 0; i < 64; ++i) map[i] = static_cast<std::uint8_t>(i % (16 * Ports));
    for (int round = 0; round < Rounds; ++round) {
        TakeAll();
        if (HasFatalFailure()) break;
        switch (round % 8) {
        case 0:
            ZorEchoMIDI(1, map);
            break;
        case 1:
            ZorKillMIDI(), ZorMIDIPlay();
            break;
        case 2:
            ZorFilterMIDI(0x80, 0xFFFF);
            break;
        case 3:
            ZorSyncMIDI(static_cast<std::int16_t>(round % 16 == 3 ? 2 : 0)), ZorTimeMIDI(1);
            break;
        case 4:
            ZorZeroQueue(static_cast<std::int16_t>(round % 3)), ZorFilterMIDI(0, 0);
            break;
        case 5:
            ZorEchoMIDI(0, nullptr), ZorStartMIDI(1);
            break;
        case 6:
            ZorStopMIDI(), ZorStartMIDI(1);
            break;
        default:
            ZorAllocMIDI(static_cast<std::int16_t>(round % 3), 64), ZorSetMIDITimer(round);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Join();
    EXPECT_GT(received, 0);
    // Afterwards the library works as if nothing had been.
    ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    ZorSyncMIDI(0);
    ZorFilterMIDI(0, 0);
    ASSERT_TRUE(ZorStartMIDI(1));
    for (int i = 0; i < 20; ++i) Play(i, 1);
    EXPECT_TRUE(ZorXmitEmpty(1));
    received = 0;
    for (int wait = 0; wait < 5000 && received < 20; ++wait) {
        TakeAll();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_GT(received, 0); // a record that meets a transmission is lost, so not always all
    EXPECT_TRUE(machine::TakeBoxes().empty());
}

// Who reads the time base while it changes sees all of one moment: here every part follows from one
// number.
TEST_F(Hammer, TheTimeBaseIsReadWhole) {
    const auto pictureOf = [](std::uint32_t number) {
        const auto count = static_cast<std::int32_t>(number);
        return TimeBase{number, count, number, count, number % 2 == 0, number % 2 == 0};
    };
    const TimeBase old = ReadTimeBase();
    {
        QueueSection section;
        WriteTimeBase(pictureOf(0));
    }
    std::atomic<int> reads{0};
    Beside([&](int) {
        for (int i = 0; i < 1000; ++i) {
            const TimeBase seen = ReadTimeBase();
            const TimeBase whole = pictureOf(seen.TimeOrigin);
            ASSERT_EQ(seen.ClockCount, whole.ClockCount);
            ASSERT_EQ(seen.LastClockTime, whole.LastClockTime);
            ASSERT_EQ(seen.LastClockGap, whole.LastClockGap);
            ASSERT_EQ(seen.ClockRunning, whole.ClockRunning);
            ASSERT_EQ(seen.ClockPending, whole.ClockPending);
        }
        reads += 1000;
    });
    for (std::uint32_t number = 1; reads < 300000 && !HasFatalFailure(); ++number) {
        QueueSection section;
        WriteTimeBase(pictureOf(number));
    }
    Join();
    QueueSection section;
    WriteTimeBase(old);
}

// Taking the library down and up while devices and timers call in: late callbacks are harmless.
TEST_F(Hammer, DownAndUpAmongLateCallbacks) {
    Beside([](int i) { machine::ReceiveMidi(i % Ports, 0x403CB0); });
    Beside([](int) { MMETimerCallBack(0, 0, 0, 0, 0); });
    Beside([](int i) { Play(i, 1); });
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(MIDISysInit(1), -1);
        for (std::int16_t queue = 0; queue < 3; ++queue) ZorAllocMIDI(queue, 16);
        EXPECT_TRUE(ZorStartMIDI(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ZorStopMIDI();
        MIDISysTerm();
    }
    Join();
}

} // namespace
