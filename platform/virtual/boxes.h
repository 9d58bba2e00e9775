// Message boxes: nobody is there to press OK, so they are kept, and printed on request.
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

// The window that GetFocus answers: a window handle, or null as at load.
void SetFocusWindow(void* window);

} // namespace machine
