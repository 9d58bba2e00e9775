#include "platform/calls/profile_file.h"
#include "platform/machine/fault_point.h"
#include "platform/system/kernel.h"

#include <mutex>

namespace machine {
namespace {

std::mutex profileLock; // a change reads the whole file and writes it back

std::string_view WithoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Blanks, a sign, and digits up to the first character that is none; wraps after 32 bits.
UINT ReadInteger(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    UINT value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        value = value * 10 + static_cast<UINT>(c - '0');
    }
    return negative ? 0 - value : value;
}

std::optional<std::string> Value(LPCSTR section, LPCSTR key, LPCSTR file) {
    std::lock_guard lock(profileLock);
    return ReadProfile(file).Value(section, key);
}

} // namespace
} // namespace machine

namespace zorsystem {

using namespace machine;

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR buffer,
                               DWORD size, LPCSTR file) {
    if (size == 0) return 0;
    const std::optional<std::string> value = Value(section, key, file);
    const std::string_view text = value ? *value : WithoutTrailingBlanks(fallback);
    const std::size_t length = text.copy(buffer, size - 1);
    buffer[length] = '\0';
    return static_cast<DWORD>(length);
}

UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, int fallback, LPCSTR file) {
    const std::optional<std::string> value = Value(section, key, file);
    return value && !value->empty() ? ReadInteger(*value) : static_cast<UINT>(fallback);
}

BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file) {
    if (const auto failure = OrderedFailure(Call::WritePrivateProfileStringA))
        return static_cast<BOOL>(*failure);
    std::lock_guard lock(profileLock);
    const ProfileText& before = ReadProfile(file);
    const std::string after = before.With(section, key, value);
    return after == before.Bytes() || ReplaceProfile(file, after);
}

} // namespace zorsystem
