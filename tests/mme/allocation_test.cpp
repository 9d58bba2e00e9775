// The driver's real-time paths take no memory: every way that this program's code has to ask for
// some is counted.
#include "mme_test.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> allocations{0};
}

// The linker leads the calls of this program and of the library inside it here.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size) {
    ++allocations;
    return __real_malloc(size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size) {
    ++allocations;
    return __real_realloc(block, size);
}
}
void* operator new(std::size_t size) {
    ++allocations;
    if (void* const block = __real_malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

template <class Action>
int AllocationsIn(Action action) {
    machine::ResetCallCounts();
    const int before = allocations;
    action();
    return allocations - before + static_cast<int>(machine::CallCount(machine::Call::GlobalAlloc));
}

TEST_F(MmeTest, RealTimePathsTakeNoMemory) {
    EXPECT_GT(AllocationsIn([] { ::operator delete(::operator new(1)); }), 0); // they are counted
    OpenOutputs({0, 8}, MIDICAPS_CACHE);
    EXPECT_GT(AllocationsIn([] { MMEOpen(); }), 0);
    machine::RecordSentMidi(false);
    EXPECT_EQ(AllocationsIn([] {
                  for (int status = 0x80; status < 0x100; ++status)
                      for (int channel = -1; channel < 32; ++channel) Send(channel, status, 64, 1);
                  MMESilence();
              }),
              0);
    Restart();
    OpenInputs({0, 16});
    ZorEchoMIDI(1, nullptr);
    machine::RecordSentMidi(false);
    EXPECT_EQ(AllocationsIn([] {
                  for (unsigned status = 0; status < 0x100; ++status)
                      for (int input = 0; input < 2; ++input)
                          machine::CallBackMidi(input, MIM_DATA, 0x404000 | status, 1);
              }),
              0);
}

} // namespace
