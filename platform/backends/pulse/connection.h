// A recording that is always of the same source: it ends when the source or the server goes, and
// begins again by itself when they are back.
//
// What the servers taught: the state of a stream does not tell whether its source is there. One
// server lets the stream fail, another moves it to some other source without a word, or leaves it
// as it is, silent for ever. So the list of sources decides, and a recording that stays silent is
// opened anew.
#pragma once

#include "platform/backends/pulse/client.h"

#include <cstddef>

namespace machine {

class NativeMicrophone;

// Sound as the server has sent it. Data is null for a hole.
struct HeardSound {
    const void* Data;
    std::size_t Frames;
    pa_usec_t Age; // of the last frame
};

// All of it runs with the server's lock held.
class Recording : public ServerClient {
public:
    // block: frames that the server may gather before it sends them.
    Recording(NativeMicrophone& microphone, const pa_sample_spec& format, const char* purpose,
              std::uint32_t block);
    virtual ~Recording() = default; // after End
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    void Begin();
    void End();
    bool On() const { return Begun; }
    // Gives its volume the microphone's level.
    void ApplyLevel();

protected:
    // On the connection's thread, which it may not hold up.
    virtual void Heard(const HeardSound& sound) = 0;

    const pa_sample_spec Format;

private:
    void SourcesChanged() override;
    void LevelMoved(std::uint32_t recordingIndex) override;
    void Look() override;

    bool Ready() const;
    void Open(const Source& source);
    void Close();
    void StreamChanged();
    void Read();
    void AskLevel();

    NativeMicrophone& Of;
    const char* const Purpose;
    const std::uint32_t Block;
    bool Begun = false;
    pa_stream* Stream = nullptr;
    std::uint32_t SourceIndex = PA_INVALID_INDEX;
    pa_usec_t LastSound = 0;           // or when it was opened
    bool Sounding = false;             // and nothing has come to an end since
    pa_operation* Setting = nullptr;   // of our level: until it is done nobody else has moved it
    pa_operation* AskingFor = nullptr; // the level
};

} // namespace machine
