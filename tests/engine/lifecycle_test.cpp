#include "tests/engine/rig.h"

#include "engine/module.h"
#include "engine/time_base.h"

#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

class Life : public EngineTest {
protected:
    static bool Open() {
        std::uint8_t open = 0;
        ZorMIDIStatus(&open, nullptr);
        return open != 0;
    }
    static bool Timed() {
        std::uint8_t timed = 0;
        ZorMIDIStatus(nullptr, &timed);
        return timed != 0;
    }
    static std::string Trace() { return FakeDrivers::TakeTrace(); }
};

// Every way in which the two rows can come up, be ready and open: what is called, in what order,
// what stays open and what is reported.
TEST_F(Life, OpensAllOrNothing) {
    struct Case {
        const char* name;
        bool up[2], ready[2], opens[2];
        bool result;
        const char* trace;
        int errorRow;
    };
    const Case cases[] = {
        {"all well", {1, 1}, {1, 1}, {1, 1}, true, "Open0 Open1", -1},
        {"no microphone", {1, 1}, {1, 0}, {1, 1}, true, "Open0", -1},
        {"row 0 not ready", {1, 1}, {0, 1}, {1, 1}, true, "Open1", -1},
        {"none ready", {1, 1}, {0, 0}, {1, 1}, true, "", -1},
        {"row 0 not up", {0, 1}, {1, 1}, {1, 1}, true, "Open1", -1},
        {"row 1 not up", {1, 0}, {1, 1}, {1, 0}, true, "Open0", -1},
        {"row 0 fails", {1, 1}, {1, 1}, {0, 1}, false, "Open0", 0},
        {"row 1 fails", {1, 1}, {1, 1}, {1, 0}, false, "Open0 Open1 Close0", 1},
        {"row 1 fails alone", {1, 1}, {0, 1}, {1, 0}, false, "Open1", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (int row = 0; row < 2; ++row) {
            drivers.Rows[row].InitResult = c.up[row] ? DriverSuccess : std::uint16_t{5};
            drivers.Rows[row].Ready = c.ready[row];
            drivers.Rows[row].Opens = c.opens[row];
        }
        MIDISysInit(1);
        Trace();
        EXPECT_EQ(ZorStartMIDI(1) != 0, c.result);
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_EQ(Open(), c.result);
        EXPECT_EQ(Timed(), c.result); // a failed start leaves the timer as it was
        std::uint16_t code = 99;
        EXPECT_EQ(ZorErrorMIDI(&code), c.errorRow);
        EXPECT_EQ(code, c.errorRow < 0 ? 99 : 1);
        EXPECT_EQ(ZorErrorMIDI(nullptr), -1);
        ZorStopMIDI();
        EXPECT_FALSE(Open());
    }
}

TEST_F(Life, ReportsTheLastRowThatDidNotComeUp) {
    struct Case {
        std::uint16_t codes[2];
        int result;
    };
    for (const Case& c : {Case{{3, 4}, 4}, Case{{3, 0xFFFF}, -1}, Case{{0xFFFF, 4}, -1},
                          Case{{0, 0}, 0}, Case{{7, 0x8000}, -32768}}) {
        MIDISysTerm();
        drivers.Rows[0].InitResult = c.codes[0];
        drivers.Rows[1].InitResult = c.codes[1];
        Trace();
        EXPECT_EQ(MIDISysInit(0), c.result);
        EXPECT_EQ(Trace(), "Init0 Init1");
    }
    drivers.Rows[0].InitResult = DriverSuccess;
    MIDISysInit(1);
    Trace();
    MIDIDrivers[1].Error = 1;
    EXPECT_EQ(ZorErrorMIDI(nullptr), -1); // what a row that is not up has to tell, nobody asks
    ZorSyncMIDI(2);                       // and it hears nothing
    MIDISysTerm();
    EXPECT_EQ(Trace(), "Sync0:2 Term0");
}

TEST_F(Life, ComesUpOnceAndAgainOnRequest) {
    ZorStartMIDI(1);
    const MIDIEvent event = Note(5000, 60);
    ZorXmit(1, &event);
    Trace();
    EXPECT_EQ(MIDISysInit(0), ZOR_ALREADY_INITIALISED);
    EXPECT_EQ(Trace(), "");
    EXPECT_EQ(CountOf(1), 1);
    EXPECT_TRUE(Timed());
    EXPECT_EQ(MIDISysInit(1), -1);
    EXPECT_EQ(Trace(), "Term0 Term1 Init0 Init1");
    std::uint16_t size, count;
    EXPECT_FALSE(ZorReportMQ(1, &size, &count));
    EXPECT_FALSE(Timed());
    EXPECT_TRUE(machine::PendingTimers().empty());
}

TEST_F(Life, EchoKeepsTheDriversOpen) {
    const MIDIEvent event = Note(5000, 60);
    ZorEchoMIDI(1, nullptr);
    EXPECT_EQ(Trace(), "Open0 Open1");
    ZorXmit(1, &event);
    const std::uint32_t origin = ReadTimeBase().TimeOrigin;
    machine::Advance(50);
    EXPECT_TRUE(ZorStartMIDI(0)); // the time stands, and stays as it was set
    EXPECT_EQ(ReadTimeBase().TimeOrigin, origin);
    ZorXmit(1, &event);
    Receive(0x90, 60, 1);
    ZorStartTimer();
    machine::Advance(50);
    EXPECT_TRUE(ZorStartMIDI(0)); // opens nothing, empties the queues, sets time to 0
    EXPECT_EQ(Trace(), "");
    EXPECT_EQ(CountOf(0) + CountOf(1), 0);
    EXPECT_EQ(ZorTimeMIDI(0), 0);
    ZorXmit(1, &event);
    ZorEchoMIDI(1, nullptr); // they are open: the queues stay
    EXPECT_EQ(CountOf(1), 1);
    EXPECT_TRUE(ZorStopMIDI());
    EXPECT_TRUE(Open());
    EXPECT_FALSE(Timed());
    EXPECT_TRUE(ZorRestoreMIDI());
    EXPECT_FALSE(Open());
    EXPECT_EQ(Trace(), "Close0 Close1");
    ZorEchoMIDI(0, nullptr);
    EXPECT_TRUE(ZorStartMIDI(0));
    ZorXmit(1, &event);
    EXPECT_TRUE(ZorStartMIDI(0)); // already open: not even the queues
    EXPECT_EQ(CountOf(1), 1);
    drivers.Rows[0].OnClose = [] { EXPECT_FALSE(Timed()); }; // no expiry meets a closing
    ZorStartTimer();
    ZorStopMIDI();
    drivers.Rows[0].OnClose = nullptr;
    EXPECT_TRUE(ZorStartMIDI(0));
    ZorEchoMIDI(0, nullptr); // closes what ZorStartMIDI opened
    EXPECT_FALSE(Open());
}

TEST_F(Life, RunsADialogWithTheDriverOutOfItsWay) {
    struct Case {
        const char* name;
        std::int16_t row;
        bool open, up;
        const char* trace;
    };
    const Case cases[] = {
        {"ports, closed", 0, false, true, "Config0"},
        {"ports, open", 0, true, true, "Close0 Config0 Open0"},
        {"microphone, closed", 1, false, true, "Open+1 Config1 Close1"},
        {"microphone, open", 1, true, true, "Close1 Open+1 Config1 Close1 Open1"},
        {"microphone, not up", 1, false, false, "Config1"},
        {"no such row", 2, true, true, ""},
        {"no such row either", -1, true, true, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        drivers.Rows[1].InitResult = c.up ? DriverSuccess : std::uint16_t{1};
        MIDISysInit(1);
        if (c.open) ZorStartMIDI(0);
        Trace();
        ZorConfigMIDIDriver(nullptr, c.row);
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_EQ(Open(), c.open);
        EXPECT_EQ(EnablePitchRec.load(), 0);
        ZorRestoreMIDI();
    }
}

// While a dialog is up the host's other calls come in through its message loop. The row belongs to
// the dialog until it ends; then the row is as the host last wanted it.
TEST_F(Life, IsStoppedAndStartedFromADialog) {
    static const auto start = [] { EXPECT_TRUE(ZorStartMIDI(0)); };
    struct Case {
        const char* name;
        std::int16_t row;
        bool open;
        std::function<void()> inside;
        const char* trace;
        bool openAfterwards;
    };
    const Case cases[] = {
        {"ports, stop", 0, true, ZorStopMIDI, "Close0 Config0 Close1", false},
        {"ports, restore", 0, true, ZorRestoreMIDI, "Close0 Config0 Close1", false},
        {"ports, echo off", 0, true, [] { ZorEchoMIDI(0, nullptr); }, "Close0 Config0 Close1",
         false},
        {"ports, start", 0, false, start, "Config0 Open1 Open0", true},
        {"ports, stop and start", 0, true, [] { ZorStopMIDI(), start(); },
         "Close0 Config0 Close1 Open1 Open0", true},
        {"ports, start and stop", 0, false, [] { start(), ZorStopMIDI(); }, "Config0 Open1 Close1",
         false},
        {"ports, term", 0, true, [] { ZorStopMIDI(), MIDISysTerm(); },
         "Close0 Config0 Close1 Term0 Term1", false},
        {"ports, the same dialog", 0, true, [] { ZorConfigMIDIDriver(nullptr, 0); },
         "Close0 Config0 Open0", true},
        {"microphone, stop", 1, true, ZorStopMIDI, "Close1 Open+1 Config1 Close0 Close1", false},
        {"microphone, start", 1, false, start, "Open+1 Config1 Open0 Close1 Open1", true},
        {"microphone, the other dialog", 1, true, [] { ZorConfigMIDIDriver(nullptr, 0); },
         "Close1 Open+1 Config1 Close0 Config0 Open0 Close1 Open1", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MIDISysInit(0);
        if (c.open) ZorStartMIDI(0);
        Trace();
        drivers.Rows[c.row].OnConfig = c.inside;
        ZorConfigMIDIDriver(nullptr, c.row);
        drivers.Rows[c.row].OnConfig = nullptr;
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_EQ(Open(), c.openAfterwards);
        ZorRestoreMIDI();
        EXPECT_EQ(Trace(), c.openAfterwards ? "Close0 Close1" : "");
    }
}

// The same from the message boxes of a row that is being opened or closed.
TEST_F(Life, IsStoppedAndStartedFromABox) {
    static const auto refused = [] { EXPECT_FALSE(ZorStartMIDI(0)); };
    struct Case {
        const char* name;
        std::function<void()> fromOpening, fromClosing; // of row 1
        const char* trace;
        bool opens;
    };
    const Case cases[] = {
        {"nothing", nullptr, nullptr, "Open0 Open1 Close0 Close1", true},
        {"stop", ZorStopMIDI, nullptr, "Open0 Open1 Close0 Close1", false},
        {"start", refused, nullptr, "Open0 Open1 Close0 Close1", true},
        {"stop and start", [] { ZorStopMIDI(), refused(); }, nullptr, "Open0 Open1 Close0 Close1",
         false},
        {"closing, stop", nullptr, ZorStopMIDI, "Open0 Open1 Close0 Close1", true},
        {"closing, start", nullptr, refused, "Open0 Open1 Close0 Close1", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        drivers.Rows[1].OnOpen = c.fromOpening;
        drivers.Rows[1].OnClose = c.fromClosing;
        EXPECT_EQ(ZorStartMIDI(0) != 0, c.opens);
        EXPECT_EQ(Open(), c.opens);
        ZorRestoreMIDI();
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_FALSE(Open());
    }
    // After a dialog the row is opened again, and from the box of that the host stops.
    drivers.Rows[1] = {};
    ZorStartMIDI(0);
    Trace();
    drivers.Rows[0].OnOpen = ZorStopMIDI;
    ZorConfigMIDIDriver(nullptr, 0);
    EXPECT_EQ(Trace(), "Close0 Config0 Open0 Close1 Close0");
}

TEST_F(Life, HandsErrorsOutRowByRow) {
    drivers.Rows[0].Sends = drivers.Rows[1].Sends = false;
    ZorStartMIDI(0);
    const MIDIEvent event = Note(0, 60);
    EXPECT_FALSE(ZorXmit(ZOR_IMMEDIATE, &event)); // row 1 gets it though row 0 refused
    EXPECT_EQ(ZorErrorMIDI(nullptr), 0);
    std::uint16_t code = 0;
    EXPECT_EQ(ZorErrorMIDI(&code), 1);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(ZorErrorMIDI(&code), -1);
    drivers.Rows[0].Sends = drivers.Rows[1].Sends = true;
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &event));
}

TEST_F(Life, IsHarmlessWhileDown) {
    MIDISysTerm();
    Trace();
    MIDIEvent event = Note(0, 60);
    std::uint16_t word = 7;
    EXPECT_FALSE(ZorAllocMIDI(1, 8));
    EXPECT_FALSE(ZorXmit(1, &event));
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &event));
    EXPECT_FALSE(ZorRcv(&event, 0));
    EXPECT_FALSE(ZorStartMIDI(1));
    EXPECT_FALSE(ZorStartTimer());
    ZorEchoMIDI(1, nullptr);
    ZorConfigMIDIDriver(nullptr, 5);
    ZorKillMIDI();
    ZorMIDIPlay();
    MMETimerCallBack(0, 0, 0, 0, 0);
    MmeMidiInCallBack(nullptr, MIM_DATA, 0, 0x403C90, 0);
    Receive(0x90, 60, 64);
    ZorSetMIDITimer(99);
    EXPECT_EQ(ZorTimeMIDI(0), 0);
    EXPECT_EQ(ZorEtimeMIDI(1, &word), 0);
    EXPECT_TRUE(ZorXmitEmpty(1));
    EXPECT_FALSE(Open());
    EXPECT_EQ(Trace(), "");
    EXPECT_TRUE(FakeDrivers::TakeSent().empty());
    EXPECT_TRUE(machine::PendingTimers().empty());
    ZorEchoMIDI(0, nullptr);
    EXPECT_EQ(MIDISysInit(0), -1);
    EXPECT_TRUE(ZorStartMIDI(0));
}

