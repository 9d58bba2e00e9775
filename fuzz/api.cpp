// The functions in any order and with any arguments, against the model.
#include "fuzz/fuzz.h"
#include "tests/support/reference_model.h"

namespace {

constexpr int Ports = 3;

MIDIEvent Record(Bytes& bytes, std::int32_t now) {
    const std::uint8_t how = bytes.Byte();
    MIDIEvent event = {};
    event.Time = how & 1 ? static_cast<std::int32_t>(bytes.Long())
                         : now + static_cast<std::int8_t>(bytes.Byte());
    event.Etime = how & 2 ? static_cast<std::int32_t>(bytes.Long()) : how;
    event.Channel = how & 4 ? static_cast<std::int16_t>(bytes.Word())
                            : static_cast<std::int16_t>(bytes.Below(50) - 1);
    event.Length = how >> 3 & 3;
    event.Status = bytes.Byte();
    if (event.Status < 0x80) event.Status = how & 32 ? 0 : 0x90;
    event.Data1 = bytes.Byte() & (how & 64 ? 0xFF : 0x7F);
    event.Data2 = bytes.Byte();
    return event;
}

void Time(Twin& twin, Bytes& bytes) {
    switch (bytes.Below(6)) {
    case 0:
        return twin.SetTime(static_cast<std::int32_t>(bytes.Long()));
    case 1:
        return twin.SetTime(bytes.Byte());
    case 2:
        return twin.ResetTime();
    case 3:
        return twin.Sync(static_cast<std::int16_t>(bytes.Below(4)));
    case 4:
        return twin.StartTimer();
    default:
        return twin.Advance(bytes.Word() % 1000);
    }
}

void Life(Twin& twin, Bytes& bytes) {
    std::uint8_t map[64];
    for (int i = 0; i < 64; ++i) map[i] = static_cast<std::uint8_t>(i % 9 == 0 ? 255 : 63 - i);
    switch (bytes.Below(10)) {
    case 0:
        return twin.Init(bytes.Byte() & 1);
    case 1:
        return twin.Term();
    case 2:
        return twin.Restore();
    case 3:
        return twin.Stop();
    case 4:
        return twin.Echo(true, bytes.Byte() & 1 ? map : nullptr);
    case 5:
        return twin.Echo(false, map);
    case 6:
        return twin.RunDialog();
    case 7:
        return twin.Filter(bytes.Word(), bytes.Word());
    default:
        return twin.Start(bytes.Byte() & 1);
    }
}

void Queue(Twin& twin, Bytes& bytes) {
    const auto queue = static_cast<std::int16_t>(bytes.Below(5) - 1);
    switch (bytes.Below(4)) {
    case 0:
        return twin.Free(queue);
    case 1:
        return twin.Zero(queue);
    case 2:
        return twin.Alloc(queue, static_cast<std::int16_t>(bytes.Word()));
    default:
        return twin.Alloc(queue, static_cast<std::int16_t>(bytes.Below(24) - 1));
    }
}

// Calls that change nothing, with arguments that a host should not give.
void Nonsense() {
    std::uint16_t count = 7;
    Check(!ZorRcv(nullptr, 0) && !ZorXmit(1, nullptr) && !ZorXmit(ZOR_IMMEDIATE, nullptr), "null");
    Check(!ZorReportMQ(1, nullptr, &count) && count == 0, "an output reads 0");
    Check(ZorEtimeMIDI(9, &count) == 0 && ZorResoMIDI() == 1000 && ZorSetupMIDI(1), "as ever");
    ZorMIDIStatus(nullptr, nullptr);
    ZorConfigMIDIDriver(nullptr, -1);
    Check(ZorMIDIDriverVersion(nullptr) == 0x04030401, "the version");
    MmeMidiInCallBack(&count, 0x3C3, 0, 0x403C90, 0);
}

void Step(Twin& twin, Bytes& bytes) {
    const std::uint8_t choice = bytes.Byte();
    static constexpr std::uint16_t queues[] = {1, 2, 1, 2, ZOR_IMMEDIATE, 0, 3, 0xFFFE};
    if (choice < 90)
        return static_cast<void>(twin.Xmit(queues[choice % 8], Record(bytes, twin.Time())));
    if (choice < 140) return twin.Receive(choice % Ports, bytes.Long() & 0xFFFFFF);
    if (choice < 170) return twin.Advance(bytes.Byte() % 32);
    if (choice < 185) return static_cast<void>(twin.Rcv(choice & 1));
    if (choice < 195) return Queue(twin, bytes);
    if (choice < 215) return Time(twin, bytes);
    if (choice < 235) return Life(twin, bytes);
    if (choice < 240) return twin.CallBack();
    if (choice < 245) return twin.Kill();
    choice < 254 ? twin.Play() : Nonsense();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    [[maybe_unused]] static const bool there =
        (FreshMachine(Twin::Ini(Ports)), Twin::AddPorts(Ports), true);
    Bytes bytes(data, size);
    static constexpr std::uint32_t clocks[] = {5000, 0xFFFFFF00, 0x7FFFFF00};
    const std::uint32_t clock = clocks[bytes.Below(3)];
    machine::UseSteppedClock(clock);
    MIDISysInit(0);
    Twin twin(Ports, clock, true);
    for (std::int16_t queue = 0; queue < 3; ++queue) twin.Alloc(queue, 8);
    twin.Start(true);
    twin.SetTime(0);
    twin.Receive(0, 0xFC); // a clock that the run before was about to start
    while (bytes.Any() && twin.Difference.empty()) {
        for (int step = 0; step < 8 && bytes.Any(); ++step) Step(twin, bytes);
        twin.Compare();
    }
    Check(twin.Difference.empty(), twin.Difference.c_str());
    ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    ZorSyncMIDI(0), ZorFilterMIDI(0, 0);
    Check(machine::OpenMidiInputs() + machine::OpenMidiOutputs() == 0, "all is closed");
    Check(machine::PendingTimers().empty() && machine::OpenTimerPeriods().empty(), "time stands");
    return 0;
}
