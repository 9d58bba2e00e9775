// Long random streams of records against a second, simpler account of what the devices must get.
#include "mme_test.h"

#include <map>
#include <random>

namespace {

// One output port. It keeps its notes in a map and looks at a whole message at a time.
class PortModel {
public:
    PortModel(int device, int base, bool match) : device_(device), base_(base), match_(match) {}

    void Take(const MIDIEvent& event, Lines& out) {
        if (event.Status >= 0xF0) {
            if (event.Channel < 0 || Has(event.Channel))
                out.push_back(Line(device_, event.Status, event.Data1, event.Data2));
        } else if (event.Channel < 0) {
            for (int channel = 0; channel < 16; ++channel) Channel(channel, event, out);
        } else if (Has(event.Channel)) {
            Channel(event.Channel - base_, event, out);
        }
    }

    void Silence(Lines& out) {
        const std::map<std::pair<int, int>, int> held = sounding_;
        for (const auto& [key, count] : held)
            for (int i = 0; i < count; ++i) Channel(key.first, Event(0, 0x80, key.second, 0), out);
    }

private:
    bool Has(int channel) const { return channel >= base_ && channel < base_ + 16; }

    void Channel(int channel, const MIDIEvent& event, Lines& out) {
        const int kind = event.Status >> 4;
        const bool on = kind == 9 && event.Data2 > 0;
        const bool off = kind == 8 || (kind == 9 && event.Data2 == 0);
        int sendKind = kind, velocity = event.Data2;
        // Where the port stands on the other of the two note messages of this channel, a message
        // that ends a note is written as that.
        if (off && lastChannel_ == channel && kind + lastKind_ == 8 + 9) {
            sendKind = lastKind_;
            velocity = 0;
        }
        lastKind_ = sendKind;
        lastChannel_ = channel;
        if ((on && !Begin(channel, event.Data1)) || (off && !End(channel, event.Data1))) return;
        out.push_back(Line(device_, sendKind << 4 | channel, event.Data1, velocity));
    }

    bool Begin(int channel, int note) {
        int& count = sounding_[{channel, note}];
        if (count >= 127) return false;
        ++count;
        return true;
    }
    bool End(int channel, int note) {
        const auto found = sounding_.find({channel, note});
        if (found == sounding_.end()) return false;
        const bool last = --found->second == 0;
        if (last) sounding_.erase(found);
        return last || match_;
    }

    int device_, base_;
    bool match_;
    int lastKind_ = 0, lastChannel_ = 0;
    std::map<std::pair<int, int>, int> sounding_;
};

class Stream {
public:
    explicit Stream(unsigned seed) : random_(seed) {}
    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    MIDIEvent Next(int keys) {
        const int kinds[] = {0x80, 0x80, 0x80, 0x90, 0x90, 0x90, 0x90,
                             0xA0, 0xB0, 0xC0, 0xD0, 0xE0, 0xF2, 0xF8};
        const int status = kinds[Below(14)] + (Below(4) == 0 ? Below(8) : 0);
        const int velocity = Below(3) == 0 ? 0 : Below(128);
        const int channel = Below(200) == 0 ? -1 - Below(3) : Below(60);
        return Event(channel, status, Below(keys), velocity);
    }

private:
    std::mt19937 random_;
};

TEST_F(MmeTest, DevicesGetWhatTheModelSays) {
    const struct {
        std::vector<int> Bases;
        int Keys;   // few make counts climb
        int Events; // between two checks
    } cases[] = {{{0}, 128, 40000},
                 {{0, 16, 32, 48}, 128, 40000},
                 {{0, 8, 4, 44}, 2, 40000},
                 {{3}, 1, 60000}};
    unsigned seed = 1;
    for (const auto& test : cases)
        for (const bool match : {true, false}) {
            SCOPED_TRACE(++seed);
            Restart();
            OpenOutputs(test.Bases);
            std::vector<PortModel> model;
            for (int row = 0; row < static_cast<int>(test.Bases.size()); ++row) {
                OutPorts[row].OutMatch = match != (row == 1); // one port the other way
                model.emplace_back(row, test.Bases[static_cast<std::size_t>(row)],
                                   OutPorts[row].OutMatch != 0);
            }
            Stream stream(seed);
            Lines expected;
            for (int i = 0; i < test.Events; ++i) {
                const MIDIEvent event = stream.Next(test.Keys);
                ASSERT_TRUE(MMEXmit(&event));
                for (PortModel& port : model) port.Take(event, expected);
                if (stream.Below(5000) != 0) continue;
                ASSERT_TRUE(MMESilence());
                for (PortModel& port : model) port.Silence(expected);
                ASSERT_EQ(Sent(), expected) << "up to record " << i;
                expected.clear();
            }
            ASSERT_EQ(Sent(), expected);
        }
}

} // namespace
