// Sample entries: fixed fields, and the descriptor among the atoms behind them.
#include "audio/mp4_sample_entry.h"

#include <gtest/gtest.h>

#include "audio/mp4_builder.h"

using std::string;

// On the heap at its exact size, so that a read behind the end is found.
static Mp4SampleEntry Read(const string &bytes, const char *type)
{
    std::vector<uint8_t> copy(bytes.begin(), bytes.end());
    return Mp4SampleEntryRead(copy.data(), copy.size(), type);
}

TEST(Mp4SampleEntry, SoundInEachVersion)
{
    for (uint64_t version : {0, 1, 2}) {
        Mp4SampleEntry entry = Read(Mp4SoundEntry(2, Mp4EsDescriptor(96000), version), "soun");
        EXPECT_EQ(entry.channels, 2) << version;
        EXPECT_EQ(entry.bitrate, 96000u) << version;
        EXPECT_EQ(entry.width, 0) << version;
    }
}

TEST(Mp4SampleEntry, Pictures)
{
    Mp4SampleEntry entry = Read(Mp4VideoEntry(1920, 65535, Mp4Atom("pasp", "xx") + Mp4EsDescriptor(7)), "vide");
    EXPECT_EQ(entry.channels, -1);
    EXPECT_EQ(entry.width, 1920);
    EXPECT_EQ(entry.height, 65535);
    EXPECT_EQ(entry.bitrate, 7u);
}

TEST(Mp4SampleEntry, WithoutADescriptorThereIsNoBitRate)
{
    EXPECT_EQ(Read(Mp4SoundEntry(2, ""), "soun").bitrate, 0u);
    EXPECT_EQ(Read(Mp4SoundEntry(2, Mp4Atom("wave", Mp4EsDescriptor(7))), "soun").bitrate, 0u);
    EXPECT_EQ(Read(Mp4SoundEntry(2, Mp4Atom("esds", ZeroBytes(40))), "soun").bitrate, 0u);
    EXPECT_EQ(Read(Mp4SoundEntry(2, Mp4EsDescriptor(7)), "text").channels, -1);
}

TEST(Mp4SampleEntry, TheDescriptorMayCarryOptionalFields)
{
    string config = "\x04" + BigBytes(13, 1) + ZeroBytes(9) + BigBytes(64000, 4);
    string stream = BigBytes(0, 2) + "\xE0" + ZeroBytes(2) + "\x03url" + ZeroBytes(2) + config;
    string esds = Mp4Atom("esds", ZeroBytes(4) + "\x03" + BigBytes(stream.size(), 1) + stream);
    EXPECT_EQ(Read(Mp4SoundEntry(2, esds), "soun").bitrate, 64000u);
}

TEST(Mp4SampleEntry, AnAtomOfImpossibleLengthEndsTheSearch)
{
    for (uint64_t length : {0, 7, 1000, 0x7FFFFFFF})
        EXPECT_EQ(Read(Mp4SoundEntry(2, BigBytes(length, 4) + "junk" + Mp4EsDescriptor(7)), "soun").bitrate,
                  0u);
}

TEST(Mp4SampleEntry, TruncatedAnywhereItIsReadAsFarAsItGoes)
{
    string sound = Mp4SoundEntry(2, Mp4EsDescriptor(7));
    string pictures = Mp4VideoEntry(3, 4, Mp4EsDescriptor(7));
    for (size_t length = 0; length < sound.size(); length++) {
        Mp4SampleEntry entry = Read(sound.substr(0, length), "soun");
        EXPECT_EQ(entry.channels, length < 36 ? -1 : 2) << length;
        EXPECT_EQ(entry.bitrate, 0u) << length;
    }
    for (size_t length = 0; length < pictures.size(); length++)
        EXPECT_EQ(Read(pictures.substr(0, length), "vide").width, length < 86 ? 0 : 3) << length;
}
