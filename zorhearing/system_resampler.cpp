// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// MakeResampler by soxr where the build has it.
#include "zorhearing/frame_analyser.h"
#include "zorhearing/resampler.h"

#ifdef ZOR_HAS_SOXR
#include <new>
#include <soxr.h>
#endif

namespace zorhearing {

#ifdef ZOR_HAS_SOXR

namespace {

class SoxrResampler : public Resampler {
public:
    explicit SoxrResampler(int rate)
        : Output(MaxSamples * AnalysisRate / static_cast<std::size_t>(rate) + MaxSamples) {
        const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
        Converter.reset(soxr_create(rate, AnalysisRate, 1, nullptr, &samples, &quality, &runtime));
        if (!Converter) throw std::bad_alloc();
    }
    std::span<const float> Feed(std::span<const float> samples) override {
        return Process(samples.data(), samples.size());
    }
    std::span<const float> Finish() override { return Process(nullptr, 0); }

private:
    struct Free {
        void operator()(soxr* converter) const { soxr_delete(converter); }
    };

    // samples: null at the end, when all that is left comes out.
    std::span<const float> Process(const float* samples, std::size_t count) {
        std::size_t written = 0;
        for (;;) {
            std::size_t used = 0, got = 0;
            soxr_process(Converter.get(), samples, count, &used, Output.data() + written,
                         Output.size() - written, &got);
            written += got;
            if (samples) samples += used;
            count -= used;
            if (written < Output.size()) return std::span(Output).first(written);
            Output.resize(2 * Output.size());
        }
    }

    std::vector<float> Output;
    std::unique_ptr<soxr, Free> Converter;
};

} // namespace

std::unique_ptr<Resampler> MakeResampler(int rate) { return std::make_unique<SoxrResampler>(rate); }

#else

std::unique_ptr<Resampler> MakeResampler(int rate) { return std::make_unique<SincResampler>(rate); }

#endif

} // namespace zorhearing
