// Dispatch of single paths.
#include "index/index_file.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "index/handler_table.h"
#include "index/index_modes.h"
#include "index/playlist.h"
#include "photo/photo_media.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"
#include "video/media_handlers.h"
#include "video/video.h"

using Lines = std::vector<std::string>;

TEST(HandlerTable, FindIgnoresCaseAndTakesTheWholeExtension)
{
    EXPECT_EQ(IndexHandlerFind(nullptr), nullptr);
    EXPECT_EQ(IndexHandlerFind(""), nullptr);
    EXPECT_EQ(IndexHandlerFind("mp"), nullptr);
    EXPECT_EQ(IndexHandlerFind("mp33"), nullptr);
    EXPECT_EQ(IndexHandlerFind("txt"), nullptr);
    ASSERT_NE(IndexHandlerFind("mp3"), nullptr);
    EXPECT_EQ(IndexHandlerFind("MP3"), IndexHandlerFind("mp3"));
    EXPECT_EQ(IndexHandlerFind("Dvr-MS"), IndexHandlerFind("dvr-ms"));
}

// The whole table, in order, with the asymmetries spelt out.
TEST(HandlerTable, RowsStandInTheirOrder)
{
    static const char *const order[] = {
        "mp3", "mp1",  "mp2",  "mpa", "wma", "wav", "ogg",  "m4a", "aac",  "ac3",    "ram",  "ra",
        "m4p", "flac", "aiff", "aif", "pcm", "m4b", "ape",  "m3u", "wpl",  "avi",    "mpg",  "mpeg",
        "dat", "asf",  "wmv",  "vob", "mov", "rm",  "rmvb", "mp4", "divx", "xvid",   "flv",  "mkv",
        "ts",  "m2ts", "m2t",  "mts", "m4v", "3gp", "3g2",  "qt",  "swf",  "dvr-ms", "iso",  "ifo",
        "srt", "ass",  "ssa",  "idx", "sub", "smi", "psb",  "trp", "tp",   "jpg",    "jpeg", "jpe",
        "bmp", "gif",  "ico",  "png", "psd", "tif", "tiff", "ufo"};
    ASSERT_EQ(std::size(order), 68u);
    for (size_t i = 0; i < 68; i++)
        EXPECT_STREQ(IndexHandlerTable[i].ext, order[i]) << i;
    EXPECT_EQ(IndexHandlerTable[68].ext, nullptr);
}

TEST(HandlerTable, AsymmetriesAreKept)
{
    EXPECT_EQ(IndexHandlerFind("mp4")->add, MediaVideoAdd);
    EXPECT_NE(IndexHandlerFind("m4a")->add, MediaVideoAdd);
    EXPECT_EQ(IndexHandlerFind("m4a")->add, IndexHandlerFind("m4p")->add);
    EXPECT_EQ(IndexHandlerFind("m4a")->add, IndexHandlerFind("m4b")->add);
    for (const char *ext : {"aac", "flac", "pcm"}) {
        EXPECT_NE(IndexHandlerFind(ext)->add, MediaAudioAdd) << ext;
        EXPECT_EQ(IndexHandlerFind(ext)->del, MediaAudioDelete) << ext;
    }
    EXPECT_EQ(IndexHandlerFind("dat")->add, VideoIndexAdd);
    EXPECT_EQ(IndexHandlerFind("dat")->del, VideoIndexDelete);
    for (const char *ext : {"iso", "ifo", "srt", "ass", "ssa", "idx", "sub", "smi", "psb"}) {
        EXPECT_EQ(IndexHandlerFind(ext)->add, MediaVideoFileAdd) << ext;
        EXPECT_EQ(IndexHandlerFind(ext)->del, MediaVideoDelete) << ext;
    }
    for (const char *ext : {"jpg", "ufo", "ico", "tiff"})
        EXPECT_EQ(IndexHandlerFind(ext)->add, PhotoMediaAdd) << ext;
    for (const char *ext : {"m3u", "wpl"})
        EXPECT_EQ(IndexHandlerFind(ext)->del, PlaylistDelete) << ext;
}

TEST(IndexFile, BadArgumentsAreReported)
{
    EXPECT_EQ(IndexFileUpdate(nullptr, INDEX_MODE_ADD), -1);
    for (int mode : {0, +INDEX_MODE_REBUILD, 4, +INDEX_MODE_REFRESH, -1})
        EXPECT_EQ(IndexFileUpdate("/x/a.m3u", mode), -1) << mode;
    EXPECT_EQ(log_lines, Lines(6, "index_file (#) Bad parameter."));
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(IndexFile, UpperAndLowerCaseExtensionsReachTheSameHandler)
{
    for (const char *name : {"/x/Song.M3U", "/x/song.m3u", "/x/song.M3u"}) {
        platform.calls.clear();
        WriteFile(Scratch(name), "");
        EXPECT_EQ(IndexFileUpdate(Scratch(name).c_str(), INDEX_MODE_ADD), 0);
        EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + Scratch(name)});
    }
}

