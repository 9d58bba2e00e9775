#include "tests/engine/rig.h"

namespace {

class Input : public EngineTest {
protected:
    Input() {
        ZorStartMIDI(1);
        drivers.TakeSent();
    }
    static bool Filed() {
        MIDIEvent event;
        const bool any = ZorRcv(&event, 0) != 0;
        while (ZorRcv(&event, 0)) {
        }
        return any;
    }
};

// Every status under masks of one bit, all bits and none, against the classes written out.
TEST_F(Input, FiltersByClass) {
    const auto blocked = [](unsigned status, unsigned mask, unsigned sysMask) {
        if (status < 0x80) return (mask & 0x8000) != 0;
        if (status < 0xF0) return (mask & 1u << (status / 16 - 8)) != 0;
        return (mask & 0x80) != 0 && (sysMask & 1u << (status - 0xF0)) != 0;
    };
    std::vector<unsigned> masks = {0, 0xFFFF, 0x7F7F};
    for (unsigned bit = 0; bit < 16; ++bit) masks.push_back(1u << bit);
    for (const unsigned mask : masks) {
        for (const unsigned sysMask : masks) {
            ZorFilterMIDI(static_cast<std::uint16_t>(mask), static_cast<std::uint16_t>(sysMask));
            for (unsigned status = 0; status < 256; ++status) {
                Receive(static_cast<std::uint8_t>(status));
                const bool expected = status != 0xFE && !blocked(status, mask, sysMask);
                ASSERT_EQ(Filed(), expected) << std::hex << status << ' ' << mask << ' ' << sysMask;
            }
        }
    }
}

TEST_F(Input, KeepsItsFilterWhenTheDriversOpenAnew) {
    ZorFilterMIDI(2, 0);
    ZorRestoreMIDI();
    ZorStartMIDI(0);
    Receive(0x90, 60, 1);
    EXPECT_FALSE(Filed());
}

TEST_F(Input, EchoesWhateverTheFilterSays) {
    std::uint8_t map[64];
    for (int i = 0; i < 64; ++i) map[i] = static_cast<std::uint8_t>(i == 7 ? 255 : 63 - i);
    struct Case {
        std::uint8_t status;
        std::int16_t channel, mapped, plain; // -9: not sent at all
    };
    const Case cases[] = {
        {0x90, 0, 63, 0},   {0xE0, 63, 0, 63},  {0x80, 7, 255, 7}, {0xB0, 64, 64, 64},
        {0xB0, 78, 78, 78}, {0xC0, -1, -1, -1}, {0xF2, 5, 5, 5},   {0xF8, 16, 16, 16},
        {0xFE, 0, -9, -9},  {0x00, 3, 60, 3},
    };
    for (const bool filtered : {false, true}) {
        ZorFilterMIDI(filtered ? 0xFFFF : 0, filtered ? 0xFFFF : 0);
        for (const bool withMap : {true, false}) {
            ZorEchoMIDI(1, withMap ? map : nullptr);
            for (const Case& c : cases) {
                SCOPED_TRACE(c.status);
                drivers.TakeSent();
                Receive(c.status, 1, 2, c.channel);
                const auto sent = drivers.TakeSent();
                const std::int16_t expected = withMap ? c.mapped : c.plain;
                ASSERT_EQ(sent.size(), expected == -9 ? 0u : 1u);
                for (const auto& record : sent) EXPECT_EQ(record.Event.Channel, expected);
                MIDIEvent event;
                const bool filed = ZorRcv(&event, 0) != 0;
                EXPECT_EQ(filed, !filtered && c.status != 0xFE);
                EXPECT_TRUE(!filed || event.Channel == c.channel); // only the copy is mapped
            }
        }
    }
    ZorEchoMIDI(0, nullptr);
    ZorStartMIDI(0);
    drivers.TakeSent();
    Receive(0x90, 60, 64);
    EXPECT_TRUE(drivers.TakeSent().empty());
}

TEST_F(Input, StampsEachRecord) {
    struct Case {
        const char* name;
        std::int16_t mode;
        bool timed;
        std::int32_t set; // time base at the moment of receiving
        std::int32_t given;
        std::uint8_t aged;
        std::int32_t stamp;
    };
    // given of a record without an age is counted from the time base's origin here.
    const Case cases[] = {
        {"device's own time", 0, true, 1000, 250, 0, 250},
        {"before the origin", 0, true, 1000, -40, 0, -40},
        {"timer stopped", 0, false, 0, 250, 0, 250},
        {"age", 0, true, 1000, 50, 1, 920},
        {"no age", 0, true, 1000, 0, 1, 970},
        {"age at the wrap", 0, true, INT32_MIN, 10, 1, INT32_MAX - 39},
        {"age, timer stopped", 0, false, 0, 50, 1, -80},
        {"external: driver's time dropped", 2, true, 1024, 250, 0, 1024},
        {"external: age in units", 2, true, 1024, 50, 1, 944},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ZorStopMIDI();
        ZorSyncMIDI(c.mode);
        ZorStartMIDI(1);
        ZorSetMIDITimer(c.set);
        const std::uint32_t origin = timeGetTime() - static_cast<std::uint32_t>(c.set);
        if (!c.timed) ZorStopMIDI();
        const std::uint32_t base = c.aged ? 0 : origin;
        MIDIEvent event =
            Note(static_cast<std::int32_t>(base + static_cast<std::uint32_t>(c.given)), 60);
        RcvEvent(&event, c.aged);
        EXPECT_EQ(event.Time, c.stamp);
        MIDIEvent filed;
        ASSERT_TRUE(ZorRcv(&filed, 0));
        EXPECT_EQ(filed.Time, c.stamp);
    }
    ZorSyncMIDI(0);
}

// While a record is inside a driver, what comes in is lost, but for what it does to the clock.
TEST_F(Input, LosesWhatMeetsATransmission) {
    ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
    ZorTimeMIDI(1);
    Receive(0xFA);
    Receive(0xF8);
    Filed();
    ZorEchoMIDI(1, nullptr);
    drivers.TakeSent();
    drivers.Rows[1].OnXmit = [](const MIDIEvent&) {
        Receive(0x90, 1, 1);
        Receive(0xF8);
    };
    const MIDIEvent event = Note(0, 60);
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &event));
    EXPECT_EQ(drivers.TakeSent().size(), 1u); // no echo inside a transmission
    EXPECT_EQ(ZorTimeMIDI(0), 85);            // two clocks counted
    EXPECT_FALSE(Filed());
    Receive(0x90, 2, 1); // itself filed; its echo is a transmission as well
    EXPECT_EQ(CountOf(0), 1);
    drivers.Rows[1].OnXmit = nullptr;
    Receive(0x90, 3, 1);
    EXPECT_EQ(CountOf(0), 2);
}

TEST_F(Input, ErrorsOfTheEchoAreKeptForTheHost) {
    ZorEchoMIDI(1, nullptr);
    drivers.Rows[1].Sends = false;
    Receive(0x90, 60, 64);
    EXPECT_EQ(CountOf(0), 1);
    EXPECT_EQ(ZorErrorMIDI(nullptr), 1);
}

} // namespace
