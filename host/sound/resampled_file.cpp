// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/resampled_file.h"

#include "host/terminal/host_error.h"

#include <algorithm>
#include <new>

namespace zorhost {

ResampledFile::ResampledFile(SoundFile& file) try
    : File(file), Converter(zorhearing::MakeResampler(file.Rate())), Chunk() {
} catch (const std::bad_alloc&) {
    throw HostError("the sound cannot be resampled to the rate of the recogniser");
}

std::size_t ResampledFile::Read(std::span<float> samples) {
    std::size_t done = 0;
    while (done < samples.size()) {
        if (Ready.empty()) {
            if (Ended) break;
            const std::size_t got = File.Read(Chunk);
            Ended = got == 0;
            Ready = Ended ? Converter->Finish() : Converter->Feed(std::span(Chunk).first(got));
        }
        const std::size_t count = std::min(Ready.size(), samples.size() - done);
        std::copy_n(Ready.begin(), count, samples.begin() + static_cast<std::ptrdiff_t>(done));
        Ready = Ready.subspan(count);
        done += count;
    }
    return done;
}

} // namespace zorhost
