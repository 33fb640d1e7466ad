// Photo share and recycle bin, by the text of the path.
#include "index/share_path.h"

#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "common/paths.h"
#include "support/scratch.h"

TEST(SharePath, PhotoShareIsRecognisedByPositionAlone)
{
    static constexpr struct {
        const char *path;
        bool is_photo;
    } cases[] = {
        {"/volume1/photo", true},
        {"/volume1/photo/", true},
        {"/volume1/photo/a.jpg", true},
        {"/volume1/Photo/a.jpg", true},  // the name ignores case
        {"/volume1/PHOTO", true},
        {"/anybody/photo/a.jpg", true},    // the first component does not matter
        {"/volume12/photo/a.jpg", false},  // only the position counts
        {"/volume1/photos", false},
        {"/volume1/phot", false},
        {"/volume1/pho", false},
        {"/volume1/", false},
        {"/volume1", false},
        {"/volume1/music/photo", false},
        {"12345678/photo", true},  // no leading slash needed
        {"", false},
        {nullptr, false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(IsPhotoSharePath(c.path), c.is_photo) << (c.path ? c.path : "(null)");
}

TEST(SharePath, RecycleBinIsTheThirdComponent)
{
    static constexpr struct {
        const char *path;
        bool is_bin;
    } cases[] = {
        {"/volume1/music/#recycle", true},
        {"/volume1/music/#recycle/", true},
        {"/volume1/music/#recycle/a/b.mp3", true},
        {"/volume1/music/#recycled", false},
        {"/volume1/music/#recycl", false},
        {"/volume1/music/#Recycle", false},  // case counts
        {"/volume1/music/a/#recycle", false},
        {"/volume1/#recycle", false},
        {"/volume1/music/", false},
        {"//a/#recycle", true},  // slashes are counted, not components
        {"#recycle", false},
        {"", false},
        {nullptr, false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(IsRecycleBinPath(c.path), c.is_bin) << (c.path ? c.path : "(null)");
}

TEST(SharePath, LinkTargetIsCutAt4095AndTerminated)
{
    char target[4096];
    EXPECT_EQ(ShareLinkRead(MUSIC_SHARE_LINK, target), -1);
    std::string longest(4095, 'x');
    ASSERT_EQ(symlink(longest.c_str(), MUSIC_SHARE_LINK), 0);
    EXPECT_EQ(ShareLinkRead(MUSIC_SHARE_LINK, target), 0);
    EXPECT_EQ(target, longest);
}
