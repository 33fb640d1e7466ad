// EXIF blocks built field by field, and real ones written by a camera tool.
#include "photo/exif.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "common/text.h"
#include "photo/exif_block.h"
#include "photo/photo_test_support.h"
#include "support/byte_builder.h"

static constexpr uint16_t MAKE = 0x010F;
static constexpr uint16_t MODEL = 0x0110;
static constexpr uint16_t ORIENTATION = 0x0112;
static constexpr uint16_t EXPOSURE_TIME = 0x829A;
static constexpr uint16_t F_NUMBER = 0x829D;
static constexpr uint16_t ISO = 0x8827;
static constexpr uint16_t DATE_ORIGINAL = 0x9003;
static constexpr uint16_t DATE_DIGITIZED = 0x9004;
static constexpr uint16_t MAKER_NOTE = 0x927C;
static constexpr uint16_t WIDTH = 0xA002;
static constexpr uint16_t HEIGHT = 0xA003;

static PhotoInfoRecord ReadFileExif(const std::string &path)
{
    PhotoInfoRecord record = {};
    TextSet(record.path, path.c_str());
    EXPECT_EQ(PhotoExifGet(&record), 0);
    return record;
}

static PhotoInfoRecord ReadBytes(const std::string &jpeg)
{
    std::string path = Scratch("/volume1/photo/a.jpg");
    WriteFile(path, jpeg);
    return ReadFileExif(path);
}

static PhotoInfoRecord ReadFields(const std::vector<ExifField> &main, const std::vector<ExifField> &exif)
{
    ExifWriter writer;
    return ReadBytes(JpegWithExif(writer.Block({main, {}, exif, {}, {}})));
}

TEST(Exif, NullRecordIsRefused)
{
    EXPECT_EQ(PhotoExifGet(nullptr), -1);
    EXPECT_EQ(log_lines, Lines{"exif (#) Bad parameter."});
}

TEST(Exif, EveryFieldInBothByteOrders)
{
    for (bool big_endian : {false, true}) {
        ExifWriter w{big_endian};
        PhotoInfoRecord record = ReadBytes(JpegWithExif(
            w.Block({{w.Text(MAKE, "Acme"), w.Text(MODEL, "Model X"), w.Short(ORIENTATION, 6)},
                     {},
                     {w.Rational(EXPOSURE_TIME, 1, 250), w.Rational(F_NUMBER, 28, 10), w.Short(ISO, 400),
                      w.Text(DATE_ORIGINAL, "2010:03:05 07:08:09"), w.Long(WIDTH, 4000), w.Short(HEIGHT, 3000)},
                     {},
                     {}})));
        EXPECT_STREQ(record.camera_make, "Acme");
        EXPECT_STREQ(record.camera_model, "Model X");
        EXPECT_STREQ(record.exposure_time, "1/250 sec.");
        EXPECT_STREQ(record.aperture, "f/2.8");
        EXPECT_STREQ(record.date_taken, "2010:03:05 07:08:09");
        EXPECT_EQ(record.iso, 400);
        EXPECT_EQ(record.resolution_x, 4000);  // the camera's sides, turned or not
        EXPECT_EQ(record.resolution_y, 3000);
    }
}

