// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Time signatures, and the grid on which notes are written.
#pragma once

#include <compare>
#include <optional>
#include <string_view>

namespace score {

// Onsets and lengths are whole numbers of ticks. A number that ShortestTicks does not divide lies
// in a triplet. All sizes in ticks follow from these constants, in MusicXML its <divisions>.
constexpr int TicksPerQuarter = 24;
constexpr int WholeTicks = 4 * TicksPerQuarter;
constexpr int HalfTicks = 2 * TicksPerQuarter;
constexpr int EighthTicks = TicksPerQuarter / 2;
constexpr int SixteenthTicks = TicksPerQuarter / 4;
constexpr int ThirtySecondTicks = TicksPerQuarter / 8;
constexpr int ShortestTicks = ThirtySecondTicks;  // of the shortest value that is written
constexpr int TripletTicks = TicksPerQuarter / 3; // of an eighth of a triplet
static_assert(TripletTicks % ShortestTicks != 0 && TripletTicks * 3 == TicksPerQuarter);
static_assert(WholeTicks % ShortestTicks == 0 && ShortestTicks > 1);

// The values of notes and rests without a dot, the longest first. Name: in MusicXML.
struct NoteType {
    int Ticks;
    const char* Name;
};
constexpr NoteType NoteTypes[] = {{WholeTicks, "whole"},        {HalfTicks, "half"},
                                  {TicksPerQuarter, "quarter"}, {EighthTicks, "eighth"},
                                  {SixteenthTicks, "16th"},     {ThirtySecondTicks, "32nd"}};

// The remainder from 0 to divisor - 1, for negative numbers too. divisor: above 0.
constexpr int Modulo(int number, int divisor) { return ((number % divisor) + divisor) % divisor; }

struct TimeSignature {
    int Beats = 4;    // upper number
    int BeatType = 4; // lower number: 2, 4 or 8
    int BarTicks() const { return Beats * 4 * TicksPerQuarter / BeatType; }
    bool IsCompound() const { return BeatType == 8 && Beats % 3 == 0; }
    // The beat that is felt: a dotted quarter in 6/8.
    int BeatTicks() const { return (IsCompound() ? 12 : 4) * TicksPerQuarter / BeatType; }
    auto operator<=>(const TimeSignature&) const = default;
};

// "3/4"; nothing if scores are not written in it.
std::optional<TimeSignature> ParseTimeSignature(std::string_view text);

} // namespace score
