// What a request makes the daemon walk.
#include "progress/walk_plan.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/paths.h"
#include "support/scratch.h"

static std::string Walks(const std::string &line)
{
    std::string text;
    for (const PlannedWalk &walk : PlannedWalks(line))
        text +=
            walk.root + (walk.order == WALK_SORTED ? " sorted" : "") + (walk.is_single ? " single" : "") + '\n';
    return text;
}

struct WalkPlan : testing::Test {
    void SetUp() override
    {
        ASSERT_EQ(symlink("/volume1/music", MUSIC_SHARE_LINK), 0);
        ASSERT_EQ(symlink("/volume1/video", VIDEO_SHARE_LINK), 0);
        ASSERT_EQ(symlink("/volume1/photo", PHOTO_SHARE_LINK), 0);
        WriteFile(DEFAULT_SETTINGS_PATH, "supportphoto=\"yes\"\n");
    }
};

TEST_F(WalkPlan, EveryLetterHasItsWalks)
{
    static const struct {
        const char *line;
        const char *walks;
    } cases[] = {
        {"A:/volume1/music/x", "/volume1/music/x\n"},
        {"a:/volume1/music/x", "/volume1/music/x single\n"},
        {"N:/new:/old", "/new\n"},
        {"N:/new", "/new\n"},
        {"R:music", "/volume1/music\n"},
        {"R:video", "/volume1/video\n"},
        {"R:photo", "/volume1/photo sorted\n"},
        {"R:all", "/volume1/music\n/volume1/video\n/volume1/photo\n"},
        {"R:", "/volume1/music\n/volume1/video\n/volume1/photo\n"},
        {"U:photo", "/volume1/photo\n"},
        {"U:music", ""},
        {"D:/x", ""},
        {"d:/x", ""},
        {"T:music", ""},
        {"Z:/x", ""},
        {"A/x", ""},  // no request
        {"A", ""},
        {"", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Walks(c.line), c.walks) << c.line;
}

TEST_F(WalkPlan, WithoutPhotosThePhotoRequestsWalkNothing)
{
    WriteFile(DEFAULT_SETTINGS_PATH, "supportphoto=\"no\"\n");
    EXPECT_EQ(Walks("R:photo"), "");
    EXPECT_EQ(Walks("U:photo"), "");
}

TEST_F(WalkPlan, AMissingShareIsLeftOut)
{
    unlink(MUSIC_SHARE_LINK);
    EXPECT_EQ(Walks("R:music"), "");
    EXPECT_EQ(Walks("R:all"), "/volume1/video\n/volume1/photo\n");
}

TEST(RequestText, SaysWhatIsAskedFor)
{
    EXPECT_EQ(RequestText("R:"), "rebuild all");
    EXPECT_EQ(RequestText("R:video"), "rebuild video");
    EXPECT_EQ(RequestText("A:/a b"), "add /a b");
    EXPECT_EQ(RequestText("d:/a"), "remove /a");
    EXPECT_EQ(RequestText("N:/new:/old"), "rename to /new");
    EXPECT_EQ(RequestText("T:music"), "truncate music");
    EXPECT_EQ(RequestText("U:photo"), "refresh photo");
    EXPECT_EQ(RequestText("x"), "no request");
    EXPECT_EQ(RequestText(""), "no request");
}
