// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Names of devices as applications get them: 31 bytes of UTF-8, unique while the process runs. For
// the back ends that reach the computer's devices. Thread: any.
#pragma once

#include <string>
#include <vector>

namespace device {

// A MIDI device's name: fullName cut to 31 bytes, no character cut in two, and different from all
// in used. The second of the same name is "#2 ...". The number stands in front because applications
// look a name up in lists by its beginning: so neither of two numbered names begins with the other.
std::string UniqueMidiName(const std::string& fullName, const std::vector<std::string>& used);

// A microphone's name: fullName cut to 31 bytes, no character cut in two, with " #2" behind it if
// it is in used already.
std::string UniqueCaptureName(const std::string& fullName, const std::vector<std::string>& used);

} // namespace device
