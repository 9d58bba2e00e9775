// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The library's resources, made from the files in resources/: its strings and dialogs. Their
// address is the library's module handle.
#include "engine/library_instance.h"
#include "platform/api/clock.h"
#include "platform/ui/template.h"

// A program that links the library's parts statically refers to this name, so that the linker keeps
// this file.
// clang-format off
extern "C" __attribute__((visibility("hidden"))) const ui::Resources ZorResources = {
    {
#define STRING(id, text) {id, text},
#include "resources/strings.inc"
    },
    {
// As the resource compiler does, every control is visible unless it is HIDDEN.
#define DIALOG(id, caption, style, x, y, w, h, points, font) {id, caption, x, y, w, h, {
#define ITEM(text, id, class, style, x, y, w, h) {text, id, class, (style) | WS_VISIBLE, x, y, w, h},
#define HIDDEN(text, id, class, style, x, y, w, h) {text, id, class, style, x, y, w, h},
#define END_DIALOG }},
#include "resources/midi_setup.inc"
#include "resources/tonequill.inc"
    }};
// clang-format on

namespace {

const class Attachment {
public:
    Attachment() {
        ModuleInstance = reinterpret_cast<HINSTANCE>(const_cast<ui::Resources*>(&ZorResources));
    }
    ~Attachment() { device::WaitForActions(); }
} attachment;

} // namespace
