#include "tests/devices/capture/sound_server.h"
#include "tests/platform/capture_back_end.h"

#include <algorithm>

namespace {
bool Listed() {
    return std::ranges::any_of(machine::FindMicrophones(),
                               [](const auto& each) { return each.Name == "Voice"; });
}
} // namespace

void PlugMicrophone() {
    machine::UseNativeMicrophones();
    EXPECT_TRUE(Server("plug") && Comes(Listed));
}

void UnplugMicrophone() {
    EXPECT_TRUE(Server("unplug") && Comes([] { return !Listed(); }));
}
