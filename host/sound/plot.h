// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Draws the analysis of a sound as SVG: pages of about a minute, each with several rows.
#pragma once

#include "host/recording/output_file.h"
#include "host/sound/analysed_sound.h"
#include "host/sound/transcript.h"

#include <string>

namespace zorhost {

struct Plot {
    std::string Title;
    const AnalysedSound& Sound;
    const zorhost::Transcript& Transcript;
};

class PlotFiles {
public:
    // path: of the first page. The second page of "OUT.svg" is "OUT-2.svg". Throws HostError if the
    // first page cannot be written.
    explicit PlotFiles(const std::string& path) : FirstPage(path) {}
    // Writes all pages, at most 60. Returns their names as part of a message: "OUT.svg and 2 more,
    // to OUT-3.svg". Throws HostError.
    std::string Write(const Plot& plot);

private:
    OutputFile FirstPage;
};

} // namespace zorhost
