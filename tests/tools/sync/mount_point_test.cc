// What /etc/fstab says of the disk that a share lies on.
#include "sync/mount_point.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/scratch.h"

static std::string Unmounted(const std::string &line)
{
    WriteFile(Scratch("/fstab"),
              "# <file system> <mount point> <type> <options>\nproc /proc proc defaults 0 0\n" + line);
    MakeFolder(Scratch("/disk/music"));
    return UnmountedAbove(Scratch("/disk/music"), Scratch("/fstab").c_str());
}

static std::string Disk()
{
    return Scratch("/disk");
}

TEST(MountPoint, DiskThatIsListedAndNotMounted)
{
    EXPECT_EQ(Unmounted("/dev/sdz1 " + Disk() + " ext4 defaults 0 2\n"), Disk());
    EXPECT_EQ(Unmounted("/dev/sdz1 " + Disk() + "/music/ ext4 nofail,rw 0 2\n"), Disk() + "/music");
}

TEST(MountPoint, DiskThatTheUserMountsWhenHeWants)
{
    EXPECT_EQ(Unmounted("/dev/sdz1 " + Disk() + " ext4 noauto,user 0 2\n"), "");
}

TEST(MountPoint, DiskThatIsMounted)
{
    EXPECT_EQ(Unmounted("/dev/sda1 / ext4 defaults 0 1\n"), "");
}

TEST(MountPoint, OtherDisks)
{
    EXPECT_EQ(Unmounted("/dev/sdz1 " + Disk() + "/music/inside ext4 defaults 0 2\n"), "");
    EXPECT_EQ(Unmounted("/dev/sdz1 " + Disk() + "/mus ext4 defaults 0 2\n/dev/sdz2 none swap sw 0 0\n"), "");
}

TEST(MountPoint, FolderBehindALink)
{
    std::string link = Scratch("/link");
    MakeFolder(Scratch("/disk/music"));
    ASSERT_EQ(symlink(Scratch("/disk/music").c_str(), link.c_str()), 0);
    WriteFile(Scratch("/fstab"), "/dev/sdz1 " + Disk() + " ext4 defaults 0 2\n");
    EXPECT_EQ(UnmountedAbove(link, Scratch("/fstab").c_str()), Disk());
}

TEST(MountPoint, NoTableAndGarbageInIt)
{
    EXPECT_EQ(UnmountedAbove(Scratch("/"), Scratch("/none").c_str()), "");
    EXPECT_EQ(Unmounted(std::string("\0\xff\n\n/dev/sdz1\n# \n", 16)), "");
}
