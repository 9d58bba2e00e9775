// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Cables between processes.
#include "platform/machine.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

// A program that prints the messages that it receives from the cable.
struct Listener : Program {
    explicit Listener(const std::string& cable) : Program(cable) {
        EXPECT_TRUE(Await("ready\n"));
        Output.clear();
    }
};

std::uint32_t Numbered(unsigned i) { return Packed(0xF2, i & 0x7F, i >> 7 & 0x7F); }

TEST(Bridge, EveryInputOnTheCableHearsEveryOutputThatLives) {
    Listener before("many"), elsewhere("else"), dying("many");
    Peer peer("many");
    Listener after("many");
    dying.Signal(SIGKILL);
    dying.Finish();
    for (const std::uint32_t message : {0x403C90u, 0x7FC2u, 0xF8u}) peer.Send(message);
    for (Listener* each : {&before, &after}) {
        EXPECT_TRUE(each->Await("F8\n"));
        EXPECT_EQ(each->Output, "403C90\n7FC2\nF8\n");
    }
    EXPECT_TRUE(peer.Await(0xF8)); // its own input is on the cable too
    EXPECT_EQ(peer.Received(), (std::vector<std::uint32_t>{0x403C90, 0x7FC2, 0xF8}));
    elsewhere.Signal(SIGTERM);
    elsewhere.Finish();
    EXPECT_EQ(elsewhere.Output, "");
}

TEST(Bridge, WhatWasSentArrivesThoughItsSenderHasEnded) {
    const Peer peer("burst");
    EXPECT_EQ(Program("burst 4000").Finish(), 0);
    for (unsigned i = 0; i < 4000; ++i) ASSERT_EQ(peer.AwaitNumber(i), Numbered(i));
    EXPECT_EQ(peer.Received().size(), 4000u);
}

// A stopped program delays neither the sender nor other receivers. It loses no message unless more
// are waiting than a cable holds: then the oldest.
TEST(Bridge, WaitsForAProgramThatIsSlow) {
    constexpr unsigned Most = 65536, TooMany = 100;
    Peer peer("slow");
    Listener slow("slow");
    for (const unsigned lost : {0u, TooMany}) {
        slow.Signal(SIGSTOP);
        const std::size_t first = peer.Received().size();
        std::string expected;
        for (unsigned i = 0; i < Most + lost; ++i) {
            const std::uint32_t message = i + 1 < Most + lost ? Numbered(i) : 0xFC;
            peer.Send(message);
            char line[10];
            std::snprintf(line, sizeof line, "%X\n", message);
            if (i >= lost) expected += line;
            ASSERT_TRUE(i % 1000 != 0 ||
                        peer.Await(message, first + i)); // it reads as fast as it sends
        }
        slow.Signal(SIGCONT);
        ASSERT_TRUE(slow.Await("FC\n"));
        EXPECT_TRUE(std::exchange(slow.Output, {}) == expected);
    }
}

// The path of the shared memory that this process has mapped; empty for none.
std::string Memory() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/zormidi-cable") != std::string::npos)
            return line.substr(line.find("/dev/shm/"));
    return {};
}

TEST(Bridge, LeavesNothingBehind) {
    machine::AddMidiInput("In");
    machine::AddMidiOutput("Out");
    ASSERT_TRUE(machine::BridgeInput(0, "clean"));
    const std::string first = Memory();
    EXPECT_TRUE(fs::exists(first));
    fs::permissions(first, fs::perms::others_read, fs::perm_options::add);
    EXPECT_FALSE(machine::BridgeOutput(0, "clean")); // another user could listen
    fs::permissions(first, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_TRUE(machine::BridgeOutput(0, "clean"));
    ASSERT_TRUE(machine::BridgeInput(0, "other"));
    EXPECT_TRUE(fs::exists(first)); // the output still uses it
    ASSERT_TRUE(machine::BridgeOutput(0, ""));
    EXPECT_FALSE(fs::exists(first));
    const std::string second = Memory();
    machine::PowerOn();
    EXPECT_FALSE(fs::exists(second));
    EXPECT_FALSE(machine::BridgeInput(0, "gone"));
    EXPECT_EQ(Memory(), "");
}

} // namespace
