// What a module is given as it is loaded: its handle, and its resources under it.
#include "engine/module.h"
#include "platform/device/clock.h"
#include "platform/resource_tables.h"

// Named by whoever links the library's parts into a program of its own, so that the linker keeps
// this file; its address is the module's handle.
extern "C" __attribute__((visibility("hidden"))) const char ZorModule = 0;

namespace {

class Attachment {
public:
    Attachment() {
        machine::AttachModule(Module(), ModuleResources);
        ModuleInstance = Module();
    }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    ~Attachment() {
        machine::LetActionsEnd();
        machine::DetachModule(Module());
    }

private:
    static HINSTANCE Module() {
        return reinterpret_cast<HINSTANCE>(reinterpret_cast<std::uintptr_t>(&ZorModule));
    }
};
const Attachment attachment;

} // namespace
