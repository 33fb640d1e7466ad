// The cleaning rules.
#include "photo/photo_record.h"

#include <gtest/gtest.h>

#include "common/text.h"

TEST(PhotoRecord, SidesBeyondTheLimitBecomeZero)
{
    static constexpr struct {
        int32_t side;
        int32_t kept;
    } cases[] = {
        {0, 0}, {1, 1}, {8000, 8000}, {8001, 0}, {-1, 0}, {INT32_MAX, 0}, {INT32_MIN, 0},
    };
    for (const auto &c : cases) {
        PhotoInfoRecord record = {};
        record.resolution_x = c.side;
        record.resolution_y = 600;
        PhotoRecordSanitize(&record);
        EXPECT_EQ(record.resolution_x, c.kept) << c.side;
        EXPECT_EQ(record.resolution_y, 600);

        record.resolution_x = 800;
        record.resolution_y = c.side;
        PhotoRecordSanitize(&record);
        EXPECT_EQ(record.resolution_x, 800);
        EXPECT_EQ(record.resolution_y, c.kept) << c.side;
    }
}

TEST(PhotoRecord, TextsWithBytesOutsideAsciiAreEmptied)
{
    static constexpr struct {
        const char *text;
        const char *kept;
    } cases[] = {
        {"", ""},       {"Acme", "Acme"}, {" ~", " ~"},        {"\x7f", "\x7f"},  // DEL is let through
        {"Acme\n", ""}, {"\x1f", ""},     {"Caf\xc3\xa9", ""}, {"\x80", ""},     {"ok\xff", ""},
    };
    for (const auto &c : cases) {
        PhotoInfoRecord record = {};
        TextSet(record.date_taken, c.text);
        TextSet(record.camera_make, c.text);
        TextSet(record.camera_model, c.text);
        PhotoRecordSanitize(&record);
        EXPECT_STREQ(record.date_taken, c.kept);
        EXPECT_STREQ(record.camera_make, c.kept);
        EXPECT_STREQ(record.camera_model, c.kept);
    }
}

TEST(PhotoRecord, OtherTextsAreLeftAlone)
{
    PhotoInfoRecord record = {};
    TextSet(record.title, "\xc3\xa9t\xc3\xa9\n");
    TextSet(record.exposure_time, "\x01");
    TextSet(record.aperture, "\xff");
    PhotoRecordSanitize(&record);
    EXPECT_STREQ(record.title, "\xc3\xa9t\xc3\xa9\n");
    EXPECT_STREQ(record.exposure_time, "\x01");
    EXPECT_STREQ(record.aperture, "\xff");
}
