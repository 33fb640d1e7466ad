// The per-file work of the photo share.
#include "photo/photo_index.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "common/features.h"
#include "photo/exif_block.h"
#include "photo/photo_test_support.h"

static std::string PhotoFile(const std::string &name, const std::string &content = "xyz")
{
    std::string path = Scratch("/volume1/photo/Trips/") + name;
    WriteFile(path, content);
    return path;
}

static const PhotoInfoRecord &AddedRecord(const std::string &path)
{
    platform.saved_photos.clear();
    EXPECT_EQ(PhotoInfoAdd(path.c_str(), 1), 0);
    return platform.saved_photos.at(0);
}

static std::string ChangeTime(const std::string &path, const char *format)
{
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    struct tm local;
    char text[64];
    strftime(text, sizeof text, format, localtime_r(&status.st_ctime, &local));
    return text;
}

TEST(PhotoIndex, BadArgumentsAreReported)
{
    EXPECT_EQ(PhotoIndexPath(nullptr, 1), -1);
    for (int mode : {-1, 0, 3, 4, 6})
        EXPECT_EQ(PhotoIndexPath("/volume1/photo/a.jpg", mode), -1) << mode;
    EXPECT_EQ(log_lines, Lines(6, "photo_index (#) Bad parameter."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(PhotoIndex, FoldersAndOtherFilesAreNobodysBusiness)
{
    MakeFolder(Scratch("/volume1/photo/folder.jpg"));
    for (int mode : {1, 2, 5}) {
        EXPECT_EQ(PhotoIndexPath(Scratch("/volume1/photo/folder.jpg").c_str(), mode), -1);
        EXPECT_EQ(PhotoIndexPath("/volume1/photo/noext", mode), -1);
        EXPECT_EQ(PhotoIndexPath("/volume1/photo/a.txt", mode), -1);
        EXPECT_EQ(PhotoIndexPath("/volume1/photo.jpg/noext", mode),
                  -1);  // the text behind the last dot decides
    }
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoIndex, AddedPhotoIsSavedAndItsThumbnailsAreAskedFor)
{
    supportphoto = 1;
    system_calls = {};
    WriteFile(THUMB_DAEMON_PID_PATH, "4711");
    std::string path = PhotoFile("a.jpg");
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 1), 0);
    EXPECT_EQ(platform.calls, Lines{"PhotoInfoDBSave " + path + " 1"});
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), Scratch("/volume1/photo/Trips") + "\n");
    EXPECT_EQ(system_calls.kills, Lines{"4711 10"});
}

TEST(PhotoIndex, AddAnswersZeroEvenWhenThePhotoIsLeftOut)
{
    EXPECT_EQ(PhotoIndexPath(PhotoFile("empty.jpg", "").c_str(), 1), 0);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(PhotoIndex, PhotoSeenAgainIsSavedInThatModeWithoutThumbnails)
{
    supportphoto = 1;
    WriteFile(THUMB_DAEMON_PID_PATH, "4711");
    std::string path = PhotoFile("a.jpg");
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 5), 0);
    EXPECT_EQ(platform.calls, Lines{"PhotoInfoDBSave " + path + " 5"});
    EXPECT_EQ(ReadFile(THUMB_QUEUE_PATH), "");
}

TEST(PhotoIndex, VideosHaveNoRowOnlyTheirMark)
{
    for (const char *name : {"a.mp4", "a.flv"}) {
        std::string path = PhotoFile(name);
        platform.calls.clear();
        EXPECT_EQ(PhotoIndexPath(path.c_str(), 1), 0);
        EXPECT_EQ(platform.calls, Lines{});
        EXPECT_EQ(PhotoIndexPath(path.c_str(), 5), 0);
        EXPECT_EQ(platform.calls, Lines{"NUBOIndexPhotoUpdateVideoStatus " + path});
    }
}

TEST(PhotoIndex, AddedWebVideoIsHandedToTheConversionQueue)
{
    supportphoto = 1;
    supportcinehall = 1;
    system_calls = {};
    WriteFile(FLV_DAEMON_PID_PATH, "4712");
    std::string path = PhotoFile("a.flv");
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 1), 0);
    EXPECT_EQ(ReadFile(FLV_QUEUE_PATH), path + "\n");
    EXPECT_EQ(system_calls.kills, Lines{"4712 10"});
}

