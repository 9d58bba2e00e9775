#include "platform/kernel/profile_file.h"
#include "platform/kernel/profile_text.h"
#include "platform/system/kernel.h"
#include "platform/virtual/fault_point.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace machine {
namespace {

std::mutex profileLock; // a change reads the whole file and writes it back

ProfileText Load(LPCSTR file) { return ProfileText(ReadProfileFile(file)); }

// Cut to the buffer; the number of characters without the terminator.
DWORD GiveText(std::string_view text, LPSTR buffer, DWORD size) {
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<DWORD>(length);
}

// A list of names, each terminated, and one more terminator. A list that is cut ends in both, and
// the count then leaves both out.
DWORD GiveNames(const std::vector<std::string>& names, LPSTR buffer, DWORD size) {
    std::string list;
    for (const std::string& name : names) list.append(name).push_back('\0');
    if (list.size() + 1 > size) {
        list.resize(size > 2 ? size - 2 : 0);
        const auto length = static_cast<DWORD>(list.size());
        std::memcpy(buffer, list.data(), length);
        std::memset(buffer + length, 0, size - length);
        return length;
    }
    std::memcpy(buffer, list.data(), list.size());
    buffer[list.size()] = '\0';
    if (list.empty() && size > 1) buffer[1] = '\0';
    return static_cast<DWORD>(list.size());
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Blanks, a sign, and digits up to the first character that is none; wraps after 32 bits.
UINT ReadInteger(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return 0;
    text.remove_prefix(first);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    UINT value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        value = value * 10 + static_cast<UINT>(c - '0');
    }
    return negative ? 0 - value : value;
}

} // namespace
} // namespace machine

using namespace machine;

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR buffer,
                               DWORD size, LPCSTR file) {
    if (!buffer || size == 0) return 0;
    std::lock_guard lock(profileLock);
    const ProfileText text = file ? Load(file) : ProfileText();
    if (!section) return GiveNames(text.Sections(), buffer, size);
    if (!key) return GiveNames(text.Keys(section), buffer, size);
    const std::optional<std::string> value = text.Value(section, key);
    return GiveText(value ? *value : WithoutTrailingBlanks(fallback ? fallback : ""), buffer, size);
}

UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, int fallback, LPCSTR file) {
    if (!section || !key || !file) return static_cast<UINT>(fallback);
    std::lock_guard lock(profileLock);
    const std::optional<std::string> value = Load(file).Value(section, key);
    return value && !value->empty() ? ReadInteger(*value) : static_cast<UINT>(fallback);
}

// Without a section the system writes out what it keeps in memory and says FALSE; here every change
// is on disk already.
BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file) {
    if (const auto failure = OrderedFailure(Call::WritePrivateProfileStringA))
        return static_cast<BOOL>(*failure);
    if (!section || !file) return FALSE;
    std::lock_guard lock(profileLock);
    const std::string before = ReadProfileFile(file);
    ProfileText text(before);
    if (!key)
        text.RemoveSection(section);
    else if (!value)
        text.Remove(section, key);
    else
        text.Set(section, key, value);
    const std::string after = text.Bytes();
    return after == before || ReplaceProfileFile(file, after);
}
