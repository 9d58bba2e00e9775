#include "score/rhythm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace score {

namespace {

// Costs stand for negative logarithms of probabilities.
constexpr double Slowest = 50; // quarters a minute
constexpr double Fastest = 210;
constexpr double TempoStep = 0.025; // of which the tempo may change from note to note
constexpr double StepCost = 1.2;
constexpr double GivenWidth = 0.08; // how far from a given tempo it may be
constexpr double TempoWidth = 0.35; // of the usual tempos, as a logarithm
constexpr double Jitter = 0.03;     // seconds that an onset is off, of the ear's making
constexpr double Freedom = 0.05;    // and of the player's, a share of the time since the last
constexpr double MostOff = 6;       // cost of an onset that does not fit at all
constexpr double Follow = 0.5;      // how much of it the beat goes along with
constexpr double Longest = 6e4;     // sixteenths from one note to the next
constexpr double Hopeless = 20;     // behind the best
constexpr double PickupCost = 1.5;
constexpr double Never = std::numeric_limits<double>::infinity();

// What has led to a place in the bar at a tempo, at the least cost.
struct Hypothesis {
    double Cost = Never;
    double Beat = 0; // seconds: where the onset belongs, less its jitter
};

struct Step {
    std::uint16_t From = 0; // state
    std::uint16_t Length = 0;
};

// The cheapest way through a melody in one meter, by Viterbi's algorithm: states are the places of
// the bar at each tempo.
class Tracker {
public:
    Tracker(const Meter& meter, Melody melody, double given);
    double LeastCost() const { return Present[Last()].Cost; }
    Rhythm Found() const;

private:
    int State(int place, int tempo) const { return tempo * In.BarLength + place; }
    int Tempos() const { return static_cast<int>(Sixteenths.size()); }
    void MakeTempos(double given);
    void Begin();
    void Take(std::size_t note);
    void Leave(std::size_t note, int state, int tempo);
    double PassedOver(int place, int length) const;
    void Finish();
    std::size_t Last() const;

