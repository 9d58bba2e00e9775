// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// One JSON object per line of output.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zorhost {

// Returns text that is safe for a terminal or a JSON string. Bytes that are not valid UTF-8 are
// converted from Latin-1, which is common in MIDI files; control characters become blanks.
std::string Utf8(const std::string& raw);

// An object under construction. Members are printed in the order in which they are added.
class Json {
public:
    Json& Add(const char* key, const std::string& text) { return AddRaw(key, Quoted(text)); }
    Json& Add(const char* key, const char* text) { return Add(key, std::string(text)); }
    Json& Add(const char* key, std::int64_t number) { return AddRaw(key, std::to_string(number)); }
    Json& Add(const char* key, int number) { return Add(key, std::int64_t{number}); }
    Json& Add(const char* key, std::size_t n) { return Add(key, static_cast<std::int64_t>(n)); }
    Json& Add(const char* key, bool value) { return AddRaw(key, value ? "true" : "false"); }
    Json& Add(const char* key, const std::vector<std::string>& texts);
    // Rounded to three decimal places.
    Json& Add(const char* key, double number) {
        char text[64];
        std::snprintf(text, sizeof text, "%.3f", number);
        return AddRaw(key, text);
    }
    // Writes the object and a line end to standard output.
    void Print() const { std::printf("{%s}\n", Body.c_str()); }

private:
    Json& AddRaw(const char* key, const std::string& value) {
        Body += (Body.empty() ? "" : ",") + Quoted(key) + ":" + value;
        return *this;
    }
    static std::string Quoted(const std::string& text);

    std::string Body;
};

} // namespace zorhost
