// How commands declare themselves and their options. Thin over the parser, whose header costs each
// file that includes it ten seconds of compiling: only command_line.cpp, help.cpp and main.cpp do.
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

// An option or argument while it is declared. A handle: it lives as long as its command line.
class Option {
public:
    explicit Option(CLI::Option* of) : Of(of) {}

    Option Required() const;
    // What its value is called in the help: FILE, N.
    Option Named(const char* value) const;
    // Other numbers are wrong use. The help tells the limits.
    Option Within(double least, double most) const;
    // The same where the limits only keep nonsense out, and the help is silent of them.
    Option Sensible(double least, double most) const;
    // The help tells the value that it has now.
    Option WithDefault() const;
    // How many values follow it, 0 included.
    Option Values(int least, int most) const;
    // One value each time it is given; in it, commas part several.
    Option Listed() const;
    // One value each time it is given, and it can be given again.
    Option Repeated() const;
    Option Needs(const Option& other) const;
    Option Excludes(const Option& other) const;

    // Once the command line is parsed.
    bool Given() const;

private:
    CLI::Option* Of;
};

// The program or one of its commands. A handle as well; what values are stored in must outlive the
// parsing.
class Command {
public:
    explicit Command(CLI::App* of) : Of(of) {}

    Command Add(const char* name, const char* about) const;
    // One of its own commands has to follow.
    void NeedsCommand() const;
    // Names: "--to", "-o,--out", or "FILE" for an argument.
    Option Value(const char* names, std::string& value, const std::string& help) const;
    Option Value(const char* names, Texts& values, const std::string& help) const;
    Option Value(const char* names, int& value, const std::string& help) const;
    Option Value(const char* names, double& value, const std::string& help) const;
    Option Flag(const char* names, bool& value, const std::string& help) const;
    // Below the options in the help.
    void Footer(const char* text) const;
    // What it does when it was chosen.
    void Does(std::function<void()> work) const;

private:
    CLI::App* Of;
};

} // namespace zorhost
