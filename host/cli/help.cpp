// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/cli/help.h"

#include "host/terminal/terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <numeric>

namespace zorhost {

namespace {

constexpr int TextColumn = 24;      // where the descriptions of options begin
constexpr int MaxColumns = 100;     // longer lines are hard to read
constexpr int NarrowColumns = 60;   // below this width, descriptions begin further left
constexpr int NarrowTextColumn = 6; // at this column

// A command, argument or option with its description.
struct Entry {
    std::string Name;
    std::string Text;
};

// The help of one command.
struct Page {
    std::string Usage;
    std::string About;
    std::vector<Entry> Arguments;
    std::vector<Entry> Options;
    std::vector<Entry> Commands;
    std::string Footer;
};

// Options without a group are hidden.
std::vector<const CLI::Option*> ShownOptions(const CLI::App& app) {
    std::vector<const CLI::Option*> shown;
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_group().empty()) shown.push_back(option);
    }
    return shown;
}

// Returns "-o, --out".
std::string OptionLabel(const CLI::Option& option) {
    std::string names;
    for (const std::string& name : option.get_snames()) names += "-" + name + ", ";
    for (const std::string& name : option.get_lnames()) names += "--" + name + ", ";
    return names.substr(0, names.size() - 2);
}

// The text gets the limits, the default and the excluded options from the declaration.
Entry MakeEntry(const CLI::Option& option) {
    Entry entry{option.get_positional() ? option.get_name() : OptionLabel(option),
                option.get_description()};
    const std::string type = option.get_type_name(); // "PERCENT:[5 to 5000]", "IN:OUT"
    const std::size_t end = type.find(":[");
    const std::string value = type.substr(0, end);
    std::string limits = end == std::string::npos ? "" : type.substr(end + 2);
    if (!limits.empty()) limits.pop_back();
    if (!option.get_positional() && !value.empty()) entry.Name += " " + value;
    if (!option.get_default_str().empty())
        limits += (limits.empty() ? "" : ", ") + ("default " + option.get_default_str());
    if (!limits.empty()) entry.Text += " (" + limits + ")";
    std::string others;
    for (const CLI::Option* other : option.get_excludes())
        others += (others.empty() ? "" : ", ") + OptionLabel(*other);
    if (!others.empty()) entry.Text += ". Cannot be combined with " + others;
    return entry;
}

Page MakePage(const CLI::App& app, const std::string& name) {
    Page page{name, app.get_description(), {}, {}, {}, app.get_footer()};
    for (const CLI::App* command : app.get_subcommands({}))
        page.Commands.push_back({command->get_name(), command->get_description()});
    if (!page.Commands.empty()) page.Usage += " COMMAND";
    for (const CLI::Option* option : ShownOptions(app)) {
        (option->get_positional() ? page.Arguments : page.Options).push_back(MakeEntry(*option));
        if (option->get_positional()) page.Usage += " " + option->get_name();
    }
    page.Usage += " [OPTIONS]";
    return page;
}

// Formats a section of the help: names on the left, texts wrapped beside them.
std::string Rendered(const std::string& title, const std::vector<Entry>& entries, int width) {
    std::string text = entries.empty() ? "" : "\n" + title + (title.empty() ? "" : "\n");
    const int column = width < NarrowColumns ? NarrowTextColumn : TextColumn;
    for (const Entry& entry : entries) {
        std::string line = "  " + entry.Name;
        const auto used = static_cast<int>(line.size());
        line += used + 2 > column ? "\n" + std::string(static_cast<std::size_t>(column), ' ')
                                  : std::string(static_cast<std::size_t>(column - used), ' ');
        text += line + Wrapped(entry.Text, width, column, column) + "\n";
    }
    return text;
}

// Replaces the layout of the parser's own help.
class Format : public CLI::FormatterBase {
public:
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode) const override {
        const int width = std::min(TerminalWidth(), MaxColumns);
        std::string path = app->get_name();
        for (const CLI::App* parent = app->get_parent(); parent; parent = parent->get_parent())
            path = parent->get_name() + " " + path;
        const Page page = MakePage(*app, app->get_parent() ? path : name.empty() ? path : name);
        return Wrapped("Usage: " + page.Usage, width, 7) + "\n\n" + Wrapped(page.About, width) +
               "\n" + Rendered("", page.Arguments, width) +
               Rendered("Commands", page.Commands, width) +
               Rendered("Options", page.Options, width) +
               (page.Footer.empty() ? "" : "\n" + Wrapped(page.Footer, width) + "\n");
    }
};

