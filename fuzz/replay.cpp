// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Replaces libFuzzer in other builds: replay FOLDER feeds the target each file of the folder, each
// prefix of it and randomly changed copies, and then random bytes. The random numbers are the same
// in each run.
#include "fuzz/fuzz.h"

#include <iterator>
#include <random>
#include <unistd.h>
#include <vector>

int main(int, char** arguments) {
    alarm(240); // seconds; a run that hangs fails
    std::mt19937 random;
    std::size_t runs = 0;
    for (const auto& file : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream in(file.path(), std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
        for (std::size_t size = 0; size <= bytes.size(); ++size, ++runs)
            LLVMFuzzerTestOneInput(bytes.data(), size);
        for (int copy = 0; copy < 100 && !bytes.empty(); ++copy, ++runs) {
            std::vector<std::uint8_t> changed = bytes;
            for (int change = 0; change <= copy / 10; ++change)
                changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
            LLVMFuzzerTestOneInput(changed.data(), changed.size());
        }
    }
    if (runs == 0) return 1;
    for (std::size_t size = 0; size < 1000; ++size, ++runs) {
        std::vector<std::uint8_t> bytes(size);
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        LLVMFuzzerTestOneInput(bytes.data(), size);
    }
    std::printf("%zu runs\n", runs);
    return 0;
}
