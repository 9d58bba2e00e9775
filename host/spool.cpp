#include "host/spool.h"

#include "host/host_error.h"

namespace zorhost {

std::pair<std::int16_t, std::int16_t> Spool::Extremes(const Packed& packed) {
    std::int16_t least = 0;
    std::int16_t most = 0;
    for (const std::int16_t sample : packed) {
        least = std::min(least, sample);
        most = std::max(most, sample);
    }
    return {least, most};
}

// In loops that the compiler can take many samples at once through. The half that rounds comes off
// again as what is above zero is cut.
void Spool::Write(const Block& block) {
    if (Memory.size() == MostInMemory) Spill();
    Packed& packed = Memory.emplace_back();
    for (std::size_t i = 0; i < packed.size(); ++i) {
        const float high = block[i] < 1 ? block[i] : 1;
        const float sample = high > -1 ? high : -1;
        packed[i] =
            static_cast<std::int16_t>(static_cast<int>(sample * FullScale + 32768.5f) - 32768);
    }
    const auto [least, most] = Extremes(packed);
    Least = std::min(Least, least);
    Most = std::max(Most, most);
}

void Spool::Spill() {
    if (!File) File.reset(std::tmpfile());
    for (const Packed& packed : Memory) {
        if (File && std::fwrite(packed.data(), sizeof packed, 1, File.get()) == 1) continue;
        throw HostError("there is no room to keep the sound while it is measured");
    }
    Memory.clear();
}

void Spool::Rewind() {
    if (!File) return;
    Spill();
    std::rewind(File.get());
}

bool Spool::Read(Block& block) {
    Packed packed;
    if (File) {
        if (std::fread(packed.data(), sizeof packed, 1, File.get()) != 1) return false;
    } else {
        if (Memory.empty()) return false;
        packed = Memory.front();
        Memory.pop_front();
    }
    std::ranges::transform(packed, block.begin(), [](std::int16_t sample) {
        return static_cast<float>(sample) / FullScale;
    });
    return true;
}

} // namespace zorhost
