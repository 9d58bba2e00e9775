// A host that unloads: unload LIBRARY ROUNDS. Each round loads the library, queues 32,000 records
// that are due, plays, and in the middle of that stops, ends and unloads, with every core busy with
// something else. Whatever the system has dispatched by then still finds code and locks.
#include "engine/zormidi.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
using Module = HMODULE;
static Module Load(const char* path) { return LoadLibraryA(path); }
static void Unload(Module module) { FreeLibrary(module); }
static void* Find(Module module, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(module, name));
}
#else
#include <dlfcn.h>
using Module = void*;
static Module Load(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void Unload(Module module) { dlclose(module); }
static void* Find(Module module, const char* name) { return dlsym(module, name); }
#endif

#define ZOR(name) reinterpret_cast<decltype(&name)>(Find(module, #name))

// False if something went otherwise than it should.
static bool Round(const char* path, int round) {
    constexpr std::int16_t records = 32000;
    const Module module = Load(path);
    if (!module) return false;
    bool good = ZOR(MIDISysInit)(0) == -1 && ZOR(ZorAllocMIDI)(1, records + 1);
    const MIDIEvent due = {0, 0, 0, 2, 0x90, 60, 1};
    for (int i = 0; i < records; ++i) good = ZOR(ZorXmit)(1, &due) && good;
    good = ZOR(ZorStartTimer)() && good;
    // Some of the way in, another way each round.
    std::uint16_t size = 0, count = 0;
    do ZOR(ZorReportMQ)(1, &size, &count);
    while (count > records - round * 100);
    ZOR(ZorStopMIDI)();
    ZOR(MIDISysTerm)();
    Unload(module);
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
