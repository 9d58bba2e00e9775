// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Simulates lack of memory for operator new with std::nothrow.
#pragma once

// During its lifetime every such request fails.
class ScarceMemory {
public:
    ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
    ~ScarceMemory();
};
