// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Objects that live as long as the process.
#pragma once

namespace common {

// The one object of its type, made at the first call. Never destroyed, since lane threads
// (api/clock.h) run until the process ends. Thread: any. Real time: yes, but for the first call.
template <class Object>
Object& ImmortalSingleton() {
    static Object& object = *new Object;
    return object;
}

} // namespace common
