#include "mme/profile.h"

#include "platform/platform.h"

#include <cstdio>

void WriteProfileInt(const char* section, const char* key, std::int32_t value, const char* file) {
    char text[12]; // the longest is "-2147483648"
    std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    WritePrivateProfileStringA(section, key, text, file);
}