TEST(PhotoIndex, OtherVideoStartsTheConverterInEveryMode)
{
    std::string path = PhotoFile("a.AVI");
    std::string converter =
        std::string("NLIBExec ") + VIDEO_CONVERTER_PROGRAM + " -f " + path + " (null) (null)";
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 1), 0);
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 5), 0);
    EXPECT_EQ(platform.calls, (Lines{converter, converter, "NUBOIndexPhotoUpdateVideoStatus " + path}));
    platform.calls.clear();
    unlink(path.c_str());
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 2), 0);
    EXPECT_EQ(platform.calls, (Lines{converter, "PhotoInfoDBDelete " + path}));
}

TEST(PhotoIndex, DeleteAnswersZeroWhateverTheRemovalSays)
{
    std::string path = PhotoFile("a.jpg");
    EXPECT_EQ(PhotoIndexPath(path.c_str(), 2), 0);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{"photo_index (#) File exists. Skip remove it from database."});
}

TEST(PhotoInfoAdd, NamesAndTimes)
{
    std::string path = PhotoFile("a.b.jpg", "xyz");
    PhotoInfoRecord record = AddedRecord(path);
    EXPECT_EQ(record.reserved, 0u);
    EXPECT_EQ(record.path, path);
    EXPECT_STREQ(record.name, "a.b.jpg");
    EXPECT_STREQ(record.title, "a.b");
    EXPECT_STREQ(record.description, "");
    EXPECT_STREQ(record.album, "Trips");
    EXPECT_EQ(record.filesize, 3u);
    EXPECT_EQ(record.create_time, ChangeTime(path, "%a %b %e %H:%M:%S %Y\n"));  // its line feed included
    EXPECT_EQ(record.date_taken, ChangeTime(path, "%Y-%m-%d %H:%M:%S"));
    EXPECT_EQ(record.resolution_x, 0);
}

TEST(PhotoInfoAdd, AlbumAndTitleAreNeighboursInThePath)
{
    WriteFile(Scratch("/volume1/b/c.jpg"), "x");
    PhotoInfoRecord record = AddedRecord(Scratch("/volume1/b/c.jpg"));
    EXPECT_STREQ(record.album, "b");
    EXPECT_STREQ(record.title, "c");
}

TEST(PhotoInfoAdd, RefusalsAreSilent)
{
    std::string folder = Scratch("/volume1/photo/x.jpg");
    MakeFolder(folder);
    const std::string paths[] = {
        PhotoFile(".hidden.jpg"),   PhotoFile("@eaDir/a.jpg"),
        PhotoFile("my@eaDir.jpg"),  // anywhere in the path
        PhotoFile("empty.jpg", ""), Scratch("/volume1/photo/gone.jpg"), ".hidden.jpg",
    };
    for (const std::string &path : paths)
        EXPECT_EQ(PhotoInfoAdd(path.c_str(), 1), -1) << path;
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
    EXPECT_EQ(PhotoInfoAdd(nullptr, 1), -1);
    EXPECT_EQ(log_lines, Lines{"photo_index (#) Bad parameter."});
}

TEST(PhotoInfoAdd, PhotosOfTwentyMebibytesAndMoreAreLeftOut)
{
    static constexpr struct {
        off_t size;
        int result;
    } cases[] = {
        {1, 0}, {20971519, 0}, {20971520, -1}, {20971521, -1}, {5000000000, -1},
    };
    std::string path = PhotoFile("a.png");
    for (const auto &c : cases) {
        ASSERT_EQ(truncate(path.c_str(), c.size), 0);
        platform.saved_photos.clear();
        EXPECT_EQ(PhotoInfoAdd(path.c_str(), 1), c.result) << c.size;
        if (c.result == 0) {
            EXPECT_EQ(platform.saved_photos.at(0).filesize, static_cast<uint64_t>(c.size));
        }
    }
}

