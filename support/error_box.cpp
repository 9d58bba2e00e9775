#include "support/error_box.h"

namespace Sonorel {

void ShowErrorBox(const TextString& text, const TextString& caption, UINT flags) {
    MessageBoxA(nullptr, text.Text(), caption.Text(),
                flags | MB_TASKMODAL | MB_SETFOREGROUND | MB_TOPMOST);
}

} // namespace Sonorel
