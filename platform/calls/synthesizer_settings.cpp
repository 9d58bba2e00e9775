// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The settings of the software synthesizer, in the ini file of the library.
#include "platform/machine/modules.h"
#include "platform/machine/synthesizer.h"
#include "platform/system/kernel.h"

#include <array>
#include <charconv>
#include <filesystem>

namespace machine {

SynthesizerSettings ReadSynthesizerSettings() {
    const std::string file =
        (std::filesystem::path(ModulePath()).parent_path() / "ZORMIDI.INI").string();
    const auto read = [&file](const char* key) {
        std::array<char, 4096> text{};
        zorsystem::GetPrivateProfileStringA("SYNTHESIZER", key, "", text.data(), text.size(),
                                            file.c_str());
        return std::string(text.data());
    };
    SynthesizerSettings settings{read("Font"), read("Driver")};
    const std::string gain = read("Gain");
    if (gain.empty()) return settings;
    const char* const last = gain.data() + gain.size();
    const auto [end, error] = std::from_chars(gain.data(), last, settings.Gain); // in any locale
    if (error != std::errc() || end != last) settings.Gain = 0;
    return settings;
}

} // namespace machine
