// A microphone in the speakers. The sound is played by this process, from a recording of its own
// that comes in small pieces, so it is heard at once, and it ends with the process in any case.
#pragma once

#include "platform/backends/pulse/connection.h"

namespace machine {

// With the server's lock held.
class Listening : public Recording {
public:
    explicit Listening(NativeMicrophone& microphone);
    void Turn(bool on);

private:
    void Heard(const HeardSound& sound) override;
    void OpenSpeakers();
    void CloseSpeakers();

    pa_stream* Speakers = nullptr; // the system's default ones
    pa_usec_t Opened = 0;
};

} // namespace machine
