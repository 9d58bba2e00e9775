// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The baseline: the method of the library, which reports a note as soon as two consecutive frames
// agree on a key.
#pragma once

#include "hearing/evaluation/clips.h"

namespace hearing {

std::vector<PlainNote> TwoFramesAgree(const Clip& clip);

} // namespace hearing
