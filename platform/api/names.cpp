// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/api/names.h"

#include <algorithm>

namespace device {
namespace {

constexpr std::size_t MaxBytes = 31;

std::string Cut(const std::string& name, std::size_t bytes) {
    if (name.size() <= bytes) return name;
    while (bytes > 0 && (static_cast<unsigned char>(name[bytes]) & 0xC0) == 0x80) --bytes;
    return name.substr(0, bytes);
}

std::string CutWithoutBlank(const std::string& name, std::size_t bytes) {
    if (name.size() <= bytes) return name;
    const std::string cut = Cut(name, bytes);
    return cut.substr(0, cut.find_last_not_of(' ') + 1);
}

} // namespace

std::string UniqueMidiName(const std::string& fullName, const std::vector<std::string>& used) {
    std::string plain = CutWithoutBlank(fullName, MaxBytes);
    if (std::ranges::find(used, plain) == used.end()) return plain;
    for (int number = 2;; ++number) {
        const std::string mark = "#" + std::to_string(number) + " ";
        std::string name = mark + CutWithoutBlank(fullName, MaxBytes - mark.size());
        const auto beginsAlike = [&](const std::string& other) {
            return other.starts_with(mark) && (other.starts_with(name) || name.starts_with(other));
        };
        if (std::ranges::none_of(used, beginsAlike)) return name;
    }
}

std::string UniqueCaptureName(const std::string& fullName, const std::vector<std::string>& used) {
    std::string name = Cut(fullName, MaxBytes);
    for (int number = 2; std::ranges::count(used, name) != 0; ++number) {
        const std::string mark = " #" + std::to_string(number);
        name = Cut(fullName, MaxBytes - mark.size()) + mark;
    }
    return name;
}

} // namespace device
