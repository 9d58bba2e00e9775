#include "host/cli/command_line.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>

namespace zorhost {

namespace {

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

CLI::Validator Whole() {
    const auto wrong = [](const std::string& text) {
        return text.find_first_not_of("+-0123456789") == std::string::npos
                   ? ""
                   : "\"" + text + "\" is not a whole number";
    };
    return {wrong, "", ""};
}

CLI::Validator Between(double least, double most, const std::string& told) {
    const auto wrong = [=](const std::string& text) -> std::string {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (*end == '\0' && value >= least && value <= most) return "";
        return "\"" + text + "\" is not a number from " + Number(least) + " to " + Number(most);
    };
    return {wrong, told, ""};
}

} // namespace

Option Option::Required() const { return Option(Of->required()); }

Option Option::Named(const char* value) const { return Option(Of->type_name(value)); }

Option Option::Within(double least, double most) const {
    return Option(
        Of->check(Between(least, most, "[" + Number(least) + " to " + Number(most) + "]")));
}

Option Option::Sensible(double least, double most) const {
    return Option(Of->check(Between(least, most, "")));
}

Option Option::WithDefault() const { return Option(Of->capture_default_str()); }

Option Option::Values(int least, int most) const { return Option(Of->expected(least, most)); }

Option Option::Listed() const { return Option(Of->allow_extra_args(false)->delimiter(',')); }

Option Option::Repeated() const { return Option(Of->allow_extra_args(false)); }

Option Option::Needs(const Option& other) const { return Option(Of->needs(other.Of)); }

Option Option::Excludes(const Option& other) const { return Option(Of->excludes(other.Of)); }

bool Option::Given() const { return Of->count() > 0; }

Command Command::Add(const char* name, const char* about) const {
    return Command(Of->add_subcommand(name, about));
}

void Command::NeedsCommand() const { Of->require_subcommand(1); }

Option Command::Value(const char* names, std::string& value, const std::string& help) const {
    return Option(Of->add_option(names, value, help));
}

Option Command::Value(const char* names, Texts& values, const std::string& help) const {
    return Option(Of->add_option(names, values, help));
}

Option Command::Value(const char* names, int& value, const std::string& help) const {
    return Option(Of->add_option(names, value, help)->check(Whole()));
}

Option Command::Value(const char* names, double& value, const std::string& help) const {
    return Option(Of->add_option(names, value, help));
}

Option Command::Flag(const char* names, bool& value, const std::string& help) const {
    return Option(Of->add_flag(names, value, help));
}

void Command::Footer(const char* text) const { Of->footer(text); }

void Command::Does(std::function<void()> work) const { Of->callback(std::move(work)); }

} // namespace zorhost