TEST_F(Life, NamesItself) {
    char text[31];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(ZorMIDIDriverVersion(nullptr), 0x04030401u);
    EXPECT_EQ(ZorMIDIDriverVersion(text), 0x04030401u);
    EXPECT_STREQ(text, "Vantry MIDI driver");
    EXPECT_EQ(text[30], 'x');
    ZorMIDIStatus(nullptr, nullptr);
    EXPECT_TRUE(ZorSetupMIDI(12345));
}

// The wished period comes from the file beside the library, the period in force also from what the
// system offers.
TEST_F(Life, ChoosesTheTimerPeriod) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::absolute("ini");
    fs::create_directories(folder);
    machine::SetModulePath((folder / "library.so").string());
    struct Case {
        const char* wished;
        unsigned least, most, period;
    };
    const Case cases[] = {
        {nullptr, 1, 1000, 4}, {"4", 10, 1000, 10}, {"2000", 1, 1000, 1000},      {"0", 1, 1000, 1},
        {"-3", 1, 1000, 1},    {"7", 1, 1000, 7},   {"99999", 1, 1000000, 65535},
    };
    for (const Case& c : cases) {
        const fs::path ini = folder / "ZORMIDI.INI";
        fs::remove(ini);
        if (c.wished) std::ofstream(ini) << "[ZORMIDI]\nMMESpeed=" << c.wished << "\n";
        MIDISysInit(1);
        EXPECT_EQ(IniPath, ini.string());
        machine::SetTimerCaps(c.least, c.most);
        ASSERT_TRUE(ZorStartTimer());
        EXPECT_EQ(machine::OpenTimerPeriods(), std::vector<unsigned>{c.period});
        EXPECT_EQ(machine::PendingTimers().at(0), timeGetTime() + c.period);
        ZorStopMIDI();
    }
    machine::SetModulePath("");
}