TEST(Exif, FileWithoutExifLeavesTheFieldsAsTheyWere)
{
    const std::string contents[] = {
        "",
        "no picture",
        HexBytes("FFD8 FFD9"),
        HexBytes("FFD8 FFE1 0008") + "Exif" + ZeroBytes(2),  // an empty block
        HexBytes("FFD8 FFE1 0002"),
        HexBytes("FFD8 FFE1 FFFF") + "Exif" + ZeroBytes(2),  // ends before its length
        HexBytes("FFD8 FFE0 FFFF"),
    };
    for (const std::string &content : contents) {
        PhotoInfoRecord record = {};
        std::string path = Scratch("/volume1/photo/a.jpg");
        WriteFile(path, content);
        TextSet(record.path, path.c_str());
        TextSet(record.camera_make, "kept");
        TextSet(record.date_taken, "kept");
        record.iso = 7;
        EXPECT_EQ(PhotoExifGet(&record), 0);
        EXPECT_STREQ(record.camera_make, "kept");
        EXPECT_STREQ(record.date_taken, "kept");
        EXPECT_EQ(record.iso, 7);
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(Exif, MissingFileHasNoExif)
{
    EXPECT_STREQ(ReadFileExif(Scratch("/volume1/photo/gone.jpg")).camera_make, "");
}

TEST(Exif, PipeNamedLikeAPhotoDoesNotStopTheReader)
{
    std::string path = Scratch("/volume1/pipe.jpg");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_STREQ(ReadFileExif(path).camera_make, "");
}

TEST(Exif, DateThatDoesNotParseIsSkipped)
{
    static constexpr struct {
        const char *date;
        const char *stored;
    } cases[] = {
        {"2010:03:05 07:08:09", "2010:03:05 07:08:09"},
        {"2010-03-05 07:08:09", ""},
        {"0000:00:00 00:00:00", ""},  // month 0
        {"    :  :     :  :  ", ""},
        {"yesterday at 7 or so", ""},
    };
    for (const auto &c : cases) {
        ExifWriter w;
        EXPECT_STREQ(ReadFields({}, {w.Text(DATE_ORIGINAL, c.date)}).date_taken, c.stored) << c.date;
    }
}

TEST(Exif, OnlyTheDateOfTheOriginalCounts)
{
    ExifWriter w;
    EXPECT_STREQ(
        ReadFields({w.Text(0x0132, "2011:01:01 00:00:00")}, {w.Text(DATE_DIGITIZED, "2012:01:01 00:00:00")})
            .date_taken,
        "");
}

TEST(Exif, TagInSeveralDirectoriesIsTakenFromTheLast)
{
    // The library reports the second directory only when it has a thumbnail; any bytes will do.
    ExifWriter w;
    PhotoInfoRecord record =
        ReadBytes(JpegWithExif(w.Block({{w.Text(MAKE, "First"), w.Text(MODEL, "Main")},
                                        {w.Text(MAKE, "Second"), w.Long(0x0201, 8), w.Long(0x0202, 16)},
                                        {},
                                        {},
                                        {}})));
    EXPECT_STREQ(record.camera_make, "Second");
    EXPECT_STREQ(record.camera_model, "Main");
}

TEST(Exif, LongTextsAreCutAtTheirFields)
{
    ExifWriter w;
    PhotoInfoRecord record =
        ReadFields({w.Text(MAKE, std::string(300, 'm')), w.Text(MODEL, std::string(99, 'x'))}, {});
    EXPECT_EQ(std::string(record.camera_make), std::string(99, 'm'));
    EXPECT_EQ(std::string(record.camera_model), std::string(99, 'x'));
}

TEST(Exif, NumbersAreReadAsTheTextsSay)
{
    ExifWriter w;
    PhotoInfoRecord record =
        ReadFields({}, {w.Long(WIDTH, 4294967295u), w.Long(HEIGHT, 9000), w.Short(ISO, 65535)});
    EXPECT_EQ(record.resolution_y, 9000);  // the limit is not the reader's business
    EXPECT_EQ(record.iso, 65535);
}

TEST(Exif, DamagedBlocksAreReadAsFarAsTheyGo)
{
    ExifWriter w;
    const struct {
        const char *defect;
        ExifField field;
    } cases[] = {
        {"offset beyond the block", {MODEL, 2, 4000, w.Number(0xFFFFFF00, 4)}},
        {"huge count", {MODEL, 2, 0xFFFFFFFF, w.Number(8, 4)}},
        {"count times size overflows", {MODEL, 5, 0x20000001, w.Number(8, 4)}},
        {"unknown type", {MODEL, 99, 1, w.Number(1, 4)}},
        {"no components", {MODEL, 2, 0, ""}},
        {"rational for a text", {MODEL, 5, 1, w.Number(1, 4) + w.Number(0, 4)}},
        {"maker note of an unknown kind", {MAKER_NOTE, 7, 200, std::string(200, '\xff')}},
        {"maker note that points at itself", {MAKER_NOTE, 7, 64, "OLYMP" + ZeroBytes(59)}},
    };
    for (const auto &c : cases) {
        PhotoInfoRecord record = ReadFields({w.Text(MAKE, "Acme"), c.field}, {w.Short(ISO, 100)});
        EXPECT_STREQ(record.camera_make, "Acme") << c.defect;
    }
}

TEST(Exif, DirectoriesThatPointAtEachOtherEnd)
{
    ExifWriter w;
    std::string block =
        w.Block({{w.Text(MAKE, "Acme"), w.Long(0x8769, 8)}, {w.Text(MAKE, "Acme")}, {}, {}, {}});
    EXPECT_STREQ(ReadBytes(JpegWithExif(block)).camera_make, "Acme");
}

TEST(Exif, TruncatedAtEveryLengthIsNoHarm)
{
    ExifWriter w;
    std::string jpeg = JpegWithExif(w.Block(
        {{w.Text(MAKE, "Acme"), w.Text(MODEL, "Model X")}, {}, {w.Rational(F_NUMBER, 28, 10)}, {}, {}}));
    for (size_t size = 0; size < jpeg.size(); size++) {
        PhotoInfoRecord record = ReadBytes(jpeg.substr(0, size));
        EXPECT_LT(strlen(record.camera_make), sizeof record.camera_make);
    }
}

// A small JPEG file with a size of 64 x 48 and no picture in it; enough for the tool that writes the metadata.
static std::string CameraJpeg(const std::string &tool_arguments)
{
    std::string path = Scratch("/volume1/photo/camera.jpg");
    WriteFile(path, HexBytes("FFD8 FFC0 000B 08 0030 0040 01 011100 FFDA 0008 0101 0000 3F00 00 FFD9"));
    std::string command = "exiftool -q -overwrite_original -n " + tool_arguments + " " + path;
    EXPECT_EQ(system(command.c_str()), 0) << command;
    return path;
}

TEST(Exif, CameraFilesInBothByteOrdersWithPositionAndOrientation)
{
    for (const char *order : {"II", "MM"}) {
        PhotoInfoRecord record = ReadFileExif(CameraJpeg(
            std::string("-ExifByteOrder=") + order +
            " -Make='Acme Inc.' -Model='X 100' -ExposureTime=0.004 -FNumber=5.6 -ISO=1600 -Orientation=6"
            " -DateTimeOriginal='2010:03:05 07:08:09' -ExifImageWidth=4000 -ExifImageHeight=3000"
            " -GPSLatitude=51.5 -GPSLatitudeRef=N -GPSLongitude=0.12 -GPSLongitudeRef=W -UserComment=hello"));
        EXPECT_STREQ(record.camera_make, "Acme Inc.") << order;
        EXPECT_STREQ(record.camera_model, "X 100");
        EXPECT_STREQ(record.exposure_time, "1/250 sec.");
        EXPECT_STREQ(record.aperture, "f/5.6");
        EXPECT_EQ(record.iso, 1600);
        EXPECT_STREQ(record.date_taken, "2010:03:05 07:08:09");
        EXPECT_EQ(record.resolution_x, 4000);
        EXPECT_EQ(record.resolution_y, 3000);
    }
}

TEST(Exif, BlockBehindOtherSegmentsIsFound)
{
    PhotoInfoRecord record =
        ReadFileExif(CameraJpeg("-Make=Acme -XMP-dc:Title=t -IPTC:City=c -Comment=" + std::string(500, 'c')));
    EXPECT_STREQ(record.camera_make, "Acme");
}
