// A double of DirectSound capture, for the class that captures by it. It is offered to the machine
// as the module "DSOUND.DLL" and stands on the same devices as waveIn. No more of it is there than
// that class asks for.
//
// First comes "Primary Sound Capture Driver" without a GUID, which is device 0, then each device.
// Sound is written into the ring up to each notification as it comes due. Where several have come
// due meanwhile, only the last one's event is set: the device has fallen behind.
#pragma once

enum class DirectSound { Absent, Present };

// Holds across PowerOn.
void SetDirectSound(DirectSound state);

int OpenCaptureObjects(); // that exist now
