#include "host/playback/transport.h"

#include "host/devices/session.h"

#include <algorithm>
#include <utility>

namespace zorhost {

namespace {
constexpr std::int64_t Lead = 50; // milliseconds from a jump to the music
constexpr std::int64_t LastTime = std::numeric_limits<std::int32_t>::max();
} // namespace

Transport::Transport(const midifile::Song& song, const Route& route) : Of(song), Way(route) {}

std::int64_t Transport::TimeBetween(std::int64_t from, std::int64_t to) const {
    const std::int64_t piece = Of.Map.MicrosecondsAt(to) - Of.Map.MicrosecondsAt(from);
    return (piece * 100 / Way.TempoPercent + 500) / 1000;
}

// Puts what comes from that tick on in place of what was played before.
void Transport::Schedule(std::int64_t start, std::int64_t tick) {
    Passage passage = PassageOf(Of, tick, Way.To);
    std::size_t count = 0;
    for (; count < passage.Records.size(); ++count) {
        const std::int64_t time = start + TimeBetween(tick, passage.Ticks[count]);
        if (time > LastTime) break;
        passage.Records[count].Time = static_cast<std::int32_t>(time);
    }
    TooLate = passage.Records.size() - count;
    passage.Records.resize(count);
    passage.Ticks.resize(count);
    SentBefore += Play.Fed();
    Play = Player(std::move(passage));
}

void Transport::Begin(std::int64_t lead) {
    Now = {lead, Way.From};
    Schedule(Now.Start, Now.Tick);
}

std::int64_t Transport::PassEnd() const { return Now.Start + TimeBetween(Now.Tick, Way.To); }

// A pass is queued when the one before has gone out, so that one sounds while the next one waits.
void Transport::Step() {
    if (IsPaused) return;
    Play.Feed();
    if (!Way.Round) return;
    if (Following && ZorTimeMIDI(0) >= Following->Start) Now = *std::exchange(Following, {});
    if (Following || !Play.AllFed() || PassEnd() > LastTime) return;
    Following = Stretch{PassEnd(), Way.From};
    Schedule(Following->Start, Way.From);
}

// A jump to the end of a loop leaves nothing to feed until the next step.
bool Transport::Done() const {
    const bool goesOn = IsPaused || (Way.Round && PassEnd() <= LastTime);
    return !goesOn && !Following && Play.AllFed() && ZorXmitEmpty(0);
}

std::int64_t Transport::Place() const {
    if (IsPaused) return PausedAt;
    const std::int64_t now = ZorTimeMIDI(0);
    const Stretch& sounds = Following && now >= Following->Start ? *Following : Now;
    const std::int64_t played = std::max<std::int64_t>(0, now - sounds.Start);
    const std::int64_t piece = played * 10 * Way.TempoPercent;
    const std::int64_t tick = Of.Map.TickAt(Of.Map.MicrosecondsAt(sounds.Tick) + piece);
    return std::min({tick, Way.To, Of.EndTick});
}

std::size_t Transport::Sent() const {
    return SentBefore + Play.Fed() - static_cast<std::size_t>(OutputFill().Count);
}

void Transport::Silence() {
    SentBefore -= static_cast<std::size_t>(OutputFill().Count);
    Library::Silence(Play.All());
}

void Transport::Pause() {
    PausedAt = Place();
    IsPaused = true;
    Following.reset();
    Silence();
}

void Transport::JumpTo(std::int64_t tick) {
    const std::int64_t to = std::clamp(tick, std::int64_t{0}, std::min(Way.To, Of.EndTick));
    PausedAt = to;
    if (IsPaused) return;
    Silence();
    Following.reset();
    Now = {ZorTimeMIDI(0) + Lead, to};
    Schedule(Now.Start, to);
}

void Transport::Resume() {
    IsPaused = false;
    Now = {ZorTimeMIDI(0) + Lead, PausedAt};
    Schedule(Now.Start, PausedAt);
}

void Transport::JumpBars(std::int64_t bars) {
    const std::int64_t bar = Of.Map.BarBeatAt(Place()).Bar + bars;
    JumpTo(Of.Map.TickOfBar(std::max<std::int64_t>(1, bar)));
}

} // namespace zorhost
