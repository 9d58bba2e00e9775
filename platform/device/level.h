// The seam of levels: volumes and mutes, as the mixer calls present them.
//
// To write the next back end: derive a Level for each control that the sound server or the driver
// has, hang them into a LevelDevice by the lines that applications look for, and announce it by
// AddLevelDevice; a capture device names it in CaptureDevice::Levels. A microphone needs a line
// SRC_MICROPHONE below DST_WAVEIN with a VOLUME, and, where it can be heard through the speakers,
// one below DST_SPEAKERS with a MUTE. What the device lacks is left out, and applications do
// without.
//
// A user moves levels in other programs at any time, and nobody is told: applications ask when
// they want to know, so Read tells what holds now and nothing is remembered above the seam.
//
// Threads. Any, several at once; the lines of a device do not change while it is there.
// Real time. None: Read and Write may ask a server and wait for its answer.
// Failure. Both say false and change nothing where the device refuses or is gone.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace machine {

// One control, a value for each of its line's channels or one for all of them.
class Level {
public:
    virtual ~Level() = default;

    virtual std::uint32_t Type() const = 0; // MIXERCONTROL_CONTROLTYPE_...
    virtual std::uint32_t Minimum() const = 0;
    virtual std::uint32_t Maximum() const = 0; // 1 for a mute, which is on at 1
    virtual std::size_t Values() const = 0;    // 1, or one for each channel
    // values: the first of them, at most as many as there are.
    virtual bool Read(std::span<std::uint32_t> values) const = 0;
    // values: one for each, within the range.
    virtual bool Write(std::span<const std::uint32_t> values) = 0;
};

struct LevelLine {
    std::uint32_t Type; // MIXERLINE_COMPONENTTYPE_...
    std::string Name;
    unsigned Channels;
    std::vector<std::shared_ptr<Level>> Levels;
    std::vector<LevelLine> Sources; // of a destination
};

class LevelDevice {
public:
    LevelDevice(std::string name, std::vector<LevelLine> destinations)
        : Name(std::move(name)), Destinations(std::move(destinations)) {}

    const std::string Name;
    const std::vector<LevelLine> Destinations;
    // Plugged in again it is a new device. Left is the back end's to call.
    bool Gone() const { return HasLeft.load(std::memory_order_acquire); }
    void Left() { HasLeft.store(true, std::memory_order_release); }

private:
    std::atomic<bool> HasLeft{false};
};

// The machine's level devices. Thread: any.
void AddLevelDevice(std::shared_ptr<LevelDevice> device);
// Those that are there, in the order of their coming: mixer numbers.
std::vector<std::shared_ptr<LevelDevice>> LevelDevices();
void ForgetLevelDevices();

} // namespace machine
