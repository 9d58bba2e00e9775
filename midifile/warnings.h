// What a MIDI file has that it should not have, and what was done about it.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace midifile {

// Why a file cannot be read, as text that goes on after its name: "is not a MIDI file".
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Gathers one line for each kind of fault, with the place of the first and the count of all.
class Findings {
public:
    // strict: the first finding is thrown as an Error.
    explicit Findings(bool strict) : Strict(strict) {}

    // what: the kind, "bytes that fit nowhere are left out"; place: "track 2", may be empty; byte:
    // counted in the file, 0 for none.
    void Add(const std::string& what, const std::string& place = {}, std::size_t byte = 0);
    std::vector<std::string> Lines() const;

private:
    struct Kind {
        std::string What;
        std::string FirstPlace;
        std::size_t Count;
    };
    bool Strict;
    std::vector<Kind> Kinds;
};

} // namespace midifile
