// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/cli/command_line.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>

namespace zorhost {

namespace {

// Formats a number without trailing zeros.
std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

CLI::Validator WholeNumber() {
    const auto error = [](const std::string& text) {
        return text.find_first_not_of("+-0123456789") == std::string::npos
                   ? ""
                   : "\"" + text + "\" is not a whole number";
    };
    return {error, "", ""};
}

// shown: how the help shows the limits.
CLI::Validator Between(double least, double most, const std::string& shown) {
    const auto error = [=](const std::string& text) -> std::string {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (*end == '\0' && value >= least && value <= most) return "";
        return "\"" + text + "\" is not a number from " + Number(least) + " to " + Number(most);
    };
    return {error, shown, ""};
}

} // namespace

Option Option::Required() const { return Option(Handle->required()); }

Option Option::ValueName(const char* name) const { return Option(Handle->type_name(name)); }

Option Option::Range(double least, double most) const {
    return Option(
        Handle->check(Between(least, most, "[" + Number(least) + " to " + Number(most) + "]")));
}

Option Option::HiddenRange(double least, double most) const {
    return Option(Handle->check(Between(least, most, "")));
}

Option Option::ShowDefault() const { return Option(Handle->capture_default_str()); }

Option Option::ValueCount(int least, int most) const {
    return Option(Handle->expected(least, most));
}

Option Option::CommaSeparated() const {
    return Option(Handle->allow_extra_args(false)->delimiter(','));
}

Option Option::Repeatable() const { return Option(Handle->allow_extra_args(false)); }

Option Option::Needs(const Option& other) const { return Option(Handle->needs(other.Handle)); }

Option Option::Excludes(const Option& other) const {
    return Option(Handle->excludes(other.Handle));
}

bool Option::IsGiven() const { return Handle->count() > 0; }

Command Command::AddCommand(const char* name, const char* about) const {
    return Command(Handle->add_subcommand(name, about));
}

void Command::RequireCommand() const { Handle->require_subcommand(1); }

Option Command::Value(const char* names, std::string& value, const std::string& help) const {
    return Option(Handle->add_option(names, value, help));
}

Option Command::Value(const char* names, Texts& values, const std::string& help) const {
    return Option(Handle->add_option(names, values, help));
}

Option Command::Value(const char* names, int& value, const std::string& help) const {
    return Option(Handle->add_option(names, value, help)->check(WholeNumber()));
}

Option Command::Value(const char* names, double& value, const std::string& help) const {
    return Option(Handle->add_option(names, value, help));
}

Option Command::Flag(const char* names, bool& value, const std::string& help) const {
    return Option(Handle->add_flag(names, value, help));
}

void Command::Footer(const char* text) const { Handle->footer(text); }

void Command::OnRun(std::function<void()> run) const { Handle->callback(std::move(run)); }

} // namespace zorhost
