// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// How commands declare themselves and their options: a thin layer over the command-line parser. The
// parser's header adds ten seconds of compiling to each file that includes it, so only
// command_line.cpp, help.cpp and main.cpp do.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace zorhost {

using Texts = std::vector<std::string>;

// An option or positional argument. A handle, valid as long as its command line. Each setter
// returns the same option, so that calls can be chained.
class Option {
public:
    explicit Option(CLI::Option* handle) : Handle(handle) {}

    Option Required() const;
    // Sets the name of the value in the help: FILE, N.
    Option ValueName(const char* name) const;
    // Rejects numbers outside least to most. The help shows these limits.
    Option Range(double least, double most) const;
    // The same for limits that only reject nonsense. The help does not show them.
    Option HiddenRange(double least, double most) const;
    // Shows the value that the variable has now as the default in the help.
    Option ShowDefault() const;
    // How many values may follow the option; least may be 0.
    Option ValueCount(int least, int most) const;
    // Takes one value per use, split at commas.
    Option CommaSeparated() const;
    // Takes one value per use, and can be used several times.
    Option Repeatable() const;
    Option Needs(const Option& other) const;
    Option Excludes(const Option& other) const;

    // True if the user gave the option. Valid once the command line is parsed.
    bool IsGiven() const;

private:
    CLI::Option* Handle;
};

// The program or one of its commands. A handle like Option. The variables that receive values must
// outlive the parsing.
class Command {
public:
    explicit Command(CLI::App* handle) : Handle(handle) {}

    Command AddCommand(const char* name, const char* about) const;
    // Makes one of its subcommands mandatory.
    void RequireCommand() const;
    // Adds an option or argument. names: "--to", "-o,--out", or "FILE" for an argument.
    Option Value(const char* names, std::string& value, const std::string& help) const;
    Option Value(const char* names, Texts& values, const std::string& help) const;
    Option Value(const char* names, int& value, const std::string& help) const;
    Option Value(const char* names, double& value, const std::string& help) const;
    Option Flag(const char* names, bool& value, const std::string& help) const;
    // Sets the text below the options in the help.
    void Footer(const char* text) const;
    // Sets the function to run if the user chose this command. It is called after parsing.
    void OnRun(std::function<void()> run) const;

private:
    CLI::App* Handle;
};

} // namespace zorhost
