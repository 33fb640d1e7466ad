// What can be said of a file that could not be read.
#include "unreadable_reason.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/scratch.h"

static constexpr time_t LATER = 32503680000;  // after every change of today

static std::string ReasonOf(const std::string &content, const char *name = "/volume1/music/a.mp3")
{
    WriteFile(Scratch(name), content);
    return UnreadableReason(Scratch(name), LATER);
}

TEST(UnreadableReason, PlainReasonsFirst)
{
    EXPECT_EQ(UnreadableReason(Scratch("/none.mp3"), LATER), "is gone");
    EXPECT_EQ(UnreadableReason(Scratch("/none.mp3") + "/a", LATER), "is gone");
    EXPECT_EQ(ReasonOf(""), "is empty");
    EXPECT_EQ(ReasonOf(std::string(100000, '\0')),
              "begins with nothing but zeros, as after an interrupted copy");
    EXPECT_EQ(UnreadableReason(Scratch("/volume1"), LATER), "is no regular file");
}

TEST(UnreadableReason, APipeDoesNotBlock)
{
    ASSERT_EQ(mkfifo(Scratch("/pipe.mp3").c_str(), 0600), 0);
    EXPECT_EQ(UnreadableReason(Scratch("/pipe.mp3"), LATER), "is no regular file");
}

TEST(UnreadableReason, SomethingElseUnderAMediaFilesNameIsNamed)
{
    EXPECT_EQ(ReasonOf("<!DOCTYPE html>\n<html><head><title>404</title></head></html>\n"),
              "looks like HTML document, ASCII text");
    EXPECT_EQ(ReasonOf("\x01\x99\xfe\x03\x88\x90\xf0\x91\x92"), "has contents of no known format");
}

TEST(UnreadableReason, AMediaFileIsDamaged)
{
    std::string reason = ReasonOf(std::string("RIFF\x24\0\0\0WAVEfmt \x10\0\0\0\1\0\2\0", 24));
    EXPECT_TRUE(reason.starts_with("looks like RIFF")) << reason;
    EXPECT_TRUE(reason.ends_with(", but is damaged, cut short or took too long")) << reason;
}

TEST(UnreadableReason, AFileThatChangedSinceIsNotJudged)
{
    WriteFile(Scratch("/a.mp3"), "");
    EXPECT_EQ(UnreadableReason(Scratch("/a.mp3"), 1000000000),
              "has changed since then: nuboindex add reads it again");
}
