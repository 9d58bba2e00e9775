// The place in a system call where a test can make it fail.
#pragma once

#include "platform/machine/faults.h"

#include <cstdint>
#include <optional>

namespace machine {

// Counts the call. Gives the result that was ordered for it by FailCall, if it is this call's turn:
// the call then returns that and does nothing. Real time: yes while nothing is ordered.
std::optional<std::intptr_t> OrderedFailure(Call call);

} // namespace machine