TEST_F(Life, TimerThatTheSystemRefuses) {
    for (const machine::Call call :
         {machine::Call::timeGetDevCaps, machine::Call::timeBeginPeriod}) {
        machine::FailCall(call, 1, TIMERR_NOCANDO);
        EXPECT_FALSE(ZorStartTimer());
        EXPECT_FALSE(Timed());
        machine::FailCall(call, 1, TIMERR_NOCANDO);
        EXPECT_TRUE(ZorStartMIDI(1)); // the drivers are open all the same
        EXPECT_FALSE(Timed());
        ZorStopMIDI();
    }
    EXPECT_TRUE(machine::OpenTimerPeriods().empty());
    // Without an expiry the timer still counts as running, and time runs.
    machine::FailCall(machine::Call::timeSetEvent, 1, 0);
    EXPECT_TRUE(ZorStartTimer());
    EXPECT_TRUE(Timed());
    EXPECT_TRUE(machine::PendingTimers().empty());
    machine::Advance(10);
    EXPECT_EQ(ZorTimeMIDI(0), 10);
    EXPECT_TRUE(ZorStartTimer()); // changes nothing
    EXPECT_EQ(ZorTimeMIDI(0), 10);
    ZorMIDIPlay();
    EXPECT_EQ(machine::PendingTimers().size(), 1u);
}

} // namespace
