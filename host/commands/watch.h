// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// devices --watch: reports changes of the device lists.
#pragma once

namespace zorhost {

// Prints a line or a JSON object for each device that is plugged in or pulled out. Returns after
// Ctrl-C.
void WatchDevices(bool json);

} // namespace zorhost