    const Meter& In;
    const Melody Notes;
    std::vector<double> Sixteenths;
    std::array<double, 16> Sounding{}; // cost of an onset at each place of the bar
    std::array<double, 17> Silent{};   // of none up to it
    std::vector<Hypothesis> Present, Next;
    std::vector<std::vector<Step>> Steps; // to each note's states
};

Tracker::Tracker(const Meter& meter, Melody melody, double given)
    : In(meter), Notes(melody), Steps(melody.size()) {
    for (int place = 0; place < In.BarLength; ++place) {
        const auto at = static_cast<std::size_t>(place);
        Sounding[at] = -std::log(In.Onset[at]);
        Silent[at + 1] = Silent[at] - std::log(1 - In.Onset[at]);
    }
    MakeTempos(given);
    Begin();
    for (std::size_t note = 1; note < Notes.size(); ++note) Take(note);
    Finish();
}

void Tracker::MakeTempos(double given) {
    const double first = given > 0 ? given * (1 - GivenWidth) : Slowest;
    const double last = given > 0 ? given * (1 + GivenWidth) : Fastest;
    for (double tempo = first; tempo <= last; tempo *= 1 + TempoStep)
        Sixteenths.push_back(60 / tempo / Quarter);
}

void Tracker::Begin() {
    Present.resize(Sixteenths.size() * static_cast<std::size_t>(In.BarLength));
    for (int tempo = 0; tempo < Tempos(); ++tempo) {
        const double quarters = 60 / Quarter / Sixteenths[static_cast<std::size_t>(tempo)];
        const double unusual = std::log(quarters / In.UsualTempo) / TempoWidth;
        for (int place = 0; place < In.BarLength; ++place) {
            const double cost = In.Rarity + unusual * unusual / 2 + (place > 0 ? PickupCost : 0) +
                                Sounding[static_cast<std::size_t>(place)];
            Present[static_cast<std::size_t>(State(place, tempo))] = {cost, Notes[0].Onset};
        }
    }
}

// What lies in a pause of more than two bars tells nothing.
double Tracker::PassedOver(int place, int length) const {
    const int bar = In.BarLength;
    if (length > 2 * bar) length = bar + length % bar;
    const int end = place + length;
    const auto upTo = [&](int at) {
        return at / bar * Silent[static_cast<std::size_t>(bar)] +
               Silent[static_cast<std::size_t>(at % bar)];
    };
    return upTo(end) - upTo(place + 1);
}

void Tracker::Leave(std::size_t note, int state, int tempo) {
    const Hypothesis from = Present[static_cast<std::size_t>(state)];
    const double sixteenth = Sixteenths[static_cast<std::size_t>(tempo)];
    const double onset = Notes[note].Onset;
    const double jitter = std::hypot(Jitter, Freedom * (onset - Notes[note - 1].Onset));
    const int place = state % In.BarLength;
    const int nearest = static_cast<int>(std::min((onset - from.Beat) / sixteenth, Longest) + 0.5);
    const int around = 2 + std::min(nearest / 8, In.BarLength);
    const double change = tempo == state / In.BarLength ? 0 : StepCost;
    for (int length = std::max(1, nearest - around); length <= nearest + around; ++length) {
        const double beat = from.Beat + length * sixteenth;
        const double off = (onset - beat) / jitter;
        const int next = (place + length) % In.BarLength;
        const double unfit = std::min(off * off / 2, MostOff);
        const double cost = from.Cost + change + unfit + PassedOver(place, length) +
                            Sounding[static_cast<std::size_t>(next)];
        const auto to = static_cast<std::size_t>(State(next, tempo));
        if (cost >= Next[to].Cost) continue;
        Next[to] = {cost, unfit < MostOff ? beat + Follow * (onset - beat) : onset};
        Steps[note][to] = {static_cast<std::uint16_t>(state), static_cast<std::uint16_t>(length)};
    }
}

void Tracker::Take(std::size_t note) {
    Next.assign(Present.size(), {});
    Steps[note].resize(Present.size());
    const double most = LeastCost() + Hopeless;
    for (int state = 0; state < static_cast<int>(Present.size()); ++state) {
        if (Present[static_cast<std::size_t>(state)].Cost > most) continue;
        const int tempo = state / In.BarLength;
        for (int to = std::max(0, tempo - 1); to <= std::min(tempo + 1, Tempos() - 1); ++to)
            Leave(note, state, to);
    }
    Present.swap(Next);
}

// A melody comes to rest where the bar has its weight.
void Tracker::Finish() {
    for (std::size_t state = 0; state < Present.size(); ++state)
        Present[state].Cost += Sounding[state % static_cast<std::size_t>(In.BarLength)];
}

std::size_t Tracker::Last() const {
    const auto best = std::ranges::min_element(Present, {}, &Hypothesis::Cost);
    return static_cast<std::size_t>(best - Present.begin());
}

Rhythm Tracker::Found() const {
    Rhythm found;
    found.In = &In;
    found.Onsets.resize(Notes.size());
    found.Sixteenth.resize(Notes.size());
    const auto bar = static_cast<std::size_t>(In.BarLength);
    std::size_t state = Last();
    for (std::size_t note = Notes.size(); note-- > 0;) {
        found.Sixteenth[note] = Sixteenths[state / bar];
        if (note == 0) break;
        found.Onsets[note] = Steps[note][state].Length;
        state = Steps[note][state].From;
    }
    found.Onsets[0] = static_cast<int>(state % bar);
    for (std::size_t note = 1; note < Notes.size(); ++note)
        found.Onsets[note] += found.Onsets[note - 1];
    const int sixteenths = found.Onsets.back() - found.Onsets.front();
    const auto [least, most] = std::ranges::minmax(found.Sixteenth);
    const double seconds = (Notes.back().Onset - Notes.front().Onset) / std::max(1, sixteenths);
    found.QuartersPerMinute = 60 / Quarter / std::clamp(seconds, least, most);
    return found;
}

} // namespace

Rhythm FindRhythm(Melody melody, double quartersPerMinute) {
    Rhythm best;
    double least = Never;
    for (const Meter& meter : Meters()) {
        const Tracker tracker(meter, melody, quartersPerMinute);
        if (tracker.LeastCost() >= least) continue;
        least = tracker.LeastCost();
        best = tracker.Found();
    }
    if (quartersPerMinute > 0) best.QuartersPerMinute = quartersPerMinute;
    return best;
}

} // namespace score
