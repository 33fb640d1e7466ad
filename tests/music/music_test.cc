// Whole files through the handlers: defaults, tags, stream, cover, and what is stored when something fails.
#include "music/music.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "music/metaid3.h"
#include "music/system_calls.h"
#include "music/tag_bytes.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

static const std::string HEADER_NOT_FOUND = "mpeg_audio (#) MPEG Header not found";

static std::string Put(const std::string &path, const std::string &content)
{
    WriteFile(Scratch(path), content);
    return Scratch(path);
}

static const MediaInfoRecord &Saved()
{
    static const MediaInfoRecord none = {};
    return platform.saved.empty() ? none : platform.saved.back();
}

static std::string Id3v1(const std::string &title)
{
    std::string tag = "TAG" + title;
    tag.resize(128);
    return tag;
}

TEST(MusicAdd, AFileWithoutTags)
{
    std::string path = Put("/volume1/music/b/song.mp3", Frames(3));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    const MediaInfoRecord &record = Saved();
    EXPECT_EQ(record.path, path);
    EXPECT_STREQ(record.title, "song");
    EXPECT_STREQ(record.album, "b");
    EXPECT_STREQ(record.create_time, "2001-02-03 04:05:06");
    EXPECT_STREQ(record.modify_time, "2000-01-02 03:04:05");
    EXPECT_EQ(record.filesize, 1251u);
    EXPECT_EQ(record.bitrate, 128000u);
    EXPECT_EQ(record.frequency, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, static_cast<float>(1251.0 / 128 * 0.008));
    std::string folder = Scratch("/covers");
    EXPECT_EQ(platform.calls,
              (std::vector<std::string>{"GetCoverFolder", "CleanOldCover " + folder, "MediaInfoValid " + path,
                                        "MediaInfoDBSave 0 " + path}));
    EXPECT_TRUE(log_lines.empty());
}

TEST(MusicAdd, EverythingFromItsTag)
{
    std::string tag = Tag(3, Frame23("TIT2", Latin("Title")) + Frame23("TPE1", Latin("Artist")) +
                                 Frame23("TALB", Bytes("\1\xFF\xFE"
                                                       "A\0")) +
                                 Frame23("TYER", Latin("2004")) + Frame23("TCON", Latin("(17)")) +
                                 Frame23("TRCK", Latin("3/12")) + Frame23("TPOS", Latin("1/2")) +
                                 Frame23("TCOM", Latin("Composer")) + Frame23("COMM", Comment("Comment")) +
                                 Frame23("APIC", Bytes("\0image/png\0\3\0picture!")));
    std::string path = Put("/volume1/music/b/song.mp3", tag + Frames(3) + Id3v1("Old title"));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    const MediaInfoRecord &record = Saved();
    EXPECT_STREQ(record.title, "Title");
    EXPECT_STREQ(record.artist, "Artist");
    EXPECT_EQ(std::string(record.album, 6), Bytes("\xFF\xFE"
                                                  "A\0\0\0"));
    EXPECT_EQ(record.album_encoding, 1u);
    EXPECT_EQ(record.year, 2004);
    EXPECT_STREQ(record.genre, "Rock");
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.disc, 1);
    EXPECT_STREQ(record.composer, "Composer");
    EXPECT_STREQ(record.comment, "Comment");
    EXPECT_EQ(record.cover_count, 1u);
    EXPECT_EQ(ReadFile(Scratch("/covers/cover")), "picture!");
    // The play time is that of the file less its ID3v1 tag.
    EXPECT_EQ(record.duration, static_cast<float>((static_cast<double>(tag.size()) + 1251) / 128 * 0.008));
}

TEST(MusicAdd, Id3v1Alone)
{
    std::string path = Put("/volume1/music/b/song.mp3", Frames(3) + Id3v1("Title"));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_STREQ(Saved().title, "Title");
    EXPECT_EQ(Saved().filesize, 1379u);  // the tag is part of the file
    EXPECT_EQ(Saved().duration, static_cast<float>(1251.0 / 128 * 0.008));
}

TEST(MusicAdd, TitlesFromNames)
{
    static const struct {
        std::string name;
        std::string title;
    } cases[] = {
        {"song", "song"},
        {"a.b.mp3", "a.b"},
        {".mp3", ""},
        {"trailing.", "trailing"},
        {std::string(251, 'n') + ".mp3", std::string(251, 'n')},
        {std::string(254, 'n') + ".", std::string(254, 'n')},
        {std::string(255, 'n'), std::string(254, 'n')},  // no extension: cut at the field
    };
    for (const auto &c : cases) {
        std::string path = Put("/volume1/with.dot/" + c.name, Frames(3));
        EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
        EXPECT_EQ(Saved().title, c.title);
        EXPECT_STREQ(Saved().album, "with.dot");
    }
}

