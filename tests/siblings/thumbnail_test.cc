// Thumbnails: what they look like, where they stand, and that no file or folder can do harm.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/stop_signals.h"
#include "pictures.h"
#include "platform/media_index.h"
#include "support/scratch.h"
#include "thumbs/thumbnail.h"

struct Thumbnails : testing::Test {
    std::string folder = Scratch("/volume1/photo/A");

    void SetUp() override
    {
        static const bool started = ThumbnailLibraryStart();
        ASSERT_TRUE(started);
        StopSignalsHold();
        MakeFolder(folder);
    }

    std::string Place(const std::string &name) const
    {
        return folder + "/@eaDir/" + name + "@NUBOPHOTO.THUMB.jpg";
    }
};

static std::string Made(const std::string &photo)
{
    std::vector<unsigned char> jpeg;
    return ThumbnailMake(photo.data(), photo.size(), jpeg) ? std::string(jpeg.begin(), jpeg.end()) : "";
}

static std::string Size(const std::string &path)
{
    int width = 0, height = 0;
    if (NUBOIndexImgResGet(path.c_str(), &width, &height) != 0)
        return "none";
    return std::to_string(width) + "x" + std::to_string(height);
}

static std::string SizeOf(const std::string &picture)
{
    WriteFile(Scratch("/size.jpg"), picture);
    return Size(Scratch("/size.jpg"));
}

static std::string Text(const ThumbnailCount &count)
{
    return std::to_string(count.made) + " made, " + std::to_string(count.up_to_date) + " up to date, " +
           std::to_string(count.failed) + " failed";
}

TEST_F(Thumbnails, FitTheSquareAndAreNeverLargerThanThePhoto)
{
    const struct {
        int width, height;
        const char *size;
    } cases[] = {
        {640, 480, "320x240"}, {480, 640, "240x320"}, {320, 320, "320x320"},
        {100, 50, "100x50"},   {1, 1, "1x1"},         {2000, 2, "320x1"},  // no side vanishes
    };
    for (const auto &c : cases)
        EXPECT_EQ(SizeOf(Made(BmpPicture(c.width, c.height))), c.size) << c.width << 'x' << c.height;
}

TEST_F(Thumbnails, AreUprightAndForgetTheOrientation)
{
    std::string jpeg = Made(BmpPicture(640, 480));
    std::string turned = Made(WithOrientation(jpeg, 6));
    EXPECT_EQ(SizeOf(turned), "240x320");
    EXPECT_EQ(turned.find("Exif"), std::string::npos);
    EXPECT_EQ(SizeOf(Made(WithOrientation(jpeg, 3))), "320x240");
}

TEST_F(Thumbnails, ScriptsAndOtherFormatsAreNoPictures)
{
    for (const char *text :
         {"", "B", "BM", "push graphic-context\nimage over 0,0 0,0 'file:/etc/passwd'\n",
          "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>", "%!PS-Adobe-3.0\n"})
        EXPECT_EQ(Made(text), "") << text;
}

TEST_F(Thumbnails, AFolderGetsItsOwnAndOnlyWhereTheyAreWanted)
{
    WriteFile(folder + "/a.bmp", BmpPicture(640, 480));
    WriteFile(folder + "/B.BMP", BmpPicture(10, 10));
    WriteFile(folder + "/.hidden.bmp", BmpPicture(10, 10));
    WriteFile(folder + "/song.mp3", "x");
    WriteFile(folder + "/deeper/c.bmp", BmpPicture(10, 10));
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "2 made, 0 up to date, 0 failed");
    EXPECT_EQ(Size(Place("a.bmp")), "320x240");
    EXPECT_EQ(Size(Place("B.BMP")), "10x10");
    EXPECT_NE(access((folder + "/deeper/@eaDir").c_str(), F_OK), 0);
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "0 made, 2 up to date, 0 failed");
}

