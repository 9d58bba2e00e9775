// The whole library on a machine of its own, with an ini file that the test writes.
#pragma once

#include "engine/driver_table.h"
#include "engine/zormidi.h"
#include "platform/machine.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class Session : public testing::Test {
protected:
    static constexpr std::uint32_t Start = 1000; // milliseconds on the stepped clock

    Session() {
        SwitchOn(Start);
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        Folder =
            std::filesystem::absolute(std::string(info->test_suite_name()) + "." + info->name());
        std::filesystem::remove_all(Folder);
        std::filesystem::create_directories(Folder);
        machine::SetModulePath((Folder / "zormidi.so").string());
    }
    // A machine at load, with one MIDI output, as row 0 wants one.
    static void SwitchOn(std::uint32_t milliseconds) {
        machine::PowerOn();
        machine::UseSteppedClock(milliseconds);
        machine::RecordSentMidi(false);
        machine::AddMidiOutput("Synth");
    }
    ~Session() override {
        ZorStopMIDI();
        MIDISysTerm();
        machine::PowerOn();
        std::filesystem::remove_all(Folder);
    }

    void WriteIni(const std::string& lines) {
        std::ofstream(Folder / "ZORMIDI.INI") << "[PRECDRVR]\n" << lines;
    }
    // Up, with room for what is received.
    static void BringUp() {
        ASSERT_EQ(MIDISysInit(1), -1);
        ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_INPUT, 1000));
    }
    static std::vector<MIDIEvent> TakeReceived() {
        std::vector<MIDIEvent> records;
        for (MIDIEvent event; ZorRcv(&event, 0);) records.push_back(event);
        return records;
    }
    static std::vector<std::string> TakeBoxTexts() {
        std::vector<std::string> texts;
        for (const machine::Box& box : machine::TakeBoxes()) texts.push_back(box.Text);
        return texts;
    }

    std::filesystem::path Folder;
};
