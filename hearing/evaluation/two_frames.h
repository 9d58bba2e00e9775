// What the library makes of the same frames: a note is what two frames in a row agree on.
#pragma once

#include "hearing/evaluation/clips.h"

namespace hearing {

std::vector<PlainNote> TwoFramesAgree(const Clip& clip);

} // namespace hearing
