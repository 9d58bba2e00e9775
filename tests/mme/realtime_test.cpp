// The driver's real-time paths take no memory.
#include "mme_test.h"
#include "tests/allocations.h"

namespace {

TEST_F(MmeTest, RealTimePathsTakeNoMemory) {
    machine::AddMidiInput("In");
    OpenOutputs({0, 8}, MIDICAPS_CACHE);
    EXPECT_GT(Allocations([] { MMEOpen(); }), 0); // they are counted
    ZorEchoMIDI(1, nullptr);
    machine::RecordSentMidi(false);
    EXPECT_EQ(Allocations([] {
                  for (int status = 0x80; status < 0x100; ++status) {
                      for (int channel = -1; channel < 32; ++channel) Send(channel, status, 64, 1);
                      machine::CallBackMidi(0, MIM_DATA, 0x404000u | status, 1);
                  }
                  MMESilence();
              }),
              0);
}

} // namespace
