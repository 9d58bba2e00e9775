// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A connection to one source: a record stream that ends when the source or the server goes, and is
// opened again by itself when they are back.
//
// The state of a record stream does not show whether its source is plugged in. One server lets the
// stream fail, another silently moves it to a different source, or leaves it open without data for
// good. So the server's list of sources decides, and a stream without data is reopened.
#pragma once

#include "platform/backends/pulse/client.h"

#include <cstddef>

namespace device {

class PulseMicrophone;

// A block that the server has sent. Data is null for a gap, which counts as silence.
struct CapturedSound {
    const void* Data;
    std::size_t Frames;
    pa_usec_t Age; // microseconds since the last frame was captured
};

// All functions are called with the client's lock held.
class SourceConnection : public PulseListener {
public:
    // block: frames that the server may collect before it sends them. purpose: the stream's name as
    // users see it.
    SourceConnection(PulseMicrophone& microphone, const pa_sample_spec& format, const char* purpose,
                     std::uint32_t block);
    virtual ~SourceConnection() = default; // after End
    SourceConnection(const SourceConnection&) = delete;
    SourceConnection& operator=(const SourceConnection&) = delete;

    void Begin();
    void End();
    bool IsBegun() const { return Begun; }
    // Sets the stream's volume to the microphone's level.
    void ApplyLevel();

protected:
    // Called for each block on the client's thread; must not block.
    virtual void OnSound(const CapturedSound& sound) = 0;

    const pa_sample_spec Format;

private:
    void OnSourcesChanged() override;
    void OnLevelChanged(std::uint32_t streamIndex) override;
    void OnSecond() override;

    bool IsReady() const;
    void Open(const Source& source);
    void Close();
    void OnStreamState();
    void Read();
    void RequestLevel();

    PulseMicrophone& Microphone;
    const char* const Purpose;
    const std::uint32_t Block;
    bool Begun = false;
    pa_stream* Stream = nullptr; // null while the source is gone
    std::uint32_t SourceIndex = PA_INVALID_INDEX;
    pa_usec_t LastSound = 0; // time of the last block, or of opening, on libpulse's clock
    bool NeedsPause = false; // sound has come since the last pause of silence
    // Setting our level; changes that are reported before it is done are our own.
    pa_operation* LevelWrite = nullptr;
    pa_operation* LevelRequest = nullptr;
};

} // namespace device
