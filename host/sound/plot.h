// Pictures of what was heard in a sound, as SVG: pages of a minute each, in rows like a score's.
#pragma once

#include "host/sound/analysed_sound.h"
#include "host/recording/recording_file.h"
#include "host/sound/transcript.h"

#include <string>

namespace zorhost {

struct Plot {
    std::string Title;
    const HeardSound& Sound;
    const Transcript& Of;
};

class PlotFiles {
public:
    // Of the first page; the second is "OUT-2.svg" where the first is "OUT.svg". Throws HostError
    // if it cannot be written.
    explicit PlotFiles(const std::string& path) : First(path) {}
    // As many pages as it takes, no more than an hour's. Gives their names, as a sentence has
    // them. Throws HostError.
    std::string Write(const Plot& plot);

private:
    OutputFile First;
};

} // namespace zorhost
