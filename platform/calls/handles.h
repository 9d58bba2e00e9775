// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Calls on an open handle.
#pragma once

#include "platform/common/handles.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/faults.h"
#include "platform/system/types.h"

#include <functional>

namespace calls {

using common::Handles;
using common::ImmortalSingleton;
using machine::Call;
using machine::Failure;

// Counts the call, returns the failure that FailCall ordered for it, or else runs the operation on
// the object that is open under the handle.
template <class Object, class Operation, class... Arguments>
MMRESULT CallOnHandle(Call call, Handles<Object>& open, const void* handle, Operation operation,
                      Arguments&... arguments) {
    if (const Failure failure{call}) return failure;
    const auto object = open.Find(handle);
    return object ? std::invoke(operation, *object, arguments...) : MMSYSERR_INVALHANDLE;
}

} // namespace calls