TEST(MusicAdd, AlbumsFromFolders)
{
    std::string longest(255, 'f');
    std::string path = Put("/volume1/" + longest + "/a.mp3", Frames(3));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_EQ(Saved().album, longest.substr(0, 254));
    EXPECT_EQ(log_lines, std::vector<std::string>{"music (#) Impossible error."});

    ASSERT_EQ(chdir(Scratch("/volume1").c_str()), 0);
    Put("/volume1/rel/a.mp3", Frames(3));
    EXPECT_EQ(MusicIndexAdd("rel/a.mp3"), 0);
    EXPECT_STREQ(Saved().album, "");
    ASSERT_EQ(chdir("/"), 0);
}

TEST(MusicAdd, ATitleThatTheTagTookAwayComesBack)
{
    // The UTF-16 mark of the first frame outlives its text.
    std::string tag = Tag(3, Frame23("TIT2", Bytes("\1\xFF\xFE"
                                                   "A\0")) +
                                 Frame23("TIT2", Latin("single")));
    std::string path = Put("/volume1/music/b/song.mp3", tag + Frames(3));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_STREQ(Saved().title, "song");
    EXPECT_EQ(Saved().title_encoding, 1u);
}

TEST(MusicAdd, WithoutAFrameTheTagsAreDropped)
{
    std::string tag = Tag(3, Frame23("TIT2", Latin("Title")) + Frame23("TALB", Latin("Album")));
    std::string path = Put("/volume1/music/b/song.mp3", tag + std::string(3000, 'x'));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 1);
    EXPECT_STREQ(Saved().title, "song");
    EXPECT_STREQ(Saved().album, "b");
    EXPECT_EQ(Saved().bitrate, 0u);
    EXPECT_EQ(log_lines,
              (std::vector<std::string>{HEADER_NOT_FOUND, "metaid3 (#) Can't find valid mpeg header: " + path,
                                        "music (#) Failed to parse music metadata."}));
}

TEST(MusicAdd, EmptyAndTinyFiles)
{
    for (const char *content : {"", "x", "TAG", "ID3", "\xFF\xFB\x90\x40xxxxxx"}) {
        log_lines.clear();
        std::string path = Put("/volume1/music/b/tiny.mp3", content);
        EXPECT_EQ(MusicIndexAdd(path.c_str()), 1);
        EXPECT_STREQ(Saved().title, "tiny");
        EXPECT_EQ(log_lines, (std::vector<std::string>{"metaid3 (#) Can't find valid mpeg header: " + path,
                                                       "music (#) Failed to parse music metadata."}));
    }
}

TEST(MusicAdd, TheDatabaseRefuses)
{
    platform.results["MediaInfoDBSave"] = 5;
    std::string path = Put("/volume1/music/b/song.mp3", Frames(3));
    EXPECT_EQ(MusicIndexAdd(path.c_str()), -1);
    EXPECT_EQ(log_lines, std::vector<std::string>{"music (#) Failed to save media info to database."});
    path = Put("/volume1/music/b/song.mp3", "no music");
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 1);  // the same as for a stored row without metadata
}

TEST(MusicAdd, MissingFilesAndBadParameters)
{
    EXPECT_EQ(MusicIndexAdd(Scratch("/volume1/none.mp3").c_str()), -1);
    EXPECT_TRUE(log_lines.empty());
    EXPECT_EQ(MusicIndexAdd(nullptr), -1);
    EXPECT_EQ(MusicIndexAdd(""), -1);
    EXPECT_EQ(log_lines, std::vector<std::string>(2, "music (#) Bad parameter."));
    EXPECT_TRUE(platform.calls.empty());
}

TEST(MusicAdd, XingWinsOverVbri)
{
    std::string first = Frame();
    std::string xing = "Xing" + U32(1) + U32(1000);
    std::string vbri = "VBRI" + std::string(10, '\0') + U32(500);
    std::string rest = Frames(5);
    std::string path = Put("/volume1/music/a.mp3", first.replace(36, xing.size(), xing) + rest);
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_FLOAT_EQ(Saved().duration, 1000.0f * 1152 / 44100);
    path = Put("/volume1/music/a.mp3", first.replace(60, vbri.size(), vbri) + rest);
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_FLOAT_EQ(Saved().duration, 1000.0f * 1152 / 44100);
    path = Put("/volume1/music/a.mp3", first.replace(36, 4, "Info") + rest);
    EXPECT_EQ(MusicIndexAdd(path.c_str()), 0);
    EXPECT_FLOAT_EQ(Saved().duration, 500.0f * 1152 / 44100);
}

