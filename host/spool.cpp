#include "host/spool.h"

#include "host/host_error.h"

#include <algorithm>
#include <span>

namespace zorhost {

void Spool::Write(const Block& block) {
    if (Memory.size() == MostInMemory) Spill();
    const std::size_t end = Memory.size();
    Memory.resize(end + block.size());
    std::ranges::transform(
        block, Memory.begin() + static_cast<std::ptrdiff_t>(end), [](float sample) {
            // Rounded: the half comes off again as what is above zero is cut.
            const float clamped = std::clamp(sample, -1.0f, 1.0f);
            const auto shifted = static_cast<int>(clamped * FullScale + 32768.5f);
            return static_cast<std::int16_t>(shifted - 32768);
        });
}

void Spool::Spill() {
    if (!File) File.reset(std::tmpfile());
    if (!File ||
        std::fwrite(Memory.data(), sizeof Memory[0], Memory.size(), File.get()) != Memory.size()) {
        throw HostError("there is no room to keep the sound while it is measured");
    }
    Memory.clear();
}

void Spool::Rewind() {
    if (!File) return;
    Spill();
    std::rewind(File.get());
    Memory.resize(FrameSamples);
}

bool Spool::Read(Block& block) {
    if (File) {
        Next = 0;
        if (std::fread(Memory.data(), sizeof Memory[0], FrameSamples, File.get()) < FrameSamples) {
            return false;
        }
    } else if (Next == Memory.size()) {
        return false;
    }
    std::ranges::transform(
        std::span(Memory).subspan(Next, FrameSamples), block.begin(),
        [](std::int16_t sample) { return static_cast<float>(sample) / FullScale; });
    Next += FrameSamples;
    return true;
}

} // namespace zorhost
