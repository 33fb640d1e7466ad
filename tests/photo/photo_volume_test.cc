// The flag of the volume below the photo share.
#include "photo/photo_volume.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "photo/photo_test_support.h"

TEST(PhotoVolume, OneFileSystemMakesListingsBeChecked)
{
    WriteFile(Scratch("/volume1/photo/file"), "");
    ASSERT_EQ(symlink(Scratch("/volume1/photo").c_str(), PHOTO_SHARE_LINK), 0);
    std::string file = Scratch("/volume1/photo/file");
    std::string folder = Scratch("/volume1/photo");
    std::string gone = Scratch("/volume1/photo/gone");
    static constexpr struct {
        long type;
        bool is_checked;
    } cases[] = {
        {0x25521814, true},
        {0xEF53, false},
        {0x25521814, true},
        {0x25521815, false},
    };
    for (const auto &c : cases) {
        system_calls = {};
        system_calls.file_system_type = c.type;
        PhotoVolumeCheck();
        EXPECT_EQ(IsListedFolder(file.c_str()), !c.is_checked) << c.type;
        EXPECT_EQ(IsListedFolder(gone.c_str()), !c.is_checked) << c.type;
        EXPECT_TRUE(IsListedFolder(folder.c_str()));
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoVolume, FailureLeavesTheFlagAsItWas)
{
    MakeFolder(Scratch("/volume1/photo"));
    ASSERT_EQ(symlink(Scratch("/volume1/photo").c_str(), PHOTO_SHARE_LINK), 0);
    for (long type : {0x25521814L, 0xEF53L}) {
        system_calls = {};
        system_calls.file_system_type = type;
        PhotoVolumeCheck();
        system_calls.statfs_error = EIO;
        PhotoVolumeCheck();
        EXPECT_EQ(IsListedFolder("/nowhere"), type != 0x25521814);
    }
    EXPECT_EQ(log_lines, Lines(2, "photo_volume (#) Failed to statfs."));
}
