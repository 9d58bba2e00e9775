// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/decoder.h"

namespace hearing {

namespace {

// The time of a trace is proportional to its length, so with a long lag one trace decides many
// frames.
int StrideFor(int lag) { return lag > 64 ? lag : 1; }

} // namespace

Decoder::Decoder(int lag, double tuning, const Costs& costs)
    : Lag(static_cast<std::size_t>(lag)), Stride(static_cast<std::size_t>(StrideFor(lag))),
      Observer(costs, tuning), Paths(costs, Observer.Bins(), lag + StrideFor(lag)),
      Writer(costs.BinsPerSemitone) {
    Undecided.reserve(Lag + Stride);
    DipEnds.reserve(Lag + Stride);
    Path.reserve(Lag + Stride);
}

void Decoder::Feed(const Frame& frame) {
    const Observation& observed = Observer.Observe(frame);
    Paths.Step(observed);
    DipEnds.push_back(observed.DipEnd);
    Undecided.push_back(frame);
    if (Undecided.size() == Lag + Stride) Decide(Lag);
}

void Decoder::Finish() {
    Decide(0);
    Writer.Close();
}

void Decoder::Decide(std::size_t undecided) {
    Path.resize(Undecided.size());
    Paths.Trace(Path);
    const std::span<const Frame> frames = Undecided;
    const std::size_t decided = frames.size() - undecided;
    for (std::size_t i = 0; i < decided; ++i) {
        Writer.Write(Path[i], Observer.PitchAt(Path[i].Bin), frames.subspan(i), DipEnds[i]);
    }
    DipEnds.erase(DipEnds.begin(), DipEnds.begin() + static_cast<std::ptrdiff_t>(decided));
    Undecided.erase(Undecided.begin(), Undecided.begin() + static_cast<std::ptrdiff_t>(decided));
}

} // namespace hearing
