// The notes that have been struck and not released, by channel.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

namespace machine {

// Real time.
class SoundingNotes {
public:
    void Follow(std::uint32_t message) {
        const std::uint32_t type = message & 0xF0;
        const std::size_t place = (message & 0x0F) * Notes + (message >> 8 & 0x7F);
        if (type == 0x90) Sounding.set(place, message >> 16 != 0);
        if (type == 0x80) Sounding.reset(place);
    }
    void Forget() { Sounding.reset(); }

    // Hands the note off of each to send, and forgets it.
    template <class Send>
    void Release(Send send) {
        for (std::uint32_t place = 0; Sounding.any() && place < Sounding.size(); ++place) {
            if (!Sounding[place]) continue;
            Sounding.reset(place);
            send(0x80u | place / Notes | (place % Notes) << 8);
        }
    }

private:
    static constexpr std::uint32_t Notes = 128;
    std::bitset<16 * Notes> Sounding;
};

} // namespace machine
