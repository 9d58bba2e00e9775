// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/registry/back_ends.h"

#include "platform/registry/shared_object.h"

#include <atomic>

namespace device {
namespace {

std::atomic<const char*> only{nullptr};

bool IsExcluded(const BackEnd& backEnd) {
    const char* const chosen = only;
    return chosen && std::string(backEnd.Name) != chosen;
}

} // namespace

void UseOnlyBackEnd(const char* name) { only = name; }

bool CanLoad(const BackEnd& backEnd, std::string& reason) {
    if (IsExcluded(backEnd)) return false;
    if (!IsBackEndInstalled(backEnd.Name))
        reason = std::string("The back end \"") + backEnd.Name + "\" is not installed.";
    else if (backEnd.Library && !IsLibraryInstalled(backEnd.Library))
        reason = std::string("The library ") + backEnd.Library + " is not installed.";
    else
        return true;
    return false;
}

void* LoadEntryPoint(const BackEnd& backEnd, std::string& reason) {
    const std::string name = backEnd.Name;
    if (IsExcluded(backEnd)) return nullptr;
    void* const entry = LoadFunction(backEnd.Name, backEnd.EntryPoint, reason);
    if (!entry) reason = "Cannot load the back end \"" + name + "\": " + reason;
    return entry;
}

} // namespace device
