#include "host/song_edit.h"

#include "host/host_error.h"

#include <charconv>
#include <set>

namespace zorhost {

namespace {

using midifile::Event;

constexpr int Drums = 9; // their channel, from 0

// Channels from 0, and tracks behind them.
class Parts {
public:
    Parts(const char* option, const std::vector<std::string>& words, std::size_t tracks) {
        for (const std::string& word : words) {
            const bool track = word.starts_with('t');
            const std::size_t most = track ? tracks : 16;
            std::size_t number = 0;
            const char* const end = word.data() + word.size();
            const auto [stop, error] = std::from_chars(word.data() + (track ? 1 : 0), end, number);
            if (error != std::errc() || stop != end || number < 1 || number > most) {
                throw HostError(std::string(option) +
                                    " takes channels from 1 to 16 and tracks "
                                    "from t1 to t" +
                                    std::to_string(tracks) + ", not \"" + word + "\"",
                                ExitWrongUse);
            }
            (track ? Tracks : Channels).insert(number - 1);
        }
    }
    bool Has(const Event& event) const {
        return Channels.contains(event.Status & 15u) || Tracks.contains(event.Track);
    }

private:
    std::set<std::size_t> Channels;
    std::set<std::size_t> Tracks;
};

bool IsNote(const Event& event) { return event.Status < 0xB0 && (event.Status & 15) != Drums; }

} // namespace

int Apply(const SongEdit& edit, midifile::Song& song) {
    const Parts solo("--solo", edit.Solo, song.Tracks.size());
    const Parts mute("--mute", edit.Mute, song.Tracks.size());
    std::erase_if(song.Events, [&](const Event& event) {
        return (!edit.Solo.empty() && !solo.Has(event)) || mute.Has(event);
    });
    int lost = 0;
    std::erase_if(song.Events, [&](Event& event) {
        if (!IsNote(event)) return false;
        const int key = event.Data1 + edit.Transpose;
        if (key >= 0 && key <= 127) {
            event.Data1 = static_cast<std::uint8_t>(key);
            return false;
        }
        if ((event.Status & 0xF0) == 0x90 && event.Data2 > 0) ++lost;
        return true;
    });
    return lost;
}

} // namespace zorhost
