// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Shared by the fuzz targets. A target is one function that gets bytes from the fuzzer. A failed
// Check or a report of a sanitizer ends the program, and libFuzzer writes the bytes to a file.
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

// The fuzzer's bytes, read from the front; zeros after the end.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : Next(data), End(data + size) {}
    bool Any() const { return Next < End; }
    std::uint8_t Byte() { return Any() ? *Next++ : std::uint8_t{0}; }
    std::uint16_t Word() {
        const unsigned low = Byte();
        return static_cast<std::uint16_t>(low | Byte() * 256u);
    }
    std::uint32_t Long() {
        const std::uint32_t low = Word();
        return low | std::uint32_t{Word()} << 16;
    }
    std::uint32_t Below(std::uint32_t limit) { return Byte() % limit; }
    std::string_view Read(std::size_t count) {
        const auto* first = reinterpret_cast<const char*>(Next);
        count = std::min(count, static_cast<std::size_t>(End - Next));
        Next += count;
        return {first, count};
    }

private:
    const std::uint8_t* Next;
    const std::uint8_t* End;
};

// Starts a machine without devices, on a stepped clock, with the ini file in a temporary folder.
inline void FreshMachine(const std::string& ini, std::uint32_t clock = 1000) {
    static const std::filesystem::path folder = [] {
        const bool memory = std::filesystem::is_directory("/dev/shm");
        std::string name = std::string(memory ? "/dev/shm" : "/tmp") + "/zorfuzz-XXXXXX";
        return std::filesystem::path(mkdtemp(name.data()));
    }();
    static const struct Removal {
        ~Removal() { std::filesystem::remove_all(folder); }
    } removal;
    machine::PowerOn();
    machine::UseSteppedClock(clock);
    machine::SetModulePath((folder / "libzormidi.so").string());
    std::ofstream(folder / "ZORMIDI.INI", std::ios::binary) << ini;
}
