// Writing the ini file.
#pragma once

#include <cstdint>

// Writes an integer key in decimal; section and file are made as needed. A file that cannot be
// written stays as it is. Thread: host.
void WriteProfileInt(const char* section, const char* key, std::int32_t value, const char* file);
