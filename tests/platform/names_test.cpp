// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The names of the computer's MIDI ports.
#include "platform/api/names.h"
#include "platform/backends/alsa/names.h"

#include <gtest/gtest.h>

namespace {

TEST(NativeNames, AreTheSystemsWithoutWhatChangesEachTime) {
    const struct {
        const char *Client, *Port, *FullName;
    } cases[] = {{"Acme Keyboard 49", "Acme Keyboard 49 MIDI 1", "Acme Keyboard 49 MIDI 1"},
                 {"Acme", "Out", "Acme Out"},
                 {"Acme", "", "Acme"},
                 {"Synth (123)", "Synth input (123:0)", "Synth input"},
                 {"Synth (1234)", "in", "Synth (1234) in"}};
    for (const auto& c : cases)
        EXPECT_EQ(device::FullName(c.Client, c.Port, 123), c.FullName) << c.Client;
}

TEST(NativeNames, AreOneOfAKindAndFit) {
    std::vector<std::string> names;
    for (const auto& [whole, unique] :
         {std::pair{"#", "#"}, // not taken for a number
          {"Keys", "Keys"},
          {"Keys", "#2 Keys"},
          {"Keys", "#3 Keys"},
          {"Keys B", "Keys B"},
          {"Keys B", "#4 Keys B"}, // not "#2 Keys B", which begins with "#2 Keys"
          {"A very long name that goes on, MIDI 1", "A very long name that goes on,"},
          {"A very long name that goes on, MIDI 2", "#2 A very long name that goes o"},
          {"Ein sehr langer Name bis zum \xC3\x9C\xC3\x9C",
           "Ein sehr langer Name bis zum \xC3\x9C"}})
        EXPECT_EQ(names.emplace_back(device::UniqueMidiName(whole, names)), unique);
    const std::vector<std::string> used{"A microphone with a very long n"};
    EXPECT_EQ(device::UniqueCaptureName("A microphone with a very long name", used),
              "A microphone with a very lon #2");
}

} // namespace
