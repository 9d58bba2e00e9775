#include "hearing/decoder.h"

namespace hearing {

namespace {

// Tracing costs as much as there is to trace, so a long lag is traced once for many frames.
int StrideFor(int lag) { return lag > 64 ? lag : 1; }

} // namespace

Decoder::Decoder(int lag, double tuning, const Costs& costs)
    : Lag(static_cast<std::size_t>(lag)), Stride(static_cast<std::size_t>(StrideFor(lag))),
      Eye(costs, tuning), Paths(costs, Eye.Places(), lag + StrideFor(lag)),
      Writer(costs.PlacesPerSemitone) {
    Waiting.reserve(Lag + Stride);
    Path.reserve(Lag + Stride);
}

void Decoder::Take(const Frame& frame) {
    Paths.Step(Eye.Observe(frame));
    Waiting.push_back(frame);
    if (Waiting.size() == Lag + Stride) Decide(Lag);
}

void Decoder::Finish() {
    Decide(0);
    Writer.Close();
}

void Decoder::Decide(std::size_t kept) {
    Path.resize(Waiting.size());
    Paths.Trace(Path);
    const std::span<const Frame> frames = Waiting;
    const std::size_t decided = frames.size() - kept;
    for (std::size_t i = 0; i < decided; ++i) {
        Writer.Take(Path[i], Eye.PitchAt(Path[i].Place), frames.subspan(i));
    }
    Waiting.erase(Waiting.begin(), Waiting.begin() + static_cast<std::ptrdiff_t>(decided));
}

} // namespace hearing
