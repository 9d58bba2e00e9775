// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The registry of back ends: which shared objects exist for which kind of device, in which order of
// preference. docs/new-back-end.md lists what else a new back end needs.
#pragma once

#include <string>

namespace device {

// Levels are no kind: they come with the devices of a capture back end.
enum class BackEndKind { Midi, Capture, Screen, Synthesizer };

struct BackEnd {
    const char* Name; // of libzorbackend-NAME.so, of its folder in backends/, and in tests
    BackEndKind Kind;
    const char* EntryPoint; // declared in api/*_back_end.h
    // The library that it needs, if its devices are listed before it is loaded.
    const char* Library = nullptr;
};

// The first of a kind that can be loaded and opened is used, and no other. A shared object that
// offers several kinds has a line for each. The memory back end has none: it is part of this
// library, and the devices that a host adds go before all others.
constexpr BackEnd BackEnds[] = {
    {"alsa", BackEndKind::Midi, "OpenZorMidi"},
    {"pulse", BackEndKind::Capture, "OpenZorCapture"},
    {"fltk", BackEndKind::Screen, "OpenZorScreen"},
    {"fluidsynth", BackEndKind::Synthesizer, "OpenZorSynthesizer", "libfluidsynth.so.3"},
};

// Restricts the registry to the back end of that name; null, as at load, for all. For tests.
// Thread: the steering one.
void UseOnlyBackEnd(const char* name);
// Loads a back end's entry point. Null, with the reason, if that fails or UseOnlyBackEnd excludes
// it.
void* LoadEntryPoint(const BackEnd& backEnd, std::string& reason);
// Whether LoadEntryPoint can be expected to succeed: both files are installed, but neither is
// loaded. False with the reason.
bool CanLoad(const BackEnd& backEnd, std::string& reason);

// Opens the first back end of the kind that works. Function is its entry point's type: takes a
// string for the reason of a failure and returns a pointer, null if it fails. afterFailure runs
// after each back end that does not work. Null, with the reason of the first, if none works; an
// empty reason otherwise. Thread: any. Real time: no, loads and connects.
template <class Function>
auto OpenBackEnd(BackEndKind kind, std::string& reason, void (*afterFailure)() = nullptr) {
    decltype(static_cast<Function*>(nullptr)(reason)) opened = nullptr;
    reason.clear();
    for (const BackEnd& each : BackEnds) {
        if (each.Kind != kind) continue;
        std::string failure;
        if (void* const entry = LoadEntryPoint(each, failure))
            opened = reinterpret_cast<Function*>(entry)(failure);
        if (opened) break;
        if (afterFailure) afterFailure();
        if (reason.empty()) reason = failure;
    }
    if (opened) reason.clear();
    return opened;
}

} // namespace device
