// A piece that plays, is paused, jumps and goes round, on the library's time base.
#pragma once

#include "host/playback/player.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zorhost {

struct Route {
    std::int64_t From = 0; // ticks
    std::int64_t To = ToTheEnd;
    bool Round = false;     // from To, which must be a tick then, again from From
    int TempoPercent = 100; // of the written tempo
};

// Thread: the one that runs the library. The song must outlive it.
class Transport {
public:
    Transport(const midifile::Song& song, const Route& route);

    // lead: milliseconds of the time base at which the music begins.
    void Begin(std::int64_t lead);
    // Keeps the queue fed. Call it more often than the queue runs empty.
    void Step();
    // All has been sent. Never while paused or going round.
    bool Done() const;

    bool Paused() const { return IsPaused; }
    void Pause();
    void Resume();
    void JumpTo(std::int64_t tick);
    // To the beginning of a bar: 0 of this one, -1 of the one before.
    void JumpBars(std::int64_t bars);

    // Where the music is now, in ticks.
    std::int64_t Place() const;
    // Milliseconds from the beginning of the music to a tick, at the tempo asked for.
    std::int64_t TimeOf(std::int64_t tick) const { return TimeBetween(Way.From, tick); }
    std::int64_t Length() const { return TimeOf(std::min(Way.To, Of.EndTick)); }
    // Events that come after more time than the time base counts, which are not played.
    std::size_t LeftOut() const { return TooLate; }
    // Messages that have gone out, and those of the present pass.
    std::size_t Sent() const;
    const std::vector<MIDIEvent>& Pass() const { return Play.All(); }
    // Ends what sounds and throws away what is queued.
    void Silence();

private:
    struct Stretch {
        std::int64_t Start; // milliseconds of the time base
        std::int64_t Tick;
    };
    std::int64_t TimeBetween(std::int64_t from, std::int64_t to) const;
    void Schedule(std::int64_t start, std::int64_t tick);
    std::int64_t PassEnd() const; // going round

    const midifile::Song& Of;
    const Route Way;
    Player Play{{}};
    Stretch Now{0, 0};                // that sounds
    std::optional<Stretch> Following; // that is queued behind it
    std::size_t SentBefore = 0;       // by players before this one
    std::size_t TooLate = 0;
    std::int64_t PausedAt = 0;
    bool IsPaused = false;
};

} // namespace zorhost
