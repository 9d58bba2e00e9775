// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Replaces the error handlers of the C++ runtime by abort. The originals print to the host's
// standard error first, and linking them would double the size of the library.
#include <cstdlib>
#include <exception>

namespace __gnu_cxx {
void __verbose_terminate_handler() { std::abort(); }
} // namespace __gnu_cxx

namespace std {
void __throw_length_error(const char*) { abort(); }
} // namespace std
