// Dialogs and message boxes, as a host that shows them steers them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace machine {

// Why the last dialog could not be shown; empty if it could. Thread: the dialog's.
std::string DialogError();

// Closes the dialog that is open, as by its close box, once it gets to it. False if there is none.
// Thread: any.
bool CloseDialog();

// A window of the host, for the parent of a dialog: hears what dialogs post to it, while one is
// open, on the thread that shows it. Thread: any.
using WindowProcedure =
    std::function<void(unsigned message, std::uintptr_t first, std::intptr_t second)>;
void* CreateHostWindow(WindowProcedure procedure);
void DestroyHostWindow(void* window);

// Message boxes are kept, and printed on request. Nobody is there to press OK, unless a dialog is
// on the screen: then they are shown too, on the thread that shows it.
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
