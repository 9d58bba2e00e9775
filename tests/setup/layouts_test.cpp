// The two layouts of the MIDI Setup dialog. A program of its own, since the layout lives on from
// one opening to the next: the order of these steps is what is tested.
#include "desk.h"

using namespace midisetup;

namespace {

constexpr int LabelsOfLarge[] = {InBaseLabel, SyncLabel, OutBaseLabel, InBase, SyncChoice, OutBase};

void ExpectSmall(const DialogUser& user) {
    // Up to the corner marker: 362 by 82 units of 6 by 13 pixels to 4 by 8.
    EXPECT_EQ(user.Width(), 543);
    EXPECT_EQ(user.Height(), 133);
    for (const int id : LabelsOfLarge) EXPECT_FALSE(user.Shown(id)) << id;
    EXPECT_TRUE(user.Shown(InList(0)) && user.Enabled(InList(0)));
    EXPECT_TRUE(user.Shown(OutList(0)) && user.Enabled(OutList(0)));
    for (int row = 1; row < PortRows; ++row) {
        EXPECT_FALSE(user.Shown(InList(row)) || user.Enabled(InList(row))) << row;
        EXPECT_FALSE(user.Enabled(InBase + row) || user.Enabled(SyncChoice + row)) << row;
        EXPECT_FALSE(user.Enabled(OutList(row)) || user.Enabled(OutBase + row)) << row;
    }
    EXPECT_FALSE(user.Enabled(ResetOutputs));
}

void ExpectLarge(const DialogUser& user) {
    EXPECT_EQ(user.Width(), 543);
    EXPECT_EQ(user.Height(), 379);
    for (const int id : LabelsOfLarge) EXPECT_TRUE(user.Shown(id) && user.Enabled(id)) << id;
    for (int row = 0; row < PortRows; ++row) {
        EXPECT_TRUE(user.Shown(InList(row)) && user.Enabled(InList(row))) << row;
        EXPECT_TRUE(user.Shown(InBase + row) && user.Enabled(SyncChoice + row)) << row;
        EXPECT_TRUE(user.Shown(OutList(row)) && user.Enabled(OutBase + row)) << row;
    }
    EXPECT_TRUE(user.Shown(ResetOutputs) && user.Enabled(ResetOutputs));
    EXPECT_FALSE(user.Shown(SmallCorner) || user.Shown(LargeCorner));
}

class LayoutsTest : public Desk {};

TEST_F(LayoutsTest, TheLayoutOutlivesTheDialog) {
    Inputs({"Keys"});
    Outputs({"Synth"});
    Show(0, [](DialogUser& user) {
        EXPECT_EQ(user.Title(), "MIDI Setup");
        EXPECT_EQ(user.Text(Advanced), "&Advanced  >>");
        ExpectSmall(user);
        EXPECT_FALSE(user.Click(ResetOutputs));

        EXPECT_TRUE(user.Click(Advanced));
        EXPECT_EQ(user.Text(Advanced), "&Hide Advanced <<");
        ExpectLarge(user);

        EXPECT_TRUE(user.Click(Advanced));
        EXPECT_EQ(user.Text(Advanced), "&Advanced >>");
        ExpectSmall(user);

        EXPECT_TRUE(user.Click(Advanced));
        ExpectLarge(user);
        user.Escape();
    });
    Show(0, [](DialogUser& user) {
        EXPECT_EQ(user.Text(Advanced), "&Hide Advanced <<");
        ExpectLarge(user);
        user.Click(Advanced);
        ExpectSmall(user);
        user.Escape();
    });
    Show(0, [](DialogUser& user) {
        EXPECT_EQ(user.Text(Advanced), "&Advanced  >>");
        ExpectSmall(user);
    });
}

} // namespace