TEST(MusicDelete, OnlyVanishedFiles)
{
    std::string path = Put("/volume1/music/b/song.mp3", "x");
    EXPECT_EQ(MusicIndexDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines, std::vector<std::string>{"music (#) File exists. Skip remove it from database."});
    EXPECT_TRUE(platform.calls.empty());
    unlink(path.c_str());
    EXPECT_EQ(MusicIndexDelete(path.c_str()), 0);
    EXPECT_EQ(platform.calls, std::vector<std::string>{"MediaInfoDBDelete 0 " + path});
    platform.results["MediaInfoDBDelete"] = -1;
    EXPECT_EQ(MusicIndexDelete(path.c_str()), -1);
    EXPECT_EQ(log_lines.back(), "music (#) Failed to remove [" + path + "] from database");
}

// ---- the read sequence itself ----

TEST(Mp3MetaParse, BadParametersAndFilesThatCannotBeOpened)
{
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp3MetaParse(nullptr, &record), -1);
    EXPECT_EQ(Mp3MetaParse("/x", nullptr), -1);
    std::string path = Scratch("/volume1/none.mp3");
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), -1);
    EXPECT_EQ(log_lines, (std::vector<std::string>{"metaid3 (#) Bad parameters.", "metaid3 (#) Bad parameters.",
                                                   "metaid3 (#) Unable to open " + path + " "}));
}

TEST(Mp3MetaParse, APipeIsNotWaitedFor)
{
    std::string path = Scratch("/volume1/music/pipe.mp3");
    MakeFolder(Scratch("/volume1/music"));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    MediaInfoRecord record = {};
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), -1);
    EXPECT_EQ(log_lines, std::vector<std::string>{"metaid3 (#) Unable to open " + path + " "});
}

TEST(Mp3MetaParse, AFileWhoseSizeCannotBeFound)
{
    MediaInfoRecord record = {};
    std::string path = Put("/volume1/music/a.mp3", Frames(3));
    system_calls.seek_fails = true;
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), -1);
    system_calls = {};
    system_calls.tell_fails = true;
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), -1);
    system_calls = {};
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), 0);
    EXPECT_EQ(log_lines,
              (std::vector<std::string>{"metaid3 (#) Unable to seek to end " + path + " ",
                                        "metaid3 (#) Seeking to end of input file " + path + " failed."}));
}

TEST(Mp3MetaParse, WithoutACoverFolderNothingIsCleaned)
{
    platform.results["GetCoverFolder"] = 0;
    MediaInfoRecord record = {};
    std::string path = Put("/volume1/music/a.mp3", Frames(3));
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), 0);
    EXPECT_EQ(platform.calls, std::vector<std::string>{"GetCoverFolder"});
}

TEST(Mp3MetaParse, VersionsBelowTwoAreSkippedUnread)
{
    for (char version : {'\0', '\1'}) {
        MediaInfoRecord record = {};
        std::string path = Put("/volume1/music/a.mp3", Tag(version, Frame23("TIT2", Latin("t"))) + Frames(3));
        EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), 0);
        EXPECT_STREQ(record.title, "");
        EXPECT_EQ(record.bitrate, 128000u);
    }
}

TEST(Mp3MetaParse, FramesInsideTheTagAreNotMusic)
{
    MediaInfoRecord record = {};
    std::string decoy = Frame({"\xFF\xFB\x10\xC0", 4}, 104) + Frame({"\xFF\xFB\x10\xC0", 4}, 104);
    std::string path = Put("/volume1/music/a.mp3", Tag(3, Frame23("PRIV", decoy)) + Frames(3));
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), 0);
    EXPECT_EQ(record.bitrate, 128000u);
}

// What was read from files so far, by this process; -1 where that is not told.
static long BytesRead()
{
    std::ifstream io("/proc/self/io");
    std::string name;
    long bytes = -1;
    return io >> name >> bytes ? bytes : -1;
}

TEST(Mp3MetaParse, ReadsWhatItNeedsOnce)
{
    std::string picture(500000, 'p');
    std::string tag =
        Tag(3, Frame23("TIT2", Latin("t")) + Frame23("APIC", Bytes("\0image/png\0\3\0") + picture));
    std::string path = Put("/volume1/music/a.mp3", tag + Frames(20000) + Id3v1("old"));
    MediaInfoRecord record = {};
    if (BytesRead() < 0)
        GTEST_SKIP() << "no /proc/self/io";
    long idle = BytesRead();
    idle = BytesRead() - idle;
    long before = BytesRead();
    EXPECT_EQ(Mp3MetaParse(path.c_str(), &record), 0);
    long bytes = BytesRead() - before - idle;
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    // The searched quarter, which holds the tag as well, and the last 128 bytes; at most one block too many.
    EXPECT_LE(bytes, status.st_size / 4 + 128 + MP3_CACHE_SIZE);
    EXPECT_GE(bytes, status.st_size / 4);
}
