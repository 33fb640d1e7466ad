#include "sync_box.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/index_queue.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

static constexpr int TABLE_GALLERY = 0, TABLE_ALBUMS = 3;

// The pass over the photo share leaves its queries open on purpose; no leak checker is to stumble over them.
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:PhotoShareMarkUpdated\n";
}

static std::string VolumeMake()
{
    for (int number = 0; number < 1000; number++) {
        char path[16];
        snprintf(path, sizeof path, "/tmp/%03d", number);
        if (mkdir(path, 0755) == 0)
            return path;
    }
    abort();
}

void SyncBox::SetUp()
{
    NUBOIndexMusicTableDirtySet(0);  // the library looks whether its databases are still the same files
    for (const char *table : {"music", "video", "photo", "playlist", "directory"})
        (void)NUBOTruncateTable(table);  // a server keeps its rows from one test of a program to the next
    (void)PhotoDBExec("delete from photo");
    (void)PhotoDBExec("delete from photo_share");
    supportphoto = 1;
    WriteFile(DEFAULT_SETTINGS_PATH, "supportphoto=\"yes\"\n");
    volume = VolumeMake();
    for (const auto &[link, name] :
         {std::pair(MUSIC_SHARE_LINK, "/music"), std::pair(VIDEO_SHARE_LINK, "/video"),
          std::pair(PHOTO_SHARE_LINK, "/photo")}) {
        MakeFolder(volume + name);
        fs::create_symlink(volume + name, link);
    }
}

void SyncBox::TearDown()
{
    supportphoto = 0;
    fs::remove_all(volume);
}

std::string SyncBox::Music(const std::string &name) const
{
    return volume + "/music/" + name;
}

std::string SyncBox::Video(const std::string &name) const
{
    return volume + "/video/" + name;
}

std::string SyncBox::Photo(const std::string &name) const
{
    return volume + "/photo/" + name;
}

void SyncBox::Batch()
{
    if (fs::exists(INDEX_QUEUE_PATH))
        IndexQueueProcess();
}

void SyncBox::Requests(const std::string &lines)
{
    WriteFile(INDEX_QUEUE_PATH, lines);
    Batch();
}

void SyncBox::Rebuild()
{
    Requests("R:all\nR:photo\n");
}

static SyncReport RunOnce(SyncOptions options, bool queue, int status, std::string &err)
{
    options.queue = queue;
    std::ostringstream out, errors;
    SyncReport report;
    EXPECT_EQ(SyncRun(options, report, Output{out, errors, 0}), status) << errors.str();
    EXPECT_EQ(out.str(), "");
    err = errors.str();
    return report;
}

SyncReport SyncBox::Check(const SyncOptions &options, int status)
{
    return RunOnce(options, false, status, err);
}

SyncReport SyncBox::Sync(const SyncOptions &options, int status)
{
    return RunOnce(options, true, status, err);
}

void SyncBox::ExpectMended()
{
    (void)Sync();
    Batch();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
    std::string mended = DatabaseDump();
    Rebuild();
    EXPECT_EQ(mended, DatabaseDump());
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

std::string DifferenceText(const SyncBox &box, const SyncReport &report)
{
    std::string text;
    for (const SyncDifference &difference : report.differences) {
        std::string path = difference.path.starts_with(box.volume) ? difference.path.substr(box.volume.size())
                                                                   : difference.path;
        text += difference.sign + (" " + path) + (difference.is_folder ? "/" : "");
        text += difference.paths > 1 ? " " + std::to_string(difference.paths) : "";
        text += '\n';
    }
    return text;
}

static std::string RowsText(const char *name, NuboDbHandle *query, const std::vector<const char *> &columns)
{
    std::string text;
    EXPECT_NE(query, nullptr) << name;
    while (query && NUBODBFetchRow(query->result, &query->row) == 0) {
        text += name;
        for (const char *column : columns) {
            const char *value = NUBODBFetchField(query->result, query->row, column);
            text += "|" + std::string(value ? value : "");
        }
        text += '\n';
    }
    PhotoInfoDBClose(query);
    return text;
}

std::string DatabaseDump()
{
    const std::vector<const char *> file = {"path",     "title",       "album",      "artist",
                                            "filesize", "create_time", "modify_time"};
    std::string text;
    for (int kind : {MEDIA_KIND_MUSIC, MEDIA_KIND_VIDEO, MEDIA_KIND_PHOTO, MEDIA_KIND_PLAYLIST})
        text +=
            RowsText(std::to_string(kind).c_str(), MediaInfoDBOpen(kind, "*", "", 0, "path", 0, 0, 0), file);
    text += RowsText("folder", MediaInfoDBOpen(MEDIA_KIND_SUBTREE, "*", "", 0, "path", 0, 0, 0), {"path"});
    text += RowsText("gallery", PhotoInfoDBOpen(TABLE_GALLERY, "*", "", 0, "path", 0, 0),
                     {"path", "name", "title", "album", "date_taken", "create_time", "filesize"});
    text += RowsText("album", PhotoInfoDBOpen(TABLE_ALBUMS, "*", "", 0, "sharename", 0, 0),
                     {"sharename", "public", "is_subdir"});
    return text;
}

static bool HasRow(NuboDbHandle *query)
{
    bool found = query && query->row_count > 0;
    PhotoInfoDBClose(query);
    return found;
}

bool HasMediaRow(int kind, const std::string &path)
{
    return HasRow(MediaInfoDBOpen(kind, "path", ("path = '" + path + "'").c_str(), 0, "", 0, 0, 0));
}

bool HasGalleryRow(const std::string &path)
{
    return HasRow(PhotoInfoDBOpen(TABLE_GALLERY, "path", ("path = '" + path + "'").c_str(), 0, "", 0, 0));
}

bool HasAlbum(const std::string &name)
{
    return HasRow(
        PhotoInfoDBOpen(TABLE_ALBUMS, "shareid", ("sharename = '" + name + "'").c_str(), 0, "", 0, 0));
}

std::string QueueText()
{
    return ReadFile(INDEX_QUEUE_PATH);
}
