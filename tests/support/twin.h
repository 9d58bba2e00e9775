// The library and its model side by side on a stepped machine: every call goes to both, and what
// comes of it is compared.
#pragma once

#include "tests/support/engine_model.h"

#include <functional>
#include <string>

class Twin {
public:
    // For a library that is down, or up with nothing open; the clock is stepped and stands at that
    // millisecond.
    Twin(int ports, std::uint32_t clock, bool up);
    // As many MIDI inputs and outputs, and the ini file that has the library stand on them.
    static void AddPorts(int ports);
    static std::string Ini(int ports);

    // What differed first; empty while nothing has.
    std::string Difference;

    void Init(bool again);
    void Term();
    void Start(bool timer);
    void Stop();
    void Restore();
    void Echo(bool on, const std::uint8_t* map);
    void StartTimer();
    void Sync(std::int16_t mode);
    void SetTime(std::int32_t time);
    void ResetTime();
    void Filter(std::uint16_t mask, std::uint16_t sysMask);
    void Alloc(std::int16_t queue, std::int16_t slots);
    void Free(std::int16_t queue);
    void Zero(std::int16_t queue);
    bool Xmit(std::uint16_t queue, const MIDIEvent& event); // what the library said
    bool Rcv(bool peek);                                    // whether there was a record
    void Play();
    void CallBack();
    void Kill();
    void RunDialog(); // of row 0, where there is no screen
    void Receive(int port, std::uint32_t packed);
    void Advance(std::uint32_t milliseconds);

    // All that a host can ask, and what the devices were sent since the last time.
    void Compare();
    const EngineModel& Model() const { return model; }
    std::function<void(const EngineModel::Message&)> OnSent; // each of these

private:
    void Same(const char* what, std::int64_t library, std::int64_t expected);
    void CompareSent();
    EngineModel model;
};
