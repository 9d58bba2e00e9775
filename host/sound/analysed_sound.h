// A sound file as the recogniser's frames, on the straight road: read, brought to 22,050 Hz,
// filtered, raised to a good level, measured. No device and no second thread.
#pragma once

#include "hearing/frame.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

enum class Loudness {
    Raised,   // the file to a good peak, its soft stretches more
    Followed, // as live, by the peak of the last seconds
    AsItIs,   // unfiltered too
};

struct HeardSound {
    std::vector<hearing::Frame> Frames;
    double Seconds = 0;   // heard
    double Announced = 0; // what the file says of its length
    double Peak = 0;      // 1 is full scale
    int OnLevel = 0;      // from which a pitch is searched for, and further on
    int OffLevel = 0;
    bool BrokeOff = false; // there should have been more
    std::string Remark;    // what the user is told of the file; mostly nothing
};

// Takes 64 MB of memory at most and 6 MB an hour for the frames; what is longer than 12 minutes
// waits on the disk meanwhile, 320 MB an hour. Ends early if interrupted. Throws HostError.
HeardSound HearFile(const std::string& path, Loudness loudness);

} // namespace zorhost
