// Numbers and their units.
#include "media_fields.h"

#include <gtest/gtest.h>

#include <map>

static std::string FieldText(const std::string &column, const std::string &value)
{
    for (const MediaField &field : MEDIA_FIELDS) {
        if (column == field.column)
            return field.text(value);
    }
    return "no such column";
}

TEST(MediaFields, DurationsReadAsClocksDo)
{
    static constexpr struct {
        const char *seconds;
        const char *text;
    } cases[] = {
        {"0", ""},
        {"", ""},
        {"-1", ""},
        {"nan", ""},
        {"1e300", ""},
        {"0.4", "0:00"},
        {"59.6", "1:00"},
        {"253.4", "4:13"},
        {"3599", "59:59"},
        {"3600", "1:00:00"},
        {"90061", "25:01:01"},
        {"abc", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(DurationText(c.seconds), c.text) << c.seconds;
}

TEST(MediaFields, EveryNumberHasItsUnit)
{
    static constexpr struct {
        const char *column;
        const char *value;
        const char *text;
    } cases[] = {
        {"duration", "253.4", "4:13 (253.400 s)"},
        {"bitrate", "192000", "192000 bit/s"},
        {"bitrate", "0", ""},
        {"frequency", "44100", "44100 Hz"},
        {"resolution_x", "1920", "1920 pixels"},
        {"filesize", "0", "0 bytes"},
        {"filesize", "1023", "1023 bytes"},
        {"filesize", "1024", "1024 bytes (1.0 KiB)"},
        {"filesize", "5000000", "5000000 bytes (4.8 MiB)"},
        {"filesize", "18446744073709551615", "18446744073709551615 bytes (16777216.0 TiB)"},
        {"track", "0", ""},
        {"track", "7", "7"},
        {"title", "0", "0"},  // a text
    };
    for (const auto &c : cases)
        EXPECT_EQ(FieldText(c.column, c.value), c.text) << c.column << " " << c.value;
}

TEST(MediaFields, ARowAsJsonHasItsKnownFieldsAndNumbersAsNumbers)
{
    std::map<std::string, std::string> columns = {
        {"path", "/volume1/\xff.mp3"}, {"title", "T\"\n"}, {"artist", ""},    {"duration", "253.5"},
        {"bitrate", "192000"},         {"year", "0"},      {"filesize", "0"}, {"unknown", "x"},
    };
    Json row = RowJson("music", [&](const char *column) { return columns[column]; });
    std::ostringstream out;
    EXPECT_EQ(
        JsonDump(row, Output{out, out, 0}, -1),
        "{\"kind\":\"music\",\"path\":\"/volume1/\xef\xbf\xbd.mp3\",\"path_percent\":\"/volume1/%ff.mp3\","
        "\"title\":\"T\\\"\\n\",\"duration\":253.5,\"bitrate\":192000,\"filesize\":0}");
}

TEST(MediaFields, JsonForATerminalIsAscii)
{
    std::ostringstream out;
    Json row = "\xc2\x9b\x7f\xe2\x80\xaeü";
    EXPECT_EQ(JsonDump(row, Output{out, out, 80}, -1), "\"\\u009b\\u007f\\u202e\\u00fc\"");
    EXPECT_EQ(JsonDump(row, Output{out, out, 0}, -1), "\"\xc2\x9b\x7f\xe2\x80\xaeü\"");
}
