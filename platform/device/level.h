// The seam of levels: volumes and mutes, as the mixer calls present them.
//
// To write the next back end: derive a Level for each control that the sound server or the driver
// has, hang them into a LevelDevice by the lines that applications look for, and add it to
// Roster<LevelDevice>; a capture device names it in CaptureDevice::Levels. A microphone needs a
// line MicrophoneLine below RecordingLine with a Volume, and, where it can be heard through the
// speakers, one below SpeakersLine with a Mute. What the device lacks is left out, and applications
// do without.
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

// Types of lines and controls. There are more of them: these are what applications look for.
constexpr std::uint32_t SpeakersLine = 4, RecordingLine = 7;          // destinations
constexpr std::uint32_t LineInLine = 0x1002, MicrophoneLine = 0x1003; // their sources
constexpr std::uint32_t VolumeControl = 0x50030001, MuteControl = 0x20010002;

// One control.
class Level {
public:
    Level(std::uint32_t type, std::uint32_t maximum, std::size_t values)
        : Type(type), Maximum(maximum), Values(values) {}
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
    virtual ~Level() = default;

    const std::uint32_t Type;
    const std::uint32_t Maximum; // the least is 0; 1 for a mute, which is on at 1
    const std::size_t Values;    // one for each channel of its line, or one for all of them
    // values: one for each, when writing within the range.
    virtual bool Read(std::span<std::uint32_t> values) const = 0;
    virtual bool Write(std::span<const std::uint32_t> values) = 0;
};

struct LevelLine {
    std::uint32_t Type;
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

// Those that are there; their places are their numbers. Where none has been added to
// Roster<LevelDevice> they are those of the computer's own capture devices. Thread: any.
std::vector<std::shared_ptr<LevelDevice>> LevelDevices();

} // namespace machine
