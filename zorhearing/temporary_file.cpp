// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/temporary_file.h"

namespace zorhearing {

std::FILE* OpenTemporaryFile() { return std::tmpfile(); }

} // namespace zorhearing
