#include "engine/driver_table.h"
#include "engine/module.h"
#include "pitchrec/driver/prec_driver.h"
#include "setup/tonequill.h"

namespace {

// Holds the notes for the dialog as long as it is up.
class DialogUp {
public:
    DialogUp() { ++PRecDialogs; }
    ~DialogUp() { --PRecDialogs; }
    DialogUp(const DialogUp&) = delete;
    DialogUp& operator=(const DialogUp&) = delete;
};

} // namespace

void PRecConfig(HWND parent) {
    // Brings in the slider, without which the dialog could not be made.
    InitCommonControls();
    const DialogUp up;
    const INT_PTR result = DialogBoxParamA(ModuleInstance, MAKEINTRESOURCEA(tonequill::Resource),
                                           parent, PRecSetupProc, 0);
    if (result == -1)
        MessageBoxA(parent, "Could not create dialog box.", "PRecDevConfig",
                    MB_ICONEXCLAMATION | MB_OK);
}
