// What --help, the manual page and the shell's completion say, from one source: the declarations of
// the commands.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
} // namespace CLI

namespace zorhost {

// Wrapped to the terminal; for every command of the app.
std::shared_ptr<CLI::FormatterBase> HelpFormat();

// The manual page of the app and all its commands, in troff.
std::string ManualPage(const CLI::App& app);

// What the last of the words could become: commands, options, or ports; nothing where a file is
// wanted.
std::vector<std::string> Completions(const CLI::App& app, const std::vector<std::string>& words);

// The nearest of what there is to what was typed; empty if nothing is near.
std::string Nearest(const std::string& typed, const std::vector<std::string>& known);

// Null if there is none of that name.
const CLI::App* CommandNamed(const CLI::App& app, const std::string& name);
std::vector<std::string> CommandNames(const CLI::App& app);
std::vector<std::string> OptionNames(const CLI::App& app);

} // namespace zorhost
