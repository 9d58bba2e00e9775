#include "host/setup_form.h"

#include "host/host_error.h"

#include <charconv>
#include <functional>
#include <optional>

namespace zorhost {

namespace {

using machine::DialogUser;

constexpr int Ports = 8;

// A control, or a group of them, and the key of its setting.
struct Field {
    enum class Kind { Choice, Text, Flag, OneOf, Channel, Level };
    std::string Key;
    Kind What;
    int Control;
};

// Controls of both dialogs, as their templates number them.
constexpr int InDevice = 10, InBase = 20, SyncChoice = 30, OutDevice = 50, OutBase = 60;
constexpr int ResetOutputs = 174, Advanced = 201;
constexpr int LevelSlider = 4, ChannelField = 8, MicThru = 9, DeviceList = 11, EnableBox = 12;
constexpr int FullLevel = 100; // of the slider, whose top is 0

std::vector<Field> FieldsOf(SetupDialog dialog) {
    using enum Field::Kind;
    if (dialog == SetupDialog::Microphone)
        return {{"EnablePitchRec", Flag, EnableBox},
                {"Channel", Channel, ChannelField},
                {"MicSource", Choice, DeviceList},
                {"MicLevel", Level, LevelSlider},
                {"MicThru", Flag, MicThru}};
    std::vector<Field> fields;
    for (int row = 0; row < Ports; ++row) {
        const std::string n = std::to_string(row + 1);
        fields.push_back({"InName" + n, Choice, InDevice + row});
        fields.push_back({"InBase" + n, Text, InBase + row});
    }
    for (int row = 0; row < Ports; ++row) {
        const std::string n = std::to_string(row + 1);
        fields.push_back({"OutName" + n, Choice, OutDevice + row});
        fields.push_back({"OutBase" + n, Text, OutBase + row});
    }
    fields.push_back({"MidiOutReset", Flag, ResetOutputs});
    fields.push_back({"SyncMaster", OneOf, SyncChoice});
    return fields;
}

// The large layout has everything.
void ShowAll(SetupDialog dialog, DialogUser& user) {
    if (dialog == SetupDialog::Midi && !user.Shown(ResetOutputs)) user.Click(Advanced);
}

std::optional<int> Number(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

int CheckedOf(const DialogUser& user, int first) {
    for (int row = 0; row < Ports; ++row)
        if (user.Checked(first + row)) return row;
    return 0;
}

std::string ValueOf(const DialogUser& user, const Field& field) {
    switch (field.What) {
    case Field::Kind::Flag:
        return user.Checked(field.Control) ? "1" : "0";
    case Field::Kind::OneOf:
        return std::to_string(CheckedOf(user, field.Control));
    case Field::Kind::Level:
        return std::to_string(FullLevel - user.Position(field.Control));
    case Field::Kind::Channel: // counted from 0 in the file, from 1 in the dialog
        return std::to_string(Number(user.Text(field.Control)).value_or(0) - 1);
    default:
        return user.Text(field.Control);
    }
}

int WithinOr(const Setting& setting, int last) {
    const std::optional<int> number = Number(setting.Value);
    if (!number || *number < 0 || *number > last)
        throw HostError(setting.Key + " takes a number from 0 to " + std::to_string(last) +
                            ", not '" + setting.Value + "'",
                        ExitWrongUse);
    return *number;
}

void Choose(DialogUser& user, const Field& field, const Setting& setting) {
    if (user.Select(field.Control, setting.Value)) return;
    std::string text = setting.Key + " cannot be '" + setting.Value + "'. There is:";
    for (const std::string& entry : user.Items(field.Control)) text += "\n  " + entry;
    throw HostError(text);
}

void SetFlag(DialogUser& user, const Field& field, const Setting& setting) {
    const bool wanted = WithinOr(setting, 1) == 1;
    if (user.Checked(field.Control) != wanted) user.Click(field.Control);
}

void TypeChannel(DialogUser& user, const Field& field, const Setting& setting) {
    const std::optional<int> number = Number(setting.Value);
    user.Type(field.Control, number ? std::to_string(*number + 1) : setting.Value);
}

void Make(DialogUser& user, const Field& field, const Setting& setting) {
    switch (field.What) {
    case Field::Kind::Choice:
        return Choose(user, field, setting);
    case Field::Kind::Flag:
        return SetFlag(user, field, setting);
    case Field::Kind::Text:
        user.Type(field.Control, setting.Value);
        return;
    case Field::Kind::Channel:
        return TypeChannel(user, field, setting);
    case Field::Kind::OneOf:
        user.Click(field.Control + WithinOr(setting, Ports - 1));
        return;
    case Field::Kind::Level:
        user.Slide(field.Control, FullLevel - WithinOr(setting, FullLevel));
        return;
    }
}

} // namespace

Setting ParseSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw HostError("'" + text + "' is not KEY=VALUE", ExitWrongUse);
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::vector<Setting> ReadSettings(SetupDialog dialog, DialogUser& user) {
    std::vector<Setting> settings;
    for (const Field& field : FieldsOf(dialog))
        settings.push_back({field.Key, ValueOf(user, field)});
    return settings;
}

std::vector<Choices> ReadChoices(SetupDialog dialog, DialogUser& user) {
    if (dialog == SetupDialog::Microphone) return {{"MicSource", user.Items(DeviceList)}};
    return {{"InName1 to InName8", user.Items(InDevice)},
            {"OutName1 to OutName8", user.Items(OutDevice)}};
}

void MakeSetting(SetupDialog dialog, DialogUser& user, const Setting& setting) {
    ShowAll(dialog, user);
    std::string keys;
    for (const Field& field : FieldsOf(dialog)) {
        if (field.Key == setting.Key) return Make(user, field, setting);
        keys += (keys.empty() ? "" : " ") + field.Key;
    }
    throw HostError("there is no setting '" + setting.Key + "' here. There is: " + keys,
                    ExitWrongUse);
}

} // namespace zorhost
