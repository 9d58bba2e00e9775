// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A mixer control in memory.
#pragma once

#include "platform/api/level.h"

#include <algorithm>
#include <mutex>

namespace device {

class VirtualLevel final : public Level {
public:
    explicit VirtualLevel(const machine::MixerControl& model)
        : Level(model.Place, model.Maximum, model.Values), Current(model.Values, model.Value) {}

    bool Read(std::span<std::uint32_t> values) const override {
        const std::scoped_lock lock(Lock);
        std::ranges::copy(Current, values.begin());
        return true;
    }
    bool Write(std::span<const std::uint32_t> values) override {
        const std::scoped_lock lock(Lock);
        std::ranges::copy(values, Current.begin());
        return true;
    }

private:
    mutable std::mutex Lock; // of the next
    std::vector<std::uint32_t> Current;
};

} // namespace device
