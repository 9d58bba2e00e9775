#include "platform/device/level.h"

#include "platform/device/roster.h"

namespace machine {
namespace {

Roster<LevelDevice>& All() {
    static auto& roster = *new Roster<LevelDevice>;
    return roster;
}

} // namespace

void AddLevelDevice(std::shared_ptr<LevelDevice> device) { All().Add(std::move(device)); }
std::vector<std::shared_ptr<LevelDevice>> LevelDevices() { return All().Present(); }
void ForgetLevelDevices() { All().Forget(); }

} // namespace machine
