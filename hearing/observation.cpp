#include "hearing/observation.h"

#include "hearing/pitch.h"

#include <algorithm>
#include <cmath>

namespace hearing {

namespace {

constexpr int Slips[] = {-24, -19, -12, 12, 19, 24}; // semitones

// Below that a level is noise, whose rises mean nothing.
constexpr int LeastLevel = 4;

// Where a strike rises out of: the five frames before the last three. Without them it is a slow
// attack that is still rising.
constexpr unsigned SoundingBefore = 0b11111000;

double Decibels(int level) { return 20 * std::log10(std::max(level, LeastLevel)); }

} // namespace

Observer::Observer(const Costs& costs, double tuning)
    : Of(costs), PerSemitone(costs.PlacesPerSemitone), Lowest(LowestPitch + tuning) {
    Seen.Note.resize(static_cast<std::size_t>((HighestPitch - LowestPitch + 1) * PerSemitone));
    Before[0] = Before[1] = Decibels(0);
}

const Observation& Observer::Observe(const Frame& frame) {
    const double pitch = frame.Frequency > 0 ? PitchOf(frame.Frequency) : 0;
    const bool voiced = pitch > LowestPitch - 1 && pitch < HighestPitch + 1;
    const float without = frame.Level <= Of.QuietLevel ? Of.Quiet : Of.Unvoiced;
    std::ranges::fill(Seen.Note, voiced ? Of.MostOff : without);
    Seen.Rest = voiced ? Of.VoicedRest : 0;
    if (voiced) SeePitch(pitch);
    SeeRise(frame.Level);
    return Seen;
}

void Observer::SeePitch(double pitch) {
    for (const int slip : Slips) {
        const auto place = std::lround((pitch + slip - Lowest) * PerSemitone);
        if (place < 0 || place >= Places()) continue;
        Seen.Note[static_cast<std::size_t>(place)] = std::min(Of.Harmonic, Of.MostOff);
    }
    SeeNear(pitch);
}

void Observer::SeeNear(double pitch) {
    const double reach = Of.MostOff / Of.PerSemitone;
    const auto from = static_cast<int>(std::ceil((pitch - reach - Lowest) * PerSemitone));
    const auto to = static_cast<int>(std::floor((pitch + reach - Lowest) * PerSemitone));
    for (int place = std::max(from, 0); place <= std::min(to, Places() - 1); ++place) {
        const auto off = static_cast<float>(std::fabs(PitchAt(place) - pitch));
        Seen.Note[static_cast<std::size_t>(place)] = std::min(Of.PerSemitone * off, Of.MostOff);
    }
}

// Against the softer of the two frames before: an attack often takes two.
void Observer::SeeRise(int level) {
    const double now = Decibels(level);
    const double rise = (now - std::min(Before[0], Before[1])) / Of.FullRise;
    Seen.Rise = static_cast<float>(std::clamp(rise, 0.0, 1.0));
    Seen.Strike = (Sounded & SoundingBefore) == SoundingBefore ? Seen.Rise : 0;
    Sounded = Sounded << 1 | (level > Of.QuietLevel ? 1u : 0u);
    Before[1] = Before[0];
    Before[0] = now;
}

} // namespace hearing