TEST(PhotoInfoAdd, DescriptionsAreTakenWithTheirLineEndOnce)
{
    std::string path = PhotoFile("a.jpg");
    WriteFile(DescriptionPath(path, "NUBOPHOTO:TITLE"), "Summer\nsecond line\n");
    WriteFile(DescriptionPath(path, "NUBOPHOTO:DESC"), "At the lake");
    PhotoInfoRecord record = AddedRecord(path);
    EXPECT_STREQ(record.title, "Summer\n");
    EXPECT_STREQ(record.description, "At the lake");

    record = AddedRecord(path);  // both files are gone
    EXPECT_STREQ(record.title, "a");
    EXPECT_STREQ(record.description, "");
}

static std::string CameraFile(const std::string &make, const std::string &date, uint32_t width)
{
    ExifWriter w;
    return JpegWithExif(
        w.Block({{w.Text(0x010F, make)}, {}, {w.Text(0x9003, date), w.Long(0xA002, width)}, {}, {}}));
}

TEST(PhotoInfoAdd, CameraFieldsAreStoredAsTheCameraWroteThem)
{
    PhotoInfoRecord record = AddedRecord(PhotoFile("a.jpg", CameraFile("Acme", "2010:03:05 07:08:09", 8000)));
    EXPECT_STREQ(record.camera_make, "Acme");
    EXPECT_STREQ(record.date_taken, "2010:03:05 07:08:09");
    EXPECT_EQ(record.resolution_x, 8000);
}

TEST(PhotoInfoAdd, UncleanCameraFieldsAreEmptied)
{
    std::string path = PhotoFile("a.jpg", CameraFile("Caf\xe9", "2010:03:05 07:08:09\x01", 8001));
    PhotoInfoRecord record = AddedRecord(path);
    EXPECT_STREQ(record.camera_make, "");
    EXPECT_EQ(record.date_taken, ChangeTime(path, "%Y-%m-%d %H:%M:%S"));  // instead of the emptied one
    EXPECT_EQ(record.resolution_x, 0);
}

TEST(PhotoInfoAdd, PictureSizeReplacesTheCamerasSize)
{
    platform.image_width = 64;
    platform.image_height = 8001;
    PhotoInfoRecord record = AddedRecord(PhotoFile("a.jpg", CameraFile("Acme", "2010:03:05 07:08:09", 100)));
    EXPECT_EQ(record.resolution_x, 64);
    EXPECT_EQ(record.resolution_y, 0);
}

TEST(PhotoInfoAdd, OddNamesAreStoredAsTheyAre)
{
    for (const std::string &name : OddNames()) {
        std::string path = Scratch("/volume1/photo/") + name + "/p.jpg";
        WriteFile(path, "x");
        PhotoInfoRecord record = AddedRecord(path);
        EXPECT_EQ(record.path, path);
        EXPECT_EQ(record.album, name.substr(0, 254));
    }
    EXPECT_EQ(log_lines, Lines{"photo_index (#) Impossible error."});  // of the folder name with 255 bytes
}

TEST(PhotoInfoAdd, FailedSaveIsReported)
{
    platform.results["PhotoInfoDBSave"] = -1;
    EXPECT_EQ(PhotoInfoAdd(PhotoFile("a.jpg").c_str(), 1), -1);
    EXPECT_EQ(log_lines, Lines{"photo_index (#) Failed to save photo info."});
}

TEST(PhotoInfoRemove, KeepsWhatExistsAndSkipsAttributeFolders)
{
    EXPECT_EQ(PhotoInfoRemove(PhotoFile("a.jpg").c_str()), -1);
    EXPECT_EQ(log_lines, Lines{"photo_index (#) File exists. Skip remove it from database."});
    EXPECT_EQ(PhotoInfoRemove("/volume1/photo/@eaDir/a.jpg"), -1);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(PhotoInfoRemove, RemovesTheRowAndForgivesAFailure)
{
    EXPECT_EQ(PhotoInfoRemove("/volume1/photo/a.jpg"), 0);
    platform.results["PhotoInfoDBDelete"] = -1;
    EXPECT_EQ(PhotoInfoRemove("/volume1/photo/a.jpg"), 0);
    EXPECT_EQ(platform.calls, Lines(2, "PhotoInfoDBDelete /volume1/photo/a.jpg"));
    EXPECT_EQ(log_lines, Lines{"photo_index (#) Failed to remove /volume1/photo/a.jpg from database."});
}
