// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Part of every back end: the version of the library that it was built with. The registry refuses
// another one, which an upgrade can put in place while a host runs, since their C++ interface may
// differ.
extern "C" __attribute__((visibility("default"))) const char ZorBackEndVersion[] = ZOR_VERSION_TEXT;
