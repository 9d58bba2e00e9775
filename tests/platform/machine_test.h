// A machine as it is when it has just been switched on, before and after each test.
#pragma once

#include "platform/machine.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

class MachineTest : public testing::Test {
protected:
    MachineTest() { machine::PowerOn(); }
    ~MachineTest() override { machine::PowerOn(); }
};

class SteppedTest : public MachineTest {
protected:
    SteppedTest() { machine::UseSteppedClock(1000); }
};
