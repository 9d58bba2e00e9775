// A control in memory.
#pragma once

#include "platform/api/level.h"

#include <algorithm>
#include <mutex>

namespace machine {

class VirtualLevel final : public Level {
public:
    explicit VirtualLevel(const MixerControl& model)
        : Level(model.Place, model.Maximum, model.Values), Held(model.Values, model.Value) {}

    bool Read(std::span<std::uint32_t> values) const override {
        const std::scoped_lock lock(Lock);
        std::ranges::copy(Held, values.begin());
        return true;
    }
    bool Write(std::span<const std::uint32_t> values) override {
        const std::scoped_lock lock(Lock);
        std::ranges::copy(values, Held.begin());
        return true;
    }

private:
    mutable std::mutex Lock; // of the next
    std::vector<std::uint32_t> Held;
};

} // namespace machine
