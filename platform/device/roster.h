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
        const std::scoped_lock lock(Lock);
        Devices.push_back(std::move(device));
    }
    std::vector<std::shared_ptr<Device>> Present() {
        const std::scoped_lock lock(Lock);
        std::erase_if(Devices, [](const auto& device) { return device->Gone(); });
        return Devices;
    }
    void Forget() {
        const std::scoped_lock lock(Lock);
        Devices.clear();
    }

private:
    std::mutex Lock;
    std::vector<std::shared_ptr<Device>> Devices;
};

} // namespace machine
