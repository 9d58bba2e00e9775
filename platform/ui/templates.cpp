#include "platform/ui/templates.h"

#include "platform/virtual/dialogs.h"

#include <map>
#include <mutex>

namespace {

struct Registered {
    std::mutex Lock;
    std::map<HINSTANCE, std::span<const ui::DialogTemplate>> Dialogs;
};

Registered& The() {
    static Registered& registered = *new Registered; // modules unload at the process's very end
    return registered;
}

} // namespace

void machine::RegisterDialogs(HINSTANCE module, std::span<const ui::DialogTemplate> dialogs) {
    std::lock_guard lock(The().Lock);
    if (dialogs.empty())
        The().Dialogs.erase(module);
    else
        The().Dialogs[module] = dialogs;
}

const ui::DialogTemplate* ui::FindTemplate(HINSTANCE module, unsigned id) {
    std::lock_guard lock(The().Lock);
    for (const DialogTemplate& dialog : The().Dialogs[module])
        if (static_cast<unsigned>(dialog.Id) == id) return &dialog;
    return nullptr;
}
