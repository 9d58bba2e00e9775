// Handles of waveIn that exist now.
#pragma once

namespace machine {

int OpenWaveInHandles();
void DropWaveIns();

} // namespace machine
