// How many of the true notes were heard.
#pragma once

#include "hearing/evaluation/clips.h"

#include <span>
#include <vector>

namespace hearing {

struct Take {
    std::span<const PlainNote> Truth;
    std::vector<PlainNote> Heard;
};

struct Score {
    std::size_t True = 0; // notes
    std::size_t Heard = 0;
    double Delay = 0; // seconds, median of the onsets
    // F1, the harmonic mean of precision and recall: onset within 50 or 100 ms, as it is and less
    // the median delay; pitch within half a semitone.
    double Within50 = 0;
    double Within100 = 0;
    double Within50LessDelay = 0;
    double Within100LessDelay = 0;
};

Score ScoreOf(std::span<const Take> takes);

} // namespace hearing
