// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The names of ALSA's ports.
#pragma once

#include <string>

namespace device {

// The full name of a port: the client's name and the port's, or the port's alone if it begins with
// the client's. The process number that some programs put into their names is left out, since it
// differs at the next run. process: that number, 0 for none.
std::string FullName(std::string client, std::string port, int process);

} // namespace device
