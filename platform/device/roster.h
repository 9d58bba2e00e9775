// The devices of one kind that are there, in the order of their coming.
#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace machine {

// Thread: any. Never destroyed where it is used, since devices' threads run until the process ends.
template <class Device>
class Roster {
public:
    void Add(std::shared_ptr<Device> device) {
        const std::scoped_lock lock(lock_);
        devices_.push_back(std::move(device));
    }
    std::vector<std::shared_ptr<Device>> Present() {
        const std::scoped_lock lock(lock_);
        std::erase_if(devices_, [](const auto& device) { return device->Gone(); });
        return devices_;
    }
    void Forget() {
        const std::scoped_lock lock(lock_);
        devices_.clear();
    }

private:
    std::mutex lock_;
    std::vector<std::shared_ptr<Device>> devices_;
};

} // namespace machine
