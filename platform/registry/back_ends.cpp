// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/registry/back_ends.h"

#include "platform/registry/shared_object.h"

#include <atomic>

namespace device {
namespace {

std::atomic<const char*> only{nullptr};

} // namespace

void UseOnlyBackEnd(const char* name) { only = name; }

void* LoadEntryPoint(const BackEnd& backEnd, std::string& reason) {
    const std::string name = backEnd.Name;
    if (const char* const chosen = only; chosen && name != chosen) return nullptr;
    void* const entry = LoadFunction(backEnd.Name, backEnd.EntryPoint, reason);
    if (!entry) reason = "Cannot load the back end \"" + name + "\": " + reason;
    return entry;
}

} // namespace device
