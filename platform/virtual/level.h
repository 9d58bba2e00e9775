// The virtual mixers, for the virtual microphones that they belong to.
#pragma once

#include "platform/device/level.h"
#include "platform/machine/level.h"

namespace machine {

std::shared_ptr<LevelDevice> FindMixer(Mixer mixer); // null once removed, and for None

} // namespace machine
