// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/names.h"

namespace device {
namespace {

// Removes " (PROCESS)" and " (PROCESS:1)".
std::string WithoutProcess(std::string name, int process) {
    const std::string number = " (" + std::to_string(process);
    const std::size_t begin = process > 0 ? name.find(number) : std::string::npos;
    if (begin == std::string::npos) return name;
    const std::size_t next = begin + number.size();
    const std::size_t end = name.find(')', next);
    if (end != std::string::npos && (end == next || name[next] == ':'))
        name.erase(begin, end + 1 - begin);
    return name;
}

} // namespace

std::string FullName(std::string client, std::string port, int process) {
    client = WithoutProcess(std::move(client), process);
    port = WithoutProcess(std::move(port), process);
    if (port.starts_with(client)) return port;
    return port.empty() ? client : client + " " + port;
}

} // namespace device
