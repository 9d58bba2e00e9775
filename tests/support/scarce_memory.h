// Memory that runs out on request, for those who ask for it without exceptions.
#pragma once

// While one lives, every such request is refused.
class ScarceMemory {
public:
    ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
    ~ScarceMemory();
};
