// Open handles of one kind. A handle is a number that comes but once, so that one that was handed
// back, or is of another kind, finds nothing.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace machine {

inline void* NewHandle() {
    static std::atomic<std::uintptr_t> last{0};
    return reinterpret_cast<void*>(last += 4);
}

// Thread: any. To be kept for ever, since callers run until the process ends.
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
    // Under this new handle, unless the test is true for one that is open; false if it is.
    template <class Test>
    bool AddUnless(Test test, const void* handle, Pointer object) {
        const std::scoped_lock lock(Lock);
        const bool may = std::ranges::none_of(Open, test, &Entry::second);
        if (may) Open.emplace(handle, std::move(object));
        return may;
    }
    // Null if it is not open, here and below.
    Pointer Find(const void* handle) {
        const std::scoped_lock lock(Lock);
        const auto found = Open.find(handle);
        return found != Open.end() ? found->second : nullptr;
    }
    template <class Test>
    Pointer FindIf(Test test) {
        const std::scoped_lock lock(Lock);
        const auto found = std::ranges::find_if(Open, test, &Entry::second);
        return found != Open.end() ? found->second : nullptr;
    }
    Pointer Take(const void* handle) {
        const std::scoped_lock lock(Lock);
        auto taken = Open.extract(handle);
        return taken ? std::move(taken.mapped()) : nullptr;
    }
    std::vector<Pointer> TakeAll() {
        const std::scoped_lock lock(Lock);
        std::vector<Pointer> taken;
        for (auto& open : std::exchange(Open, {})) taken.push_back(std::move(open.second));
        return taken;
    }
    int Count() {
        const std::scoped_lock lock(Lock);
        return static_cast<int>(Open.size());
    }

private:
    using Entry = std::pair<const void* const, Pointer>;
    std::mutex Lock;
    std::map<const void*, Pointer> Open;
};

} // namespace machine
