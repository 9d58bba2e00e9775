// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// unload LIBRARY ROUNDS: each round loads the library, queues 32,000 due records, plays, and during
// that stops, shuts down and unloads the library, with all cores busy. Callbacks that the system
// has already dispatched must not crash.
#include "engine/zormidi.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
using Library = HMODULE;
static Library Load(const char* path) { return LoadLibraryA(path); }
static void Unload(Library library) { FreeLibrary(library); }
static void* Find(Library library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
#else
#include <dlfcn.h>
using Library = void*;
static Library Load(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void Unload(Library library) { dlclose(library); }
static void* Find(Library library, const char* name) { return dlsym(library, name); }
#endif

#define ZOR(name) reinterpret_cast<decltype(&name)>(Find(library, #name))

// Returns false if a call failed.
static bool Round(const char* path, int round) {
    constexpr std::int16_t records = 32000;
    const Library library = Load(path);
    if (!library) return false;
    bool good = ZOR(MIDISysInit)(0) == -1 && ZOR(ZorAllocMIDI)(1, records + 1);
    const MIDIEvent due = {0, 0, 0, 2, 0x90, 60, 1};
    for (int i = 0; i < records; ++i) good = ZOR(ZorXmit)(1, &due) && good;
    good = ZOR(ZorStartTimer)() && good;
    // Until some records are played, more in each round.
    std::uint16_t size = 0, count = 0;
    do ZOR(ZorReportMQ)(1, &size, &count);
    while (count > records - round * 100);
    ZOR(ZorStopMIDI)();
    ZOR(MIDISysTerm)();
    Unload(library);
    return good;
}

int main(int count, char** arguments) {
    if (count != 3) return std::fprintf(stderr, "usage: unload LIBRARY ROUNDS\n"), 2;
    std::atomic<bool> done{false};
    std::vector<std::thread> others;
    for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i)
        others.emplace_back([&done] {
            while (!done.load(std::memory_order_relaxed)) {
            }
        });
    int good = 0;
    const int rounds = std::atoi(arguments[2]);
    for (int round = 0; round < rounds; ++round) good += Round(arguments[1], round) ? 1 : 0;
    done = true;
    for (std::thread& other : others) other.join();
    std::printf("%d of %d rounds, and nothing crashed\n", good, rounds);
    return good == rounds ? 0 : 1;
}