TEST_F(Thumbnails, AreMadeAgainWhenThePhotoChangesAlsoToAnOlderOne)
{
    WriteFile(folder + "/a.bmp", BmpPicture(640, 480));
    (void)FolderThumbnailsMake(folder);
    WriteFile(folder + "/a.bmp", BmpPicture(64, 48));
    struct timespec old[] = {{1000, 5}, {1000, 5}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder + "/a.bmp").c_str(), old, 0), 0);
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "1 made, 0 up to date, 0 failed");
    EXPECT_EQ(Size(Place("a.bmp")), "64x48");
}

TEST_F(Thumbnails, BadPicturesCostOnlyTheirOwn)
{
    std::string good = BmpPicture(64, 64);
    WriteFile(folder + "/a-empty.jpg", "");
    WriteFile(folder + "/b-text.jpg", "no picture");
    WriteFile(folder + "/c-cut.png", "\x89PNG\r\n\x1a\n");
    WriteFile(folder + "/d-huge.bmp",
              good.substr(0, 18) + "\xff\xff\xff\x7f\xff\xff\xff\x7f" + good.substr(26));
    WriteFile(folder + "/e-cut.tif", std::string("II*\0\xff\xff\xff\xff", 8));
    ASSERT_EQ(mkfifo((folder + "/f-pipe.jpg").c_str(), 0600), 0);
    WriteFile(folder + "/g-good.bmp", good);
    WriteFile(folder + "/" + std::string(251, 'n') + ".bmp", good);  // no room for the rest of the name
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "1 made, 0 up to date, 6 failed");
    EXPECT_EQ(Size(Place("g-good.bmp")), "64x64");
    EXPECT_NE(access((folder + "/@eaDir/.making-NUBOPHOTO:THUMB.jpg").c_str(), F_OK), 0);
}

TEST_F(Thumbnails, LinksAreNotFollowed)
{
    WriteFile(Scratch("/secret.bmp"), BmpPicture(9, 9));
    ASSERT_EQ(symlink(Scratch("/secret.bmp").c_str(), (folder + "/link.bmp").c_str()), 0);
    WriteFile(folder + "/a.bmp", BmpPicture(9, 9));
    MakeFolder(Scratch("/elsewhere"));
    ASSERT_EQ(symlink(Scratch("/elsewhere").c_str(), (folder + "/@eaDir").c_str()), 0);
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "0 made, 0 up to date, 1 failed");
    EXPECT_NE(access((Scratch("/elsewhere") + "/a.bmp@NUBOPHOTO.THUMB.jpg").c_str(), F_OK), 0);
}

TEST_F(Thumbnails, ALinkAtThePlaceOfAThumbnailIsReplaced)
{
    WriteFile(folder + "/a.bmp", BmpPicture(9, 9));
    WriteFile(Scratch("/precious"), "precious");
    MakeFolder(folder + "/@eaDir");
    for (const std::string &place : {Place("a.bmp"), folder + "/@eaDir/.making-NUBOPHOTO:THUMB.jpg"})
        ASSERT_EQ(symlink(Scratch("/precious").c_str(), place.c_str()), 0);
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "1 made, 0 up to date, 0 failed");
    EXPECT_EQ(ReadFile(Scratch("/precious")), "precious");
    EXPECT_EQ(Size(Place("a.bmp")), "9x9");
}

TEST_F(Thumbnails, AFolderThatCannotBeWrittenOrIsGoneIsNoMatter)
{
    WriteFile(folder + "/a.bmp", BmpPicture(9, 9));
    WriteFile(folder + "/@eaDir", "a file is in the way");
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "0 made, 0 up to date, 1 failed");
    EXPECT_EQ(Text(FolderThumbnailsMake(Scratch("/volume1/photo/gone"))), "0 made, 0 up to date, 0 failed");
    EXPECT_EQ(Text(FolderThumbnailsMake(folder + "/a.bmp")), "0 made, 0 up to date, 0 failed");
}

TEST_F(Thumbnails, TheEndStopsTheWork)
{
    WriteFile(folder + "/a.bmp", BmpPicture(9, 9));
    raise(SIGTERM);
    EXPECT_EQ(Text(FolderThumbnailsMake(folder)), "0 made, 0 up to date, 0 failed");
    EXPECT_TRUE(IsStopWanted());
}
