// What the fuzz targets share. Each is one function that takes made-up bytes; a Check that fails,
// or any report of a sanitizer, ends the program and leaves the bytes in a file.
#pragma once

#include "engine/zormidi.h"
#include "platform/machine.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void Check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
}

// The made-up bytes, read from the front. Where they have run out there are zeros.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : At(data), End(data + size) {}
    bool Any() const { return At < End; }
    std::uint8_t Byte() { return Any() ? *At++ : std::uint8_t{0}; }
    std::uint16_t Word() {
        const unsigned low = Byte();
        return static_cast<std::uint16_t>(low | Byte() * 256u);
    }
    std::uint32_t Long() {
        const std::uint32_t low = Word();
        return low | std::uint32_t{Word()} << 16;
    }
    std::uint32_t Below(std::uint32_t limit) { return Byte() % limit; }
    std::string_view Take(std::size_t count) {
        const auto* from = reinterpret_cast<const char*>(At);
        count = std::min(count, static_cast<std::size_t>(End - At));
        At += count;
        return {from, count};
    }

private:
    const std::uint8_t* At;
    const std::uint8_t* End;
};

// An empty machine with a stepped clock, and an ini file in a folder of this process's own.
inline void FreshMachine(const std::string& ini, std::uint32_t clock = 1000) {
    static const std::filesystem::path folder = [] {
        const bool memory = std::filesystem::is_directory("/dev/shm");
        std::string name = std::string(memory ? "/dev/shm" : "/tmp") + "/zorfuzz-XXXXXX";
        return std::filesystem::path(mkdtemp(name.data()));
    }();
    static const struct Sweep {
        ~Sweep() { std::filesystem::remove_all(folder); }
    } sweep;
    machine::PowerOn();
    machine::UseSteppedClock(clock);
    machine::SetModulePath((folder / "libzormidi.so").string());
    std::ofstream(folder / "ZORMIDI.INI", std::ios::binary) << ini;
}
