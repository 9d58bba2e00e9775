// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/round_trip.h"

#include "midi/note_counts.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

namespace zorhost {

namespace {

// Records skipped in the search for a match: more of them in a row count as lost or wrong.
constexpr std::size_t Window = 256;

bool IsNoteOff(const MIDIEvent& event) { return midi::EndsNote(event.Status, event.Data2); }

bool Same(const MIDIEvent& sent, const MIDIEvent& received) {
    if (sent.Channel != received.Channel || sent.Data1 != received.Data1) return false;
    if (IsNoteOff(sent)) return IsNoteOff(received);
    return sent.Status == received.Status && (sent.Length < 2 || sent.Data2 == received.Data2);
}

// The records that the output ports send, by the ports' own rule of counting notes.
std::vector<MIDIEvent> SentByPorts(const std::vector<MIDIEvent>& records, const PortMap& ports,
                                   std::int64_t& suppressed) {
    std::vector<MIDIEvent> out;
    std::map<std::pair<int, int>, std::uint8_t> counts; // by channel and note
    for (const MIDIEvent& record : records) {
        const bool noteOn = midi::StartsNote(record.Status, record.Data2);
        if (noteOn || IsNoteOff(record)) {
            const int channel = record.Channel;
            const Port* port = ports.OutputOf(channel);
            std::uint8_t& count = counts[{channel, int{record.Data1}}];
            if (!midi::CountNote(count, noteOn, !port || port->EveryNoteOff)) {
                ++suppressed;
                continue;
            }
        }
        out.push_back(record);
    }
    return out;
}

// percent: 0 to 100.
int Percentile(const std::vector<int>& ascending, std::size_t percent) {
    return ascending[(ascending.size() - 1) * percent / 100];
}

} // namespace

// Each received record matches the first equal one among the next expected records. Those skipped
// by a match are lost.
RoundTrip Compare(const std::vector<MIDIEvent>& sent, const std::vector<MIDIEvent>& received,
                  const PortMap& ports) {
    RoundTrip result;
    const std::vector<MIDIEvent> expected = SentByPorts(sent, ports, result.SuppressedCount);
    result.SentCount = static_cast<std::int64_t>(expected.size());
    result.ReceivedCount = static_cast<std::int64_t>(received.size());
    std::size_t next = 0;
    std::int64_t matched = 0;
    for (const MIDIEvent& record : received) {
        const std::size_t end = std::min(expected.size(), next + Window);
        std::size_t found = next;
        while (found < end && !Same(expected[found], record)) ++found;
        if (found == end) {
            ++result.WrongCount;
            continue;
        }
        result.Lateness.push_back(record.Time - expected[found].Time);
        ++matched;
        next = found + 1;
    }
    result.LostCount = result.SentCount - matched;
    std::sort(result.Lateness.begin(), result.Lateness.end());
    return result;
}

std::string RoundTrip::Text() const {
    std::string text;
    const auto line = [&](const char* label, std::int64_t value, const char* unit) {
        char buffer[96];
        std::snprintf(buffer, sizeof buffer, "  %-28s %8lld%s\n", label,
                      static_cast<long long>(value), unit);
        text += buffer;
    };
    line("records sent", SentCount, "");
    if (SuppressedCount > 0) line("held back by note counts", SuppressedCount, "");
    line("records received", ReceivedCount, "");
    line("lost", LostCount, "");
    line("wrong", WrongCount, "");
    if (!Lateness.empty()) {
        line("lateness, median", Percentile(Lateness, 50), " ms");
        line("lateness, 99th percentile", Percentile(Lateness, 99), " ms");
        line("lateness, worst", Lateness.back(), " ms");
    }
    return text;
}

} // namespace zorhost
