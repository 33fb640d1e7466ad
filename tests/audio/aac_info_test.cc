// The AAC handler with the decoder program of this system.
#include <gtest/gtest.h>

#include <filesystem>

#include "audio/aac.h"
#include "common/paths.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using std::string;
using std::vector;

static int AddSample(const string &content, const string &name = "Song.aac")
{
    std::filesystem::create_directories(std::filesystem::path(AAC_DECODER_PROGRAM).parent_path());
    if (!std::filesystem::exists(AAC_DECODER_PROGRAM))
        std::filesystem::create_symlink(AAC_INFO_PROGRAM, AAC_DECODER_PROGRAM);
    string path = Scratch("/volume1/music/") + name;
    WriteFile(path, content);
    return AacIndexAdd(path.c_str());
}

TEST(AacInfo, ARawFileHasItsValues)
{
    EXPECT_EQ(AddSample(ReadFile(SAMPLE_DIR "tone.aac")), 0);
    const MediaInfoRecord &record = platform.saved.at(0);
    EXPECT_NEAR(record.duration, 2.531f, 0.001f);  // 109 frames of 1024 samples
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.bitrate, 34007u);
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(AacInfo, SpectralBandReplicationDoesNotHalveThePlayTime)
{
    // The frame headers state the rate of the core coder; the same frames at half the rate last twice as long.
    string content = ReadFile(SAMPLE_DIR "tone.aac");
    for (size_t pos = 0; pos + 7 <= content.size();) {
        ASSERT_EQ(content[pos], '\xFF');
        auto byte = [&](size_t i) { return static_cast<unsigned char>(content[pos + i]); };
        size_t length = (byte(3) & 3u) << 11 | byte(4) * 8u | byte(5) >> 5;
        content[pos + 2] = static_cast<char>((byte(2) & 0xC3) | 7 << 2);  // 22050 Hz
        pos += length;
    }
    EXPECT_EQ(AddSample(content), 0);
    EXPECT_NEAR(platform.saved.at(0).duration, 2 * 2.531f, 0.002f);
}

TEST(AacInfo, AacInAContainerIsRead)
{
    EXPECT_EQ(AddSample(ReadFile(SAMPLE_DIR "m4a-tags.m4a")), 0);
    EXPECT_EQ(platform.saved.at(0).frequency, 44100u);
    EXPECT_NEAR(platform.saved.at(0).duration, 2.5f, 0.1f);
}

TEST(AacInfo, WhatIsNoAacGetsNoLine)
{
    for (const string &content : {string(), string("aac"), string(5000, '\xFF'),
                                  ReadFile(SAMPLE_DIR "flac-tags.flac"), ReadFile(SAMPLE_DIR "aiff-16.aiff")})
        EXPECT_EQ(AddSample(content), 1);
    EXPECT_EQ(log_lines, vector<string>{});
}

TEST(AacInfo, ATruncatedFileIsReadAsFarAsItGoes)
{
    string content = ReadFile(SAMPLE_DIR "tone.aac");
    EXPECT_EQ(AddSample(content.substr(0, content.size() / 2 + 3)), 0);
    EXPECT_NEAR(platform.saved.at(0).duration, 1.27f, 0.1f);
}

TEST(AacInfo, ANameIsNeverAProtocol)
{
    EXPECT_EQ(AddSample(ReadFile(SAMPLE_DIR "tone.aac"), "http:a%d $(b)'.aac"), 0);
}
