// The devices of one kind that are there.
#pragma once

#include "platform/device/capture.h"
#include "platform/device/level.h"

namespace machine {

// For CaptureDevice and LevelDevice. Back ends add; the calls look. Thread: any.
template <class Device>
class Roster {
public:
    static void Add(std::shared_ptr<Device> device);
    // In the order of their coming, which gives them their numbers: the first is the default one.
    static std::vector<std::shared_ptr<Device>> Present();
    static void Forget();
};

} // namespace machine