// Escapes text for troff; blank lines begin paragraphs, other line ends break the line.
std::string Troff(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool begins = i == 0 || text[i - 1] == '\n';
        switch (text[i]) {
        case '\\':
            out += "\\e";
            break;
        case '-':
            out += "\\-";
            break;
        case '\n':
            out += begins ? ".PP\n" : text.substr(i, 2) == "\n\n" ? "\n" : "\n.br\n";
            break;
        default:
            out += (begins && text[i] == '.' ? "\\&" : "") + std::string(1, text[i]);
        }
    }
    return out;
}

std::string TroffEntries(const std::vector<Entry>& entries) {
    std::string text;
    for (const Entry& entry : entries)
        text += ".TP\n.B " + Troff(entry.Name) + "\n" + Troff(entry.Text) + "\n";
    return text;
}

// Formats a command and its subcommands as subsections of the manual page.
std::string TroffCommand(const CLI::App& app, const std::string& name) {
    const Page page = MakePage(app, name);
    std::string text = ".SS \"" + Troff(page.Usage) + "\"\n" + Troff(page.About) + "\n" +
                       TroffEntries(page.Arguments) + TroffEntries(page.Options);
    if (!page.Footer.empty()) text += ".PP\n" + Troff(page.Footer) + "\n";
    for (const CLI::App* command : app.get_subcommands({}))
        text += TroffCommand(*command, name + " " + command->get_name());
    return text;
}

// Returns how many letters must be changed, inserted or removed to make one text the other.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

std::shared_ptr<CLI::FormatterBase> HelpFormat() { return std::make_shared<Format>(); }

std::string ManualPage(const CLI::App& app) {
    const Page page = MakePage(app, app.get_name());
    std::string text = ".TH ZORHOST 1\n.SH NAME\nzorhost \\- play, record and monitor MIDI, detect "
                       "notes in sound\n"
                       ".SH SYNOPSIS\n.B " +
                       Troff(page.Usage) + "\n.SH DESCRIPTION\n" + Troff(page.About) +
                       "\n.SH OPTIONS\n" + TroffEntries(page.Options) + ".SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands({}))
        text += TroffCommand(*command, app.get_name() + " " + command->get_name());
    return text + ".SH EXIT STATUS\n" + Troff(page.Footer) + "\n";
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    const auto commands = app.get_subcommands({});
    const auto found = std::ranges::find(commands, name, &CLI::App::get_name);
    return found == commands.end() ? nullptr : *found;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : ShownOptions(app)) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

std::vector<std::string> Completions(const CLI::App& app, const std::vector<std::string>& words,
                                     const PortLister& listPorts) {
    if (words.empty()) return CommandNames(app);
    const CLI::App* command = &app;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (const CLI::App* subcommand = FindCommand(*command, words[i])) command = subcommand;
    }
    const std::string& prefix = words.back();
    const std::string previous = words.size() > 1 ? words[words.size() - 2] : "";
    const CLI::Option* option =
        previous.starts_with("--") ? command->get_option_no_throw(previous) : nullptr;
    std::vector<std::string> all =
        prefix.starts_with('-') ? OptionNames(*command) : CommandNames(*command);
    if (option && !option->get_type_name().empty())
        all = option->get_type_name() == "PORT" ? listPorts(previous) : std::vector<std::string>{};
    std::erase_if(all, [&](const std::string& name) { return !name.starts_with(prefix); });
    return all;
}

std::string Nearest(const std::string& typed, const std::vector<std::string>& known) {
    std::string best;
    std::size_t least = 1 + typed.size() / 3; // more differences are not similar
    for (const std::string& name : known) {
        const std::size_t distance = Distance(typed, name);
        if (distance > least || (distance == least && !best.empty())) continue;
        best = name;
        least = distance;
    }
    return best;
}

} // namespace zorhost
