// Writing the ini file.
#pragma once

#include <cstdint>

// Write a key, an integer in decimal; section and file are made as needed. False if the file cannot
// be written; it then stays as it is. Thread: host.
bool WriteProfileText(const char* section, const char* key, const char* text, const char* file);
bool WriteProfileInt(const char* section, const char* key, std::int32_t value, const char* file);
