#include "platform/audio/feed.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

class GeneratedReader : public FeedReader {
public:
    GeneratedReader(std::shared_ptr<const Generator> generator, std::uint64_t frame, unsigned rate,
                    unsigned channels)
        : generator_(std::move(generator)), frame_(frame), rate_(rate), channels_(channels) {}

    void Read(float* samples, std::size_t frames) override {
        (*generator_)({frame_, rate_, channels_, {samples, frames * channels_}});
        frame_ += frames;
    }

private:
    std::shared_ptr<const Generator> generator_;
    std::uint64_t frame_;
    unsigned rate_;
    unsigned channels_;
};

class Generated : public Feed {
public:
    explicit Generated(Generator generator)
        : generator_(std::make_shared<const Generator>(std::move(generator))) {}

    std::unique_ptr<FeedReader> From(std::uint64_t frame, unsigned rate,
                                     unsigned channels) const override {
        return std::make_unique<GeneratedReader>(generator_, frame, rate, channels);
    }

private:
    std::shared_ptr<const Generator> generator_;
};

} // namespace

std::shared_ptr<Feed> GeneratedFeed(Generator generator) {
    return std::make_shared<Generated>(std::move(generator));
}

std::shared_ptr<Feed> SilentFeed() {
    return GeneratedFeed(
        [](const FeedRequest& request) { std::ranges::fill(request.Samples, 0.0f); });
}

} // namespace machine
