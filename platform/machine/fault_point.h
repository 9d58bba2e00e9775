// The place in a system call where a test can make it fail.
#pragma once

#include "platform/machine/faults.h"

#include <cstdint>
#include <optional>
#include <type_traits>

namespace machine {

// Counts the call, and holds the result that FailCall ordered for it if it is this call's turn: the
// call then returns that and does nothing. Real time: yes while nothing is ordered.
//     if (const Failure failure{Call::timeSetEvent}) return failure;
class Failure {
public:
    explicit Failure(Call call);
    explicit operator bool() const { return Result.has_value(); }
    template <class Type>
    requires(!std::is_same_v<Type, bool>) operator Type() const {
        if constexpr (std::is_pointer_v<Type>)
            return reinterpret_cast<Type>(*Result);
        else
            return static_cast<Type>(*Result);
    }

private:
    std::optional<std::intptr_t> Result;
};

} // namespace machine
