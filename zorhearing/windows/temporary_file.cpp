// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/temporary_file.h"

#include <cstdlib>
#include <memory>

namespace zorhearing {

// std::tmpfile makes its file in the root folder of the drive, where users may not write. T keeps
// it in memory if there is room, D deletes it when it is closed.
std::FILE* OpenTemporaryFile() {
    const std::unique_ptr<wchar_t, decltype(&std::free)> path(::_wtempnam(nullptr, L"zor"),
                                                              &std::free);
    return path ? ::_wfopen(path.get(), L"w+bTD") : nullptr;
}

} // namespace zorhearing
