// The tables that the stand-in has of the library's resources against what the resource compiler
// makes of the same files for the DLL.
#include "platform/resource_tables.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int StringTable = 6, DialogResource = 5; // types of resources

// Reads a compiled resource: little-endian words, texts of 16-bit characters.
class Reader {
public:
    explicit Reader(std::vector<unsigned char> bytes) : Bytes(std::move(bytes)) {}
    bool AtEnd() const { return At >= Bytes.size(); }
    unsigned Word() {
        if (At + 2 > Bytes.size()) throw std::out_of_range("resource ends early");
        At += 2;
        return Bytes[At - 2] | static_cast<unsigned>(Bytes[At - 1]) << 8;
    }
    unsigned long Long() {
        const unsigned long low = Word();
        return low | static_cast<unsigned long>(Word()) << 16;
    }
    int Short() { return static_cast<std::int16_t>(Word()); }
    std::string Text() {
        std::string text;
        while (const unsigned c = Word()) text += static_cast<char>(c);
        return text;
    }
    // A number, told by 0xFFFF before it, or a text.
    std::string NameOrNumber() {
        const std::size_t start = At;
        if (Word() == 0xFFFF) return std::to_string(Word());
        At = start;
        return Text();
    }
    std::string Counted() {
        std::string text(Word(), '\0');
        for (char& c : text) c = static_cast<char>(Word());
        return text;
    }
    void Align() { At = (At + 3) & ~std::size_t{3}; }
    std::vector<unsigned char> Take(std::size_t count) {
        const auto from = Bytes.begin() + static_cast<std::ptrdiff_t>(At);
        At += count;
        return {from, from + static_cast<std::ptrdiff_t>(count)};
    }

private:
    std::vector<unsigned char> Bytes;
    std::size_t At = 0;
};

struct Compiled {
    std::map<unsigned, std::string> Strings;
    std::map<unsigned, std::vector<unsigned char>> Dialogs;
};

// Strings come in blocks of 16; an empty one is none.
void ReadStrings(Compiled& compiled, unsigned block, std::vector<unsigned char> bytes) {
    Reader reader(std::move(bytes));
    for (unsigned i = 0; i < 16; ++i)
        if (const std::string text = reader.Counted(); !text.empty())
            compiled.Strings[(block - 1) * 16 + i] = text;
}

Compiled ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Reader reader({std::istreambuf_iterator<char>(file), {}});
    Compiled compiled;
    while (!reader.AtEnd()) {
        const unsigned long size = reader.Long();
        reader.Long(); // of the header
        const std::string type = reader.NameOrNumber(), name = reader.NameOrNumber();
        reader.Align();
        for (int i = 0; i < 4; ++i) reader.Long(); // version, flags, language
        std::vector<unsigned char> bytes = reader.Take(size);
        reader.Align();
        if (type == std::to_string(StringTable))
            ReadStrings(compiled, static_cast<unsigned>(std::stoul(name)), std::move(bytes));
        if (type == std::to_string(DialogResource))
            compiled.Dialogs[static_cast<unsigned>(std::stoul(name))] = std::move(bytes);
    }
    return compiled;
}

void ExpectControl(Reader& reader, const ui::ControlTemplate& control) {
    SCOPED_TRACE(control.Id);
    reader.Align();
    EXPECT_EQ(reader.Long(), control.Style);
    EXPECT_EQ(reader.Long(), 0u); // extended style
    EXPECT_EQ(reader.Short(), control.X);
    EXPECT_EQ(reader.Short(), control.Y);
    EXPECT_EQ(reader.Short(), control.Width);
    EXPECT_EQ(reader.Short(), control.Height);
    EXPECT_EQ(reader.Short(), control.Id);
    // The system looks classes up without regard to case.
    EXPECT_STRCASEEQ(reader.NameOrNumber().c_str(), control.Class);
    EXPECT_EQ(reader.NameOrNumber(), control.Text);
    EXPECT_EQ(reader.Word(), 0u); // creation data
}

void ExpectDialog(Reader reader, const ui::DialogTemplate& dialog) {
    SCOPED_TRACE(dialog.Id);
    EXPECT_EQ(reader.Long(), dialog.Style);
    EXPECT_EQ(reader.Long(), 0u);
    ASSERT_EQ(reader.Word(), dialog.Controls.size());
    EXPECT_EQ(reader.Short(), dialog.X);
    EXPECT_EQ(reader.Short(), dialog.Y);
    EXPECT_EQ(reader.Short(), dialog.Width);
    EXPECT_EQ(reader.Short(), dialog.Height);
    EXPECT_EQ(reader.NameOrNumber(), ""); // menu
    EXPECT_EQ(reader.NameOrNumber(), ""); // class
    EXPECT_EQ(reader.Text(), dialog.Caption);
    EXPECT_EQ(reader.Short(), dialog.Points);
    EXPECT_EQ(reader.Text(), dialog.Font);
    for (const ui::ControlTemplate& control : dialog.Controls) ExpectControl(reader, control);
}

TEST(Resources, TheTablesAreWhatTheResourceCompilerMakes) {
    const Compiled compiled = ReadFile(ZOR_COMPILED_RESOURCES);
    std::map<unsigned, std::string> strings;
    for (const machine::StringResource& string : ModuleResources.Strings)
        strings[string.Id] = string.Text;
    EXPECT_EQ(compiled.Strings, strings);
    ASSERT_EQ(compiled.Dialogs.size(), ModuleResources.Dialogs.size());
    for (const ui::DialogTemplate& dialog : ModuleResources.Dialogs)
        ExpectDialog(Reader(compiled.Dialogs.at(static_cast<unsigned>(dialog.Id))), dialog);
}

} // namespace
