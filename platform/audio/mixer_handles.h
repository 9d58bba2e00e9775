// Mixer handles that exist now.
#pragma once

namespace machine {

int OpenMixerHandles();
void DropMixerHandles();

} // namespace machine
