#include "platform/system/kernel.h"

#include <algorithm>
#include <string_view>

namespace {

// Each part goes to a buffer of the system's size for it, or nowhere.
void Give(std::string_view part, char* buffer, int size) {
    if (!buffer) return;
    const std::size_t length = std::min(part.size(), static_cast<std::size_t>(size - 1));
    std::copy_n(part.data(), length, buffer);
    buffer[length] = '\0';
}

} // namespace

void _splitpath(const char* path, char* drive, char* directory, char* name, char* extension) {
    std::string_view rest = path ? path : "";
    const bool hasDrive = rest.size() >= 2 && rest[1] == ':';
    Give(rest.substr(0, hasDrive ? 2 : 0), drive, _MAX_DRIVE);
    if (hasDrive) rest.remove_prefix(2);

    const std::size_t separator = rest.find_last_of("/\\");
    const std::size_t file = separator == std::string_view::npos ? 0 : separator + 1;
    Give(rest.substr(0, file), directory, _MAX_DIR);
    rest.remove_prefix(file);

    const std::size_t dot = std::min(rest.rfind('.'), rest.size());
    Give(rest.substr(0, dot), name, _MAX_FNAME);
    Give(rest.substr(dot), extension, _MAX_EXT);
}
