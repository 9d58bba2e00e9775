// Open handles of one kind: a handle is the address of what it stands for.
#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace machine {

// Thread: any. To be kept for ever, since callers run until the process ends.
template <class Object>
class Handles {
public:
    using Pointer = std::shared_ptr<Object>;

    template <class Handle>
    Handle Add(Pointer object) {
        const std::scoped_lock lock(Lock);
        Open.push_back(std::move(object));
        return reinterpret_cast<Handle>(Open.back().get());
    }
    // Null if it is not open, here and below.
    Pointer Find(const void* handle) {
        const std::scoped_lock lock(Lock);
        const auto found = std::ranges::find(Open, handle, &Pointer::get);
        return found != Open.end() ? *found : nullptr;
    }
    Pointer Take(const void* handle) {
        const std::scoped_lock lock(Lock);
        const auto found = std::ranges::find(Open, handle, &Pointer::get);
        if (found == Open.end()) return nullptr;
        const Pointer taken = std::move(*found);
        Open.erase(found);
        return taken;
    }
    std::vector<Pointer> TakeAll() {
        const std::scoped_lock lock(Lock);
        return std::exchange(Open, {});
    }
    int Count() {
        const std::scoped_lock lock(Lock);
        return static_cast<int>(Open.size());
    }

private:
    std::mutex Lock;
    std::vector<Pointer> Open;
};

} // namespace machine