TEST(IndexFile, ResourceForkCompanionsAreSkippedInAddModeOnly)
{
    std::string path = Scratch("/x/._song.m3u");
    WriteFile(path, "");
    EXPECT_EQ(IndexFileUpdate(path.c_str(), INDEX_MODE_ADD), -1);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(IndexFileUpdate("/gone/._song.m3u", INDEX_MODE_DELETE), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDelete 3 /gone/._song.m3u"});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(IndexFile, NoExtensionFailsAndUnknownExtensionDoesNothing)
{
    for (const char *name : {"/x/README", "/x.d/README"}) {
        WriteFile(Scratch(name), "");
        EXPECT_EQ(IndexFileUpdate(Scratch(name).c_str(), INDEX_MODE_ADD), -1);
        EXPECT_EQ(IndexFileUpdate(Scratch(name).c_str(), INDEX_MODE_DELETE), -1);
    }
    WriteFile(Scratch("/x/readme.txt"), "");
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/readme.txt").c_str(), INDEX_MODE_ADD), 0);
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/readme.txt").c_str(), INDEX_MODE_DELETE), 0);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(log_lines, Lines{});
}

TEST(IndexFile, LastDotDecides)
{
    WriteFile(Scratch("/x/a.tar.m3u"), "");
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/a.tar.m3u").c_str(), INDEX_MODE_ADD), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBSave 3 " + Scratch("/x/a.tar.m3u")});
}

TEST(IndexFile, FolderIsSavedInAddModeAndLeftAloneInDeleteMode)
{
    std::string folder = Scratch("/x/album.mp3");  // the name does not make it a file
    MakeFolder(folder);
    EXPECT_EQ(IndexFileUpdate(folder.c_str(), INDEX_MODE_DELETE), 0);
    EXPECT_EQ(platform.calls, Lines{});
    EXPECT_EQ(IndexFileUpdate(folder.c_str(), INDEX_MODE_ADD), 0);
    EXPECT_EQ(platform.calls, Lines{"MediaInfoDBDirSave " + folder});
}

TEST(IndexFile, FailedFolderSaveIsIgnored)
{
    MakeFolder(Scratch("/x/album"));
    platform.results["MediaInfoDBDirSave"] = -1;
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/album").c_str(), INDEX_MODE_ADD), 0);
    EXPECT_EQ(log_lines, Lines{"media_record (#) Failed to save directory info to database."});
}

TEST(IndexFile, PathWithoutSlashIsRefusedInAddMode)
{
    EXPECT_EQ(IndexFileUpdate("a.m3u", INDEX_MODE_ADD), -1);
    EXPECT_EQ(platform.calls, Lines{});
}

TEST(IndexFile, HandlerResultsArePassedOn)
{
    WriteFile(Scratch("/x/a.m3u"), "");
    platform.results["MediaInfoDBSave"] = -1;
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/a.m3u").c_str(), INDEX_MODE_ADD), -1);
    EXPECT_EQ(IndexFileUpdate(Scratch("/x/a.m3u").c_str(), INDEX_MODE_DELETE), -1);  // it still exists
}

TEST(IndexFile, StoredWithoutMetadataGoesToTheEventLogAndFails)
{
    std::string path = Scratch("/volume1/music/broken.wma");
    WriteFile(path, "this is not a media file");
    EXPECT_EQ(IndexFileUpdate(path.c_str(), INDEX_MODE_ADD), -1);
    ASSERT_FALSE(log_lines.empty());
    EXPECT_EQ(log_lines.back(), "index_file:# Failed to parse media metadata of file [" + path + "].");
    EXPECT_EQ(platform.calls, (Lines{"MediaInfoValid " + path, "MediaInfoDBSave 0 " + path,
                                     "NUBOLogSet1 2 3 11B00510 " + path + " []"}));
}

// Whoever opened one would wait for a writer for ever; and where a pipe is opened, a device is too.
TEST(IndexFile, PipesUnderTheNamesOfAllFormatsAreNotEvenOpened)
{
    MakeFolder(Scratch("/volume1/x"));
    int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    for (const IndexHandler *row = IndexHandlerTable; row->ext; row++) {
        std::string path = Scratch("/volume1/x/pipe.") + row->ext;
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        ASSERT_GE(inotify_add_watch(watch, path.c_str(), IN_OPEN), 0);
        (void)IndexFileUpdate(path.c_str(), INDEX_MODE_ADD);
        char events[4096];
        EXPECT_EQ(read(watch, events, sizeof events), -1) << row->ext;
    }
    close(watch);
}
