// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A fake of DirectSound capture, of as many functions as SoundInDx uses. The machine loads it as
// "DSOUND.DLL"; it captures from the same devices as waveIn.
//
// It lists "Primary Sound Capture Driver" first, without a GUID, which captures from device 0, then
// each device. At each due notification the sound up to it is written into the ring. If several are
// due, only the last one's event is set: the device has fallen behind.
#pragma once

enum class DirectSound { Absent, Present };

// PowerOn does not reset it.
void SetDirectSound(DirectSound state);

int OpenCaptureObjects(); // number of objects not yet released
