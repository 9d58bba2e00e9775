// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/engine/engine_fixture.h"

#include "engine/library_instance.h"

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
    static std::string Trace() { return FakeDrivers::DrainTrace(); }
};

// Combinations of Init, Ready and Open of both rows: the calls in order, the open rows and the
// errors.
TEST_F(Life, OpensAllOrNothing) {
    struct Case {
        const char* name;
        bool up[2], ready[2], opens[2];
        const char* trace;
        int errorRow; // -1: both open
    };
    const Case cases[] = {
        {"all well", {1, 1}, {1, 1}, {1, 1}, "Open0 Open1", -1},
        {"no microphone", {1, 1}, {1, 0}, {1, 1}, "Open0", -1},
        {"none ready", {1, 1}, {0, 0}, {1, 1}, "", -1},
        {"row 0 not up", {0, 1}, {1, 1}, {1, 1}, "Open1", -1},
        {"row 0 fails", {1, 1}, {1, 1}, {0, 1}, "Open0", 0},
        {"row 1 fails", {1, 1}, {1, 1}, {1, 0}, "Open0 Open1 Close0", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (int row = 0; row < 2; ++row) {
            drivers.Rows[row].InitResult = c.up[row] ? DriverSuccess : std::uint16_t{5};
            drivers.Rows[row].Ready = c.ready[row];
            drivers.Rows[row].Opens = c.opens[row];
            drivers.Rows[row].OnClose = [] {
                EXPECT_FALSE(Timed());
            }; // the timer stops before the rows close
        }
        MIDISysInit(1);
        Trace();
        const bool opens = c.errorRow < 0;
        EXPECT_EQ(ZorStartMIDI(1) != 0, opens);
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_EQ(Open(), opens);
        EXPECT_EQ(Timed(), opens);
        std::uint16_t code = 99;
        EXPECT_EQ(ZorErrorMIDI(&code), c.errorRow);
        EXPECT_EQ(code, opens ? 99 : 1);
        EXPECT_EQ(ZorErrorMIDI(nullptr), -1);
        ZorStopMIDI();
        EXPECT_FALSE(Open());
    }
}

TEST_F(Life, ReportsTheLastRowWhoseInitFailed) {
    struct Case {
        std::uint16_t codes[2];
        int result;
    };
    for (const Case& c : {Case{{3, 4}, 4}, Case{{3, 0xFFFF}, -1}, Case{{7, 0x8000}, -32768}}) {
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
    EXPECT_EQ(ZorErrorMIDI(nullptr), -1); // errors of a row whose Init failed are not reported
    ZorSyncMIDI(2);                       // and its Sync is not called
    drivers.Rows[1].InitResult = DriverSuccess;
    MIDISysInit(1);
    ZorSyncMIDI(-1);
    EXPECT_EQ(Trace(), "Sync0:2 Term0 Init0 Init1 Sync0:-1 Sync1:0");
}

// During a dialog the host's calls only mark its row as opened or closed; afterwards the driver
// follows the mark.
TEST_F(Life, RunsADialogWithItsDriverClosed) {
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
        {"no such row", 2, true, nullptr, "", true},
        {"row below 0", -1, true, nullptr, "", true},
        {"ports, closed", 0, false, nullptr, "Config0", false},
        {"ports, open", 0, true, nullptr, "Close0 Config0 Open0", true},
        {"ports, stop", 0, true, ZorStopMIDI, "Close0 Config0 Close1", false},
        {"ports, stop and start", 0, true, [] { ZorStopMIDI(), start(); },
         "Close0 Config0 Close1 Open1 Open0", true},
        {"ports, start and stop", 0, false, [] { start(), ZorStopMIDI(); }, "Config0 Open1 Close1",
         false},
        {"ports, term", 0, true, [] { ZorStopMIDI(), MIDISysTerm(); },
         "Close0 Config0 Close1 Term0 Term1", false},
        {"ports, the same dialog", 0, true, [] { ZorConfigMIDIDriver(nullptr, 0); },
         "Close0 Config0 Open0", true},
        {"microphone, closed", 1, false, nullptr, "Open+1 Config+1 Close+1", false},
        {"microphone, open", 1, true, nullptr, "Close+1 Open+1 Config+1 Close+1 Open1", true},
        {"microphone, stop", 1, true, ZorStopMIDI, "Close+1 Open+1 Config+1 Close0 Close+1", false},
        {"microphone, start", 1, false, start, "Open+1 Config+1 Open0 Close+1 Open1", true},
        {"microphone, the other dialog", 1, true, [] { ZorConfigMIDIDriver(nullptr, 0); },
         "Close+1 Open+1 Config+1 Close0 Config0 Open0 Close+1 Open1", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MIDISysInit(0);
        if (c.open) ZorStartMIDI(0);
        Trace();
        drivers.Rows[c.row == 1].OnConfig = c.inside;
        ZorConfigMIDIDriver(nullptr, c.row);
        drivers.Rows[c.row == 1].OnConfig = nullptr;
        EXPECT_EQ(Trace(), c.trace);
        EXPECT_EQ(Open(), c.openAfterwards);
        EXPECT_FALSE(PRecInDialog);
        ZorRestoreMIDI();
        EXPECT_EQ(Trace(), c.openAfterwards ? "Close0 Close1" : "");
    }
}

// Calls from the message boxes of a row that is being opened or closed.
TEST_F(Life, StopsAndStartsFromAMessageBox) {
    static const auto refused = [] { EXPECT_FALSE(ZorStartMIDI(0)); };
    struct Case {
        const char* name;
        std::function<void()> fromOpening, fromClosing; // of row 1
        bool opens;
    };
    const Case cases[] = {
        {"start", refused, nullptr, true},
        {"stop and start", [] { ZorStopMIDI(), refused(); }, nullptr, false},
        {"closing, stop", nullptr, ZorStopMIDI, true},
        {"closing, start", nullptr, refused, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        drivers.Rows[1].OnOpen = c.fromOpening;
        drivers.Rows[1].OnClose = c.fromClosing;
        EXPECT_EQ(ZorStartMIDI(0) != 0, c.opens);
        EXPECT_EQ(Open(), c.opens);
        ZorRestoreMIDI();
        EXPECT_EQ(Trace(), "Open0 Open1 Close0 Close1");
        EXPECT_FALSE(Open());
    }
    // The host stops from a message box of the opening after a dialog.
    drivers.Rows[1] = {};
    ZorStartMIDI(0);
    Trace();
    drivers.Rows[0].OnOpen = ZorStopMIDI;
    ZorConfigMIDIDriver(nullptr, 0);
    EXPECT_EQ(Trace(), "Close0 Config0 Open0 Close1 Close0");
}

TEST_F(Life, ReturnsErrorsRowByRow) {
    drivers.Rows[0].Sends = drivers.Rows[1].Sends = false;
    ZorStartMIDI(0);
    const MIDIEvent event = Note(0, 60);
    EXPECT_FALSE(ZorXmit(ZOR_IMMEDIATE, &event)); // row 1 receives it although row 0 refused
    EXPECT_EQ(ZorErrorMIDI(nullptr), 0);
    std::uint16_t code = 0;
    EXPECT_EQ(ZorErrorMIDI(&code), 1);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(ZorErrorMIDI(&code), -1);
}

TEST_F(Life, ReturnsNameAndVersion) {
    char text[31];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(ZorMIDIDriverVersion(text), 0x04030401u);
    EXPECT_STREQ(text, "Vantry MIDI driver");
    EXPECT_EQ(text[30], 'x');
}

// The period is that of the ini file beside the library, limited to the range of the system's
// timer.
TEST_F(Life, ChoosesTheTimerPeriod) {
    namespace fs = std::filesystem;
    const fs::path ini = fs::absolute("ini/ZORMIDI.INI");
    fs::create_directories(ini.parent_path());
    machine::SetModulePath((ini.parent_path() / "library.so").string());
    MIDISysTerm();
    drivers.Rows[0].OnConfig = [&] { EXPECT_EQ(IniPath, ini.string()); };
    ZorConfigMIDIDriver(nullptr, 0); // before MIDISysInit too
    struct Case {
        const char* inFile;
        unsigned lowest, highest, period;
    };
    for (const Case& c :
         {Case{nullptr, 1, 1000, 4}, Case{"4", 10, 1000, 10}, Case{"2000", 1, 1000, 1000},
          Case{"-3", 0, 1000, 1}, Case{"99999", 1, 1000000, 65535}}) {
        fs::remove(ini);
        if (c.inFile) std::ofstream(ini) << "[ZORMIDI]\nMMESpeed=" << c.inFile << "\n";
        MIDISysInit(1);
        machine::SetTimerCaps(c.lowest, c.highest);
        ASSERT_TRUE(ZorStartTimer());
        EXPECT_EQ(machine::OpenTimerPeriods(), std::vector<unsigned>{c.period});
        EXPECT_EQ(machine::PendingTimers().at(0), timeGetTime() + c.period);
        ZorStopMIDI();
    }
    machine::SetModulePath("");
}

TEST_F(Life, SurvivesARefusedTimer) {
    for (const machine::Call call :
         {machine::Call::timeGetDevCaps, machine::Call::timeBeginPeriod}) {
        machine::FailCall(call, 1, TIMERR_NOCANDO);
        EXPECT_TRUE(ZorStartMIDI(1)); // the drivers are open
        EXPECT_FALSE(Timed());
        EXPECT_TRUE(machine::OpenTimerPeriods().empty());
    }
    // If no expiry can be programmed, the timer counts as running and time runs.
    machine::FailCall(machine::Call::timeSetEvent, 1, 0);
    EXPECT_TRUE(ZorStartTimer());
    EXPECT_TRUE(machine::PendingTimers().empty());
    machine::Advance(10);
    EXPECT_TRUE(ZorStartTimer()); // changes nothing
    EXPECT_EQ(ZorTimeMIDI(0), 10);
    ZorMIDIPlay();
    EXPECT_EQ(machine::PendingTimers().size(), 1u);
}

} // namespace
