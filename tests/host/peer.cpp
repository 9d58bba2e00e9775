// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/host/peer.h"

#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace {

std::mutex Lock;
std::condition_variable NewMessage;
std::vector<std::uint32_t> Messages;
HMIDIIN Input;
HMIDIOUT Output;

void CALLBACK OnMidi(void*, UINT message, DWORD_PTR, DWORD_PTR first, DWORD_PTR) {
    if (message != MIM_DATA) return;
    const std::lock_guard hold(Lock);
    Messages.push_back(static_cast<std::uint32_t>(first));
    NewMessage.notify_all();
}

} // namespace

Peer::Peer(const std::string& cable, const std::string& target) {
    Messages.clear();
    const int input = machine::AddMidiInput("Peer");
    const int output = machine::AddMidiOutput("Peer");
    if (!machine::BridgeInput(input, cable) ||
        !machine::BridgeOutput(output, target.empty() ? cable : target))
        std::abort();
    midiInOpen(&Input, static_cast<UINT>(input), reinterpret_cast<DWORD_PTR>(OnMidi), 0,
               CALLBACK_FUNCTION);
    midiInStart(Input);
    midiOutOpen(&Output, static_cast<UINT>(output), 0, 0, CALLBACK_NULL);
}

Peer::~Peer() {
    midiInStop(Input);
    midiInClose(Input);
    midiOutClose(Output);
    machine::PowerOn();
}

void Peer::Send(std::uint32_t packed) const { midiOutShortMsg(Output, packed); }

std::vector<std::uint32_t> Peer::Received() const {
    const std::lock_guard hold(Lock);
    return Messages;
}

std::uint32_t Peer::AwaitNumber(std::size_t number) const {
    using namespace std::chrono_literals;
    std::unique_lock hold(Lock);
    const bool arrived =
        NewMessage.wait_for(hold, 60s, [number] { return number < Messages.size(); });
    return arrived ? Messages[number] : 0;
}

bool Peer::Await(std::uint32_t packed, std::size_t first) const {
    using namespace std::chrono_literals;
    std::unique_lock hold(Lock);
    return NewMessage.wait_for(hold, 60s, [&] {
        return first < Messages.size() &&
               std::find(Messages.begin() + static_cast<std::ptrdiff_t>(first), Messages.end(),
                         packed) != Messages.end();
    });
}
