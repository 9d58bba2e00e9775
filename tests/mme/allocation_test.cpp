// The driver's real-time paths take no memory.
#include "mme_test.h"
#include "tests/platform/allocations.h"

#include <new>

namespace {

template <class Action>
int AllocationsIn(Action action) {
    machine::ResetCallCounts();
    const int before = Allocations();
    action();
    return Allocations() - before +
           static_cast<int>(machine::CallCount(machine::Call::GlobalAlloc));
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
