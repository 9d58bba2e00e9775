// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Both dialogs with any user actions and any messages, while devices are plugged and unplugged.
#include "engine/driver_table.h"
#include "fuzz/fuzz.h"
#include "mme/setup_dialog.h"
#include "setup/tonequill.h"
#include "tests/support/dialog_user.h"

#include <iterator>

namespace {

constexpr int Ids[] = {IDOK, IDCANCEL, 4, 6, 8, 9, 11, 12, 27, 28, 100, 101, 174, 201, 32000};

int Id(Bytes& bytes) {
    const std::uint8_t choice = bytes.Byte();
    if (choice < std::size(Ids)) return Ids[choice];
    return choice < 128 ? 10 + choice % 60 : bytes.Word();
}

// Sends a message such as any program may send to a dialog procedure.
void Message(DialogUser& user, Bytes& bytes) {
    static constexpr UINT messages[] = {WM_COMMAND, WM_TIMER, WM_VSCROLL, WM_INITDIALOG, WM_USER};
    const UINT message = messages[bytes.Below(5)];
    const auto first = static_cast<WPARAM>(Id(bytes)) | WPARAM{bytes.Word()} << 16;
    const HWND child = GetDlgItem(user.Handle(), Id(bytes));
    SendMessageA(user.Handle(), message, first, reinterpret_cast<LPARAM>(child));
}

void Replug(Bytes& bytes) {
    switch (bytes.Below(4)) {
    case 0:
        return machine::UnplugMidiOutput("B");
    case 1:
        return static_cast<void>(machine::AddMidiOutput("B"));
    case 2:
        return machine::UnplugMidiInput("A");
    default:
        machine::AddMidiInput("A");
    }
}

void Act(DialogUser& user, Bytes& bytes) {
    switch (bytes.Below(8)) {
    case 0:
        user.Click(Id(bytes));
        return;
    case 1:
        user.Type(Id(bytes), std::string(bytes.Read(bytes.Below(12))));
        return;
    case 2:
        user.Select(Id(bytes), static_cast<int>(bytes.Below(6)) - 1);
        return;
    case 3:
        user.Slide(Id(bytes), bytes.Byte());
        return;
    case 4:
        return user.Wait(bytes.Byte());
    case 5:
        return Replug(bytes);
    default:
        Message(user, bytes);
    }
}

void CheckClosed() {
    Check(machine::OpenMidiInputs() + machine::OpenMidiOutputs() == 0, "ports are closed");
    Check(machine::OpenWaveIns() + machine::OpenMixers() == 0, "the microphone is closed");
    Check(machine::PreparedWaveHeaders() == 0 && machine::PendingTimers().empty(), "none is left");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const std::uint8_t flags = bytes.Byte();
    FreshMachine("[MMEDRVR]\nInName1=A\nOutName1=B\n");
    for (const char* name : {"A", "C"}) machine::AddMidiInput(name);
    for (const char* name : {"B", "C"}) machine::AddMidiOutput(name);
    machine::AddMicrophone({"Desk"});
    if (flags & 1) MIDISysInit(0);
    if (flags & 2) ZorStartMIDI(1);
    ScriptDialogs([&](DialogUser& user) {
        while (bytes.Any() && !user.Ended()) Act(user, bytes);
    });
    while (bytes.Any()) ZorConfigMIDIDriver(nullptr, bytes.Byte() & 1 ? PRecRow : MMERow);
    ScriptDialogs(nullptr);
    ZorStopMIDI();
    MIDISysTerm();
    MIDISysInit(0); // closes what an unplugged device has kept open
    MIDISysTerm();
    machine::Advance(1);
    CheckClosed();
    return 0;
}
