// The six generic handlers.
#include "video/media_handlers.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/record_text.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// A second of silence, 8000 Hz, mono, 16 bits: the smallest file that every demuxer reads.
static std::string SmallWav()
{
    static constexpr char header[] =
        "RIFF\xa4\x3e\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0"
        "data\x80\x3e\0";
    return std::string(header, sizeof header) + std::string(16000, '\0');
}

struct AddCase {
    int (*add)(const char *path);
    const char *name;
    int kind;
    bool colon_form;  // which of the two prefixes its messages have
};

static constexpr AddCase PROBED[] = {{MediaAudioAdd, "/volume1/music/Disc/a.wav", 0, false},
                                     {MediaVideoAdd, "/volume1/video/Disc/a.avi", 1, false}};
static constexpr AddCase LISTED[] = {{MediaPcmAdd, "/volume1/music/Disc/a.pcm", 0, true},
                                     {MediaVideoFileAdd, "/volume1/video/Disc/a.srt", 1, true}};

static std::string Message(const AddCase &c, const std::string &text)
{
    return (c.colon_form ? "media_handlers:# " : "media_handlers (#) ") + text;
}

TEST(MediaHandlers, NullAndEmptyPathsAreReported)
{
    for (const AddCase *c : {&PROBED[0], &PROBED[1], &LISTED[0], &LISTED[1]}) {
        log_lines.clear();
        EXPECT_EQ(c->add(nullptr), -1);
        EXPECT_EQ(c->add(""), -1);
        EXPECT_EQ(log_lines, Lines(2, Message(*c, "Bad parameter.")));
    }
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(MediaHandlers, MissingFilesFailSilently)
{
    for (const AddCase *c : {&PROBED[0], &PROBED[1], &LISTED[0], &LISTED[1]})
        EXPECT_EQ(c->add("/nowhere/a.ogg"), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(MediaHandlers, ProbedFilesAreCleanedAndSaved)
{
    for (const AddCase &c : PROBED) {
        platform.calls.clear();
        platform.saved.clear();
        std::string path = Scratch(c.name);
        WriteFile(path, SmallWav());
        EXPECT_EQ(c.add(path.c_str()), 0);
        EXPECT_EQ(platform.calls,
                  (Lines{"MediaInfoValid " + path, "MediaInfoDBSave " + std::to_string(c.kind) + " " + path}));
        EXPECT_EQ(
            RecordText(platform.saved.at(0)),
            "path=" + path + "\ntitle=a\nalbum=Disc\ncreate_time=2001-02-03 04:05:06\n" +
                "modify_time=2000-01-02 03:04:05\nduration=1\nbitrate=128000\ncontainer_bitrate=128352\n" +
                "frequency=8000\nchannels=1\nfilesize=16044\n");
    }
    EXPECT_EQ(log_lines, Lines{});
}

TEST(MediaHandlers, UnreadableFilesAreSavedWithTheirDefaultsAndYieldOne)
{
    for (const AddCase &c : PROBED) {
        log_lines.clear();
        platform.calls.clear();
        platform.saved.clear();
        std::string path = Scratch(c.name);
        WriteFile(path, "nothing");
        EXPECT_EQ(c.add(path.c_str()), 1);
        EXPECT_EQ(log_lines,
                  Lines{c.kind == 0
                            ? "media_handlers:# Failed to parse music metadata from file [" + path + "]."
                            : "media_handlers (#) Failed to parse media metadata from file [" + path + "]."});
        EXPECT_EQ(platform.calls,
                  (Lines{"MediaInfoValid " + path, "MediaInfoDBSave " + std::to_string(c.kind) + " " + path}));
        EXPECT_STREQ(platform.saved.at(0).title, "a");
        EXPECT_STREQ(platform.saved.at(0).album, "Disc");
    }
}

TEST(MediaHandlers, FailedSaveKeepsTheResultOfTheProbe)
{
    platform.results["MediaInfoDBSave"] = -1;
    for (const AddCase &c : PROBED) {
        std::string path = Scratch(c.name);
        WriteFile(path, SmallWav());
        log_lines.clear();
        EXPECT_EQ(c.add(path.c_str()), -1);
        EXPECT_EQ(log_lines, Lines{"media_handlers (#) Failed to save media info to database."});

        WriteFile(path, "nothing");
        log_lines.clear();
        EXPECT_EQ(c.add(path.c_str()), 1);
        EXPECT_EQ(log_lines.back(), "media_handlers (#) Failed to save media info to database.");
    }
}

TEST(MediaHandlers, ListedFilesAreSavedWithoutAnyProbe)
{
    for (const AddCase &c : LISTED) {
        platform.calls.clear();
        platform.saved.clear();
        std::string path = Scratch(c.name);
        WriteFile(path, SmallWav());  // a probe would find its rate
        EXPECT_EQ(c.add(path.c_str()), 0);
        EXPECT_EQ(platform.calls,
                  (Lines{"MediaInfoValid " + path, "MediaInfoDBSave " + std::to_string(c.kind) + " " + path}));
        EXPECT_EQ(RecordText(platform.saved.at(0)),
                  "path=" + path + "\ntitle=a\nalbum=Disc\ncreate_time=2001-02-03 04:05:06\n" +
                      "modify_time=2000-01-02 03:04:05\nfilesize=16044\n");
        platform.results["MediaInfoDBSave"] = -1;
        EXPECT_EQ(c.add(path.c_str()), -1);
        EXPECT_EQ(log_lines.back(), "media_handlers:# Failed to save media info to database.");
        platform.results.clear();
    }
}

TEST(MediaHandlers, DeleteRefusesExistingFiles)
{
    std::string path = Scratch("/volume1/music/a.ogg");
    WriteFile(path, "");
    EXPECT_EQ(MediaAudioDelete(path.c_str()), -1);
    EXPECT_EQ(MediaVideoDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines, Lines(2, "media_handlers (#) File exists. Skip remove it from database."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(MediaHandlers, DeleteRemovesTheRowOfItsKind)
{
    EXPECT_EQ(MediaAudioDelete("/gone/a.ogg"), 0);
    EXPECT_EQ(MediaVideoDelete("/gone/a.avi"), 0);
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoDBDelete 0 /gone/a.ogg", "MediaInfoDBDelete 1 /gone/a.avi"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST(MediaHandlers, FailedRemovalIsReportedToTheCaller)
{
    platform.results["MediaInfoDBDelete"] = 3;
    EXPECT_EQ(MediaAudioDelete("/gone/a.ogg"), -1);
    EXPECT_EQ(MediaVideoDelete("/gone/a.avi"), -1);
    EXPECT_EQ(log_lines, (Lines{"media_handlers (#) Failed to remove [/gone/a.ogg] from database",
                                "media_handlers (#) Failed to remove [/gone/a.avi] from database"}));
}
