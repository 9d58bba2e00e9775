// The calls on an open handle.
#pragma once

#include "platform/common/handles.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/faults.h"
#include "platform/system/types.h"

#include <functional>

namespace machine {

// Counts the call, meets an ordered failure, and goes on with what is open under the handle.
template <class Object, class Operation, class... Arguments>
MMRESULT On(Call call, Handles<Object>& open, const void* handle, Operation operation,
            Arguments&... arguments) {
    if (const Failure failure{call}) return failure;
    const auto object = open.Find(handle);
    return object ? std::invoke(operation, *object, arguments...) : MMSYSERR_INVALHANDLE;
}

} // namespace machine
