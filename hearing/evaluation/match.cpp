#include "hearing/evaluation/match.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace hearing {

namespace {

constexpr double PitchTolerance = 0.5; // semitones

bool SamePitch(const PlainNote& a, const PlainNote& b) {
    return std::fabs(a.Pitch - b.Pitch) <= PitchTolerance;
}

// The greatest number of pairs of a true and a heard note, each in one pair at most, by augmenting
// paths (H. W. Kuhn, "The Hungarian method for the assignment problem", 1955).
class Pairing {
public:
    Pairing(const Take& take, double tolerance, double shift)
        : Of(take), Tolerance(tolerance), Shift(shift), Partner(take.Heard.size()) {}

    std::size_t Count() {
        std::size_t count = 0;
        for (const PlainNote& note : Of.Truth) {
            Tried.assign(Of.Heard.size(), false);
            if (Place(note)) ++count;
        }
        return count;
    }

private:
    bool Fits(const PlainNote& truth, const PlainNote& heard) const {
        return SamePitch(truth, heard) && std::fabs(heard.Onset - Shift - truth.Onset) <= Tolerance;
    }
    bool Place(const PlainNote& truth) {
        for (std::size_t i = 0; i < Of.Heard.size(); ++i) {
            if (Tried[i] || !Fits(truth, Of.Heard[i])) continue;
            Tried[i] = true;
            if (Partner[i] && !Place(*Partner[i])) continue;
            Partner[i] = &truth;
            return true;
        }
        return false;
    }

    const Take& Of;
    double Tolerance;
    double Shift;
    std::vector<const PlainNote*> Partner; // of each heard note
    std::vector<bool> Tried;
};

// Of the first note of that pitch around a true one's beginning.
std::optional<double> DelayOf(const PlainNote& truth, std::span<const PlainNote> heard) {
    const double latest = std::min(0.3, std::max(truth.End - truth.Onset, 0.1));
    std::optional<double> delay;
    for (const PlainNote& note : heard) {
        const double late = note.Onset - truth.Onset;
        if (!SamePitch(truth, note) || late < -0.08 || late > latest) continue;
        if (!delay || late < *delay) delay = late;
    }
    return delay;
}

double MedianDelay(std::span<const Take> takes) {
    std::vector<double> delays;
    for (const Take& take : takes) {
        for (const PlainNote& note : take.Truth) {
            if (const auto delay = DelayOf(note, take.Heard)) delays.push_back(*delay);
        }
    }
    if (delays.empty()) return 0;
    std::ranges::sort(delays);
    const std::size_t half = delays.size() / 2;
    return delays.size() % 2 ? delays[half] : (delays[half - 1] + delays[half]) / 2;
}

} // namespace

Score ScoreOf(std::span<const Take> takes) {
    Score score;
    for (const Take& take : takes) {
        score.True += take.Truth.size();
        score.Heard += take.Heard.size();
    }
    score.Delay = MedianDelay(takes);
    const auto f1 = [&](double tolerance, double shift) {
        std::size_t hits = 0;
        for (const Take& take : takes) hits += Pairing(take, tolerance, shift).Count();
        const auto all = static_cast<double>(score.True + score.Heard);
        return all > 0 ? 2 * static_cast<double>(hits) / all : 0.0;
    };
    score.Within50 = f1(0.05, 0);
    score.Within100 = f1(0.1, 0);
    score.Within50LessDelay = f1(0.05, score.Delay);
    score.Within100LessDelay = f1(0.1, score.Delay);
    return score;
}

} // namespace hearing
