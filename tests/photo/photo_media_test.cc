// Photo rows of the media database, field by field.
#include "photo/photo_media.h"

#include <gtest/gtest.h>

#include "photo/exif_block.h"
#include "photo/photo_test_support.h"
#include "support/record_text.h"

static std::string CameraFile(uint32_t width, const std::string &date)
{
    ExifWriter w;
    return JpegWithExif(w.Block({{w.Text(0x010F, "Acme"), w.Text(0x0110, "Model X")},
                                 {},
                                 {w.Rational(0x829A, 1, 250), w.Rational(0x829D, 28, 10), w.Short(0x8827, 400),
                                  w.Text(0x9003, date), w.Long(0xA002, width), w.Short(0xA003, 3000)},
                                 {},
                                 {}}));
}

static std::string Times()
{
    return "create_time=2001-02-03 04:05:06\nmodify_time=2000-01-02 03:04:05\n";
}

TEST(PhotoMedia, NullPathIsRefused)
{
    EXPECT_EQ(PhotoMediaAdd(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{"photo_media (#) Bad parameter."});
}

TEST(PhotoMedia, MissingFileAndFolderAreNotStored)
{
    MakeFolder(Scratch("/volume1/photo/a.jpg"));
    EXPECT_EQ(PhotoMediaAdd(Scratch("/volume1/photo/a.jpg").c_str()), -1);
    EXPECT_EQ(PhotoMediaAdd(Scratch("/volume1/photo/gone.jpg").c_str()), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(PhotoMedia, CameraFileIsStoredWithItsFields)
{
    std::string path = Scratch("/volume1/photo/Trips/a.b.jpg");
    std::string content = CameraFile(4000, "2010:03:05 07:08:09");
    WriteFile(path, content);
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 2 " + path});  // without a cleaning call before it
    ASSERT_EQ(platform.saved.size(), 1u);
    EXPECT_EQ(RecordText(platform.saved[0]),
              "path=" + path + "\ntitle=a.b\nalbum=Trips\ncamera_make=Acme\ncamera_model=Model X\n" +
                  "exposure_time=1/250 sec.\naperture=f/2.8\ndate_taken=2010-3-5 7:8:9\n" + Times() +
                  "resolution_x=4000\nresolution_y=3000\nfilesize=" + std::to_string(content.size()) +
                  "\niso=400\n");
}

TEST(PhotoMedia, PictureSizeReplacesTheCamerasSize)
{
    platform.image_width = 64;
    platform.image_height = 48;
    std::string path = Scratch("/volume1/photo/a.jpg");
    WriteFile(path, CameraFile(9000, "2010:03:05 07:08:09"));
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).resolution_x, 64u);
    EXPECT_EQ(platform.saved.at(0).resolution_y, 48u);
}

TEST(PhotoMedia, WidthBeyondTheLimitIsZeroWithoutAPictureSize)
{
    std::string path = Scratch("/volume1/photo/a.jpg");
    WriteFile(path, CameraFile(9000, "2010:03:05 07:08:09"));
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).resolution_x, 0u);
    EXPECT_EQ(platform.saved.at(0).resolution_y, 3000u);
}

TEST(PhotoMedia, DateIsWrittenWithDashesAndWithoutLeadingZeros)
{
    static constexpr struct {
        const char *exif;
        const char *stored;
    } cases[] = {
        {"2010:12:25 17:18:19", "2010-12-25 17:18:19"},
        {"2010:03:05 00:00:00", "2010-3-5 0:0:0"},
        {"2010-03-05 07:08:09", ""},  // the reader does not take it
        {"", ""},
    };
    for (const auto &c : cases) {
        std::string path = Scratch("/volume1/photo/a.jpg");
        WriteFile(path, CameraFile(100, c.exif));
        platform.saved.clear();
        EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
        EXPECT_STREQ(platform.saved.at(0).date_taken, c.stored) << c.exif;
    }
}

TEST(PhotoMedia, JpegWithoutExifHasItsPictureSizeAlone)
{
    platform.image_width = 640;
    platform.image_height = 480;
    std::string path = Scratch("/volume1/photo/a.JPEG");
    WriteFile(path, "xyz");
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(RecordText(platform.saved.at(0)), "path=" + path + "\ntitle=a\nalbum=photo\n" + Times() +
                                                    "resolution_x=640\nresolution_y=480\nfilesize=3\n");
}

TEST(PhotoMedia, OtherPicturesHaveNoCameraFields)
{
    platform.image_width = 640;
    platform.image_height = 480;
    for (const char *name : {"a.png", "a.bmp", "a.gif", "a.ico", "a.psd", "a.tif", "a.tiff", "a.ufo"}) {
        std::string path = Scratch("/volume1/photo/") + name;
        std::string content = CameraFile(4000, "2010:03:05 07:08:09");
        WriteFile(path, content);
        platform.saved.clear();
        EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
        EXPECT_EQ(RecordText(platform.saved.at(0)),
                  "path=" + path + "\ntitle=a\nalbum=photo\n" + Times() +
                      "resolution_x=640\nresolution_y=480\nfilesize=" + std::to_string(content.size()) + "\n")
            << name;
    }
}

TEST(PhotoMedia, AttributeFolderIsLeftOutAndCountsAsSuccess)
{
    std::string path = Scratch("/volume1/photo/@eaDir/a.jpg");
    WriteFile(path, "xyz");
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(PhotoMedia, EmptyFileIsStored)
{
    std::string path = Scratch("/volume1/photo/a.jpg");
    WriteFile(path, "");
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(platform.saved.at(0).filesize, 0u);
}

TEST(PhotoMedia, LongestNamesAreCutAtTheirFields)
{
    std::string folder(255, 'f');
    std::string path = Scratch("/volume1/photo/") + folder + "/" + std::string(251, 'n') + ".png";
    WriteFile(path, "xyz");
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), 0);
    EXPECT_EQ(std::string(platform.saved.at(0).title), std::string(251, 'n'));
    EXPECT_EQ(std::string(platform.saved.at(0).album), std::string(254, 'f'));
    EXPECT_EQ(log_lines, Lines{"photo_media (#) Impossible error."});
}

TEST(PhotoMedia, FailedSaveNamesAPlaylist)
{
    platform.results["MediaInfoDBSave"] = -1;
    std::string path = Scratch("/volume1/photo/a.png");
    WriteFile(path, "xyz");
    EXPECT_EQ(PhotoMediaAdd(path.c_str()), -1);
    EXPECT_EQ(log_lines, Lines{"photo_media (#) Failed to save playlist info."});
}

TEST(PhotoMedia, DeleteKeepsTheRowOfAFileThatExists)
{
    std::string path = Scratch("/volume1/photo/a.jpg");
    WriteFile(path, "xyz");
    EXPECT_EQ(PhotoMediaDelete(path.c_str()), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{"photo_media (#) File exists. Skip remove it from database."});
}

TEST(PhotoMedia, DeleteRemovesTheRowAndForgivesAFailure)
{
    EXPECT_EQ(PhotoMediaDelete("/volume1/photo/a.jpg"), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDelete 2 /volume1/photo/a.jpg"});
    EXPECT_EQ(log_lines, Lines{});
    platform.results["MediaInfoDBDelete"] = -1;
    EXPECT_EQ(PhotoMediaDelete("/volume1/photo/a.jpg"), 0);
    EXPECT_EQ(log_lines, Lines{"photo_media (#) Failed to remove /volume1/photo/a.jpg from database."});
}
