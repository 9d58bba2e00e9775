// What the two capture classes share: the format, the mixer, and going over to another device.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in.h"

namespace Sonorel {

class SoundInSystem : public SoundIn {
public:
    double GetLevel() override;
    bool SetLevel(double level) override;
    // 7 or 0.
    std::uint32_t GetMicThru() override;
    bool SetMicThru(std::uint32_t on) override;
    bool SetDevice(std::int32_t device) override;

    // Blocks in flight: some 0.74 s of sound at 23.2 ms a block.
    static constexpr std::int32_t BlockCount = 32;

    // Null when closed, and when there is none to open. The records are of the present device's
    // mixer, and keep what was last found there.
    HMIXER Mixer = nullptr;
    MIXERLINEA MicLine{};      // microphone on its way to recording
    MIXERLINEA SpeakerLine{};  // microphone on its way to the speakers
    MIXERCONTROLA MicVolume{}; // of MicLine
    MIXERCONTROLA MicMute{};   // of SpeakerLine
    WAVEFORMATEX Format{};     // in use from Open on

protected:
    SoundInSystem() = default;

    virtual bool IsOpen() const = 0;
    // Before another device is opened.
    virtual void ForgetDevice() {}

    // Format, BytesPerFrame, FramesPerBlock and BytesPerBlock from Channels, BitsPerSample and
    // rate.
    void SetFormat(std::uint32_t rate);
    // Before the search for a device's mixer. An id of another mixer's line or control means some
    // other one here, which must not be moved.
    void ForgetMixer();
    // After Mixer has been opened.
    void OpenMicLines();
    void CloseMixer();
    // Leaves Mixer null if it fails.
    bool OpenMixer(UINT id, DWORD flags);
};

} // namespace Sonorel
