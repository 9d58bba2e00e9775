// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Open handles of one kind. A handle is a number that is used once, so that a closed handle, or one
// of another kind, finds no object.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace common {

inline void* NewHandle() {
    static std::atomic<std::uintptr_t> last{0};
    return reinterpret_cast<void*>(last += 4);
}

// Thread: any. Real time: Find takes a lock that is held for a lookup. An object of this class is
// an ImmortalSingleton, since calls may come until the process ends.
template <class Object>
class Handles {
public:
    using Pointer = std::shared_ptr<Object>;

    template <class Handle>
    Handle Add(Pointer object) {
        void* const handle = NewHandle();
        AddUnless([](const auto&) { return false; }, handle, std::move(object));
        return reinterpret_cast<Handle>(handle);
    }
    // Adds the object under this new handle unless the test is true for an open one. False if it
    // is.
    template <class Test>
    bool AddUnless(Test test, const void* handle, Pointer object) {
        const std::scoped_lock lock(Lock);
        const bool may = std::ranges::none_of(Entries, test, &Entry::second);
        if (may) Entries.emplace(handle, std::move(object));
        return may;
    }
    // Null if the handle is not open, here and below.
    Pointer Find(const void* handle) {
        const std::scoped_lock lock(Lock);
        const auto found = Entries.find(handle);
        return found != Entries.end() ? found->second : nullptr;
    }
    template <class Test>
    Pointer FindIf(Test test) {
        const std::scoped_lock lock(Lock);
        const auto found = std::ranges::find_if(Entries, test, &Entry::second);
        return found != Entries.end() ? found->second : nullptr;
    }
    // Returns what was open.
    Pointer Remove(const void* handle) {
        const std::scoped_lock lock(Lock);
        auto removed = Entries.extract(handle);
        return removed ? std::move(removed.mapped()) : nullptr;
    }
    std::vector<Pointer> RemoveAll() {
        const std::scoped_lock lock(Lock);
        std::vector<Pointer> removed;
        for (auto& entry : std::exchange(Entries, {})) removed.push_back(std::move(entry.second));
        return removed;
    }
    int Count() {
        const std::scoped_lock lock(Lock);
        return static_cast<int>(Entries.size());
    }

private:
    using Entry = std::pair<const void* const, Pointer>;
    std::mutex Lock; // of the next
    std::map<const void*, Pointer> Entries;
};

} // namespace common
