// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Help texts, the manual page and shell completion, all generated from the declarations of the
// commands.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
} // namespace CLI

namespace zorhost {

// Formats --help of every command, wrapped to the width of the terminal.
std::shared_ptr<CLI::FormatterBase> HelpFormat();

// Returns the manual page of the program and all its commands, in troff.
std::string ManualPage(const CLI::App& app);

// Lists the port names that can follow an option such as "--in".
using PortLister = std::function<std::vector<std::string>(const std::string& option)>;

// Returns what the last of the words can be completed to: commands, options or ports; nothing where
// a file is expected. Calls listPorts only if a port is expected.
std::vector<std::string> Completions(const CLI::App& app, const std::vector<std::string>& words,
                                     const PortLister& listPorts);

// Returns the known word with the fewest differences from the typed one; empty if none is similar.
std::string Nearest(const std::string& typed, const std::vector<std::string>& known);

// Returns the command of that name, or null.
const CLI::App* FindCommand(const CLI::App& app, const std::string& name);
std::vector<std::string> CommandNames(const CLI::App& app);
// Returns the long names of a command's options, as "--name".
std::vector<std::string> OptionNames(const CLI::App& app);

} // namespace zorhost
