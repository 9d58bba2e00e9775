// Message boxes: kept, and printed on request. Nobody is there to press OK, unless a
// dialog is on the screen: then they are shown too, on the thread that shows it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace machine {

struct Box {
    void* Owner;
    std::string Text;
    std::string Caption;
    unsigned Flags;
};
// Boxes shown since the last call, in order.
std::vector<Box> TakeBoxes();

// From now on each box is also printed on standard error, as a host without windows wants it.
void PrintBoxes(bool on);

// Runs while a box is up, on the thread that shows it, before MessageBoxA returns. Null for none.
void WhileBoxIsUp(std::function<void(const Box&)> action);

} // namespace machine
