// The media database: what is stored comes back, what goes is exactly what was meant.
#include "platform/media_index.h"

#include <math.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

class MediaIndex : public DatabaseTest
{
  protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        NUBOIndexMusicTableDirtySet(0);
        NUBOIndexVideoTableDirtySet(0);
    }
};

static constexpr int ALL_KINDS[] = {MEDIA_KIND_MUSIC, MEDIA_KIND_VIDEO, MEDIA_KIND_PHOTO, MEDIA_KIND_PLAYLIST};

static MediaInfoRecord Record(const std::string &path, const char *title = "")
{
    MediaInfoRecord record = {};
    memcpy(record.path, path.c_str(), path.size() + 1);
    snprintf(record.title, sizeof record.title, "%s", title);
    return record;
}

static int Save(int kind, const std::string &path, const char *title = "")
{
    MediaInfoRecord record = Record(path, title);
    return MediaInfoDBSave(kind, &record);
}

static Texts Column(int kind, const char *column, const std::string &condition = "")
{
    return ColumnOf(MediaInfoDBOpen(kind, "*", condition.c_str(), 0, "path asc", 0, 0, 0), column);
}

static Texts Paths(int kind)
{
    return Column(kind, "path");
}

static std::string Value(int kind, const char *column)
{
    Texts texts = Column(kind, column);
    return texts.size() == 1 ? texts[0] : "(" + std::to_string(texts.size()) + " rows)";
}

TEST_F(MediaIndex, EveryFieldComesBackInEveryTable)
{
    MediaInfoRecord record = Record("/volume1/music/a.mp3");
    record.track = 1, record.disc = -2, record.year = 1999;
    strcpy(record.title, "Title"), strcpy(record.album, "Album"), strcpy(record.artist, "Artist");
    strcpy(record.genre, "Genre"), strcpy(record.composer, "Composer"), strcpy(record.comment, "Comment");
    strcpy(record.camera_make, "Make"), strcpy(record.camera_model, "Model");
    strcpy(record.exposure_time, "1/60"), strcpy(record.aperture, "f/2.8");
    strcpy(record.date_taken, "2026-1-2 3:4:5");
    strcpy(record.create_time, "2026-03-01 12:00:00"), strcpy(record.modify_time, "2026-03-01 12:00:01");
    record.duration = 61.5f, record.bitrate = 128000, record.container_bitrate = 4294967295u;
    record.frequency = 44100, record.channels = 2, record.resolution_x = 640, record.resolution_y = 480;
    record.filesize = 5000000000u, record.cover_count = 1, record.iso = 400;
    static const struct {
        const char *column, *value;
    } expected[] = {
        {"path", "/volume1/music/a.mp3"},
        {"track", "1"},
        {"disc", "-2"},
        {"year", "1999"},
        {"title", "Title"},
        {"album", "Album"},
        {"artist", "Artist"},
        {"genre", "Genre"},
        {"composer", "Composer"},
        {"comment", "Comment"},
        {"camera_make", "Make"},
        {"camera_model", "Model"},
        {"exposure_time", "1/60"},
        {"aperture", "f/2.8"},
        {"date_taken", "2026-1-2 3:4:5"},
        {"create_time", "2026-03-01 12:00:00"},
        {"modify_time", "2026-03-01 12:00:01"},
        {"duration", "61.5"},
        {"bitrate", "128000"},
        {"container_bitrate", "4294967295"},
        {"frequency", "44100"},
        {"channels", "2"},
        {"resolution_x", "640"},
        {"resolution_y", "480"},
        {"filesize", "5000000000"},
        {"cover_count", "1"},
        {"iso", "400"},
    };
    for (int kind : ALL_KINDS) {
        ASSERT_EQ(MediaInfoDBSave(kind, &record), 0);
        for (const auto &e : expected)
            EXPECT_EQ(Value(kind, e.column), e.value) << e.column;
    }
}

TEST_F(MediaIndex, SecondSaveReplacesTheWholeRow)
{
    MediaInfoRecord record = Record("/a.mp3", "Old");
    record.track = 5;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    ASSERT_EQ(Save(MEDIA_KIND_MUSIC, "/a.mp3", "New"), 0);
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "title"), "New");
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "track"), "0");
}

TEST_F(MediaIndex, PathsAreAnyBytesUpTo4095)
{
    for (size_t length : {2u, 255u, 256u, 1000u, 2048u, 4094u, 4095u}) {
        std::string path = OddPath("", length);
        ASSERT_EQ(Save(MEDIA_KIND_VIDEO, path), 0) << length;
        EXPECT_EQ(Paths(MEDIA_KIND_VIDEO), Texts{path});
        EXPECT_EQ(Column(MEDIA_KIND_VIDEO, "path", "path = '" + Quoted(path) + "'"), Texts{path});
        ASSERT_EQ(MediaInfoDBDelete(MEDIA_KIND_VIDEO, path.c_str()), 0);
        EXPECT_EQ(Paths(MEDIA_KIND_VIDEO), Texts{});
    }
}

TEST_F(MediaIndex, PathsThatDifferInTheLastByteAreTwo)
{
    std::string one = OddPath("", 4095);
    std::string other = one;
    other.back() = static_cast<char>(other.back() + 1);
    ASSERT_EQ(Save(MEDIA_KIND_VIDEO, one, "one"), 0);
    ASSERT_EQ(Save(MEDIA_KIND_VIDEO, other, "other"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_VIDEO).size(), 2u);
    ASSERT_EQ(MediaInfoDBDelete(MEDIA_KIND_VIDEO, one.c_str()), 0);
    EXPECT_EQ(Value(MEDIA_KIND_VIDEO, "title"), "other");
}

TEST_F(MediaIndex, RecordThatCannotBeARowIsRefused)
{
    EXPECT_NE(MediaInfoDBSave(MEDIA_KIND_MUSIC, nullptr), 0);
    EXPECT_NE(Save(MEDIA_KIND_MUSIC, ""), 0);
    MediaInfoRecord record = Record("/a");
    memset(record.path, 'x', sizeof record.path);  // not terminated
    EXPECT_NE(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    for (int kind : {-1, 4, 5, 6, 1000000})
        EXPECT_NE(Save(kind, "/a"), 0) << kind;
    EXPECT_NE(MediaInfoDBDirSave(nullptr), 0);
    EXPECT_NE(MediaInfoDBDirSave(""), 0);
    EXPECT_NE(MediaInfoDBDirSave(std::string(4096, 'x').c_str()), 0);
    for (int kind : ALL_KINDS)
        EXPECT_EQ(Paths(kind), Texts{});
}

TEST_F(MediaIndex, FullTextFieldsComeBackWhole)
{
    MediaInfoRecord record = Record("/a.mp3");
    memset(record.comment, 'c', sizeof record.comment - 1);
    memset(record.aperture, 'a', sizeof record.aperture - 1);
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PHOTO, &record), 0);
    EXPECT_EQ(Value(MEDIA_KIND_PHOTO, "comment"), std::string(254, 'c'));
    EXPECT_EQ(Value(MEDIA_KIND_PHOTO, "aperture"), std::string(19, 'a'));
}

TEST_F(MediaIndex, TextsAreCleanedOnTheWay)
{
    MediaInfoRecord record = Record("/\xE9/a.mp3", "caf\xE9\x01");
    MediaInfoRecord before = record;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "title"), "caf\xC3\xA9");
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "path"), "/\xE9/a.mp3");  // the path is not a text
    EXPECT_EQ(memcmp(&before, &record, sizeof record), 0);      // nor is the caller's record touched
}

TEST_F(MediaIndex, Utf16TextIsStoredAsUtf8)
{
    MediaInfoRecord record = Record("/a.mp3");
    memcpy(record.artist,
           "\xFF\xFE"
           "B\0j\0\xF6\0r\0k\0",
           12);
    record.artist_encoding = 1;
    ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "artist"), "Bj\xC3\xB6rk");
}

TEST_F(MediaIndex, BothFormsOfATimeAreOneInTheTable)
{
    static const struct {
        const char *given, *stored;
    } cases[] = {
        {"2026-03-01 12:00:00", "2026-03-01 12:00:00"},
        {"Sun Mar  1 12:00:00 2026\n", "2026-03-01 12:00:00"},
        {"Fri Dec 31 23:59:59 1999", "1999-12-31 23:59:59"},
        {"", ""},
        {"yesterday", "yesterday"},
        {"Sun Foo  1 12:00:00 2026", "Sun Foo  1 12:00:00 2026"},
        {"Sun anF  1 12:00:00 2026", "Sun anF  1 12:00:00 2026"},
    };
    for (const auto &c : cases) {
        MediaInfoRecord record = Record("/list.m3u");
        strcpy(record.create_time, c.given);
        strcpy(record.modify_time, c.given);
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_PLAYLIST, &record), 0);
        EXPECT_EQ(Value(MEDIA_KIND_PLAYLIST, "create_time"), c.stored);
        EXPECT_EQ(Value(MEDIA_KIND_PLAYLIST, "modify_time"), c.stored);
    }
}

TEST_F(MediaIndex, NumbersThatAreNoneAreUnknown)
{
    for (float duration : {NAN, INFINITY, -INFINITY}) {
        MediaInfoRecord record = Record("/a.mp3");
        record.duration = duration;
        record.filesize = UINT64_MAX;
        ASSERT_EQ(MediaInfoDBSave(MEDIA_KIND_MUSIC, &record), 0);
        EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "duration"), "0.0");
        EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "filesize"), "9223372036854775807");
    }
}

TEST_F(MediaIndex, DeleteTakesOneRowOfOneTable)
{
    for (int kind : ALL_KINDS) {
        ASSERT_EQ(Save(kind, "/a"), 0);
        ASSERT_EQ(Save(kind, "/a/b"), 0);
    }
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_VIDEO, "/a"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_VIDEO), Texts{"/a/b"});
    EXPECT_EQ(Paths(MEDIA_KIND_MUSIC), (Texts{"/a", "/a/b"}));
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_VIDEO, "/a"), 0);  // what is not there is removed already
    EXPECT_NE(MediaInfoDBDelete(MEDIA_KIND_VIDEO, nullptr), 0);
    EXPECT_NE(MediaInfoDBDelete(MEDIA_KIND_VIDEO, ""), 0);
    EXPECT_NE(MediaInfoDBDelete(4, "/a"), 0);
    EXPECT_NE(MediaInfoDBDelete(-1, "/a"), 0);
}

static void FolderFill()
{
    for (int kind : ALL_KINDS) {
        for (const char *path : {"/v/old", "/v/old/a", "/v/old/sub/b", "/v/old2/a", "/v/old.a", "/v/ol",
                                 "/v/Old/a", "/v/old/\xFF\xFF", "/v/old0", "/w/old/a"})
            ASSERT_EQ(Save(kind, path), 0);
    }
    for (const char *dir : {"/v/old", "/v/old/sub", "/v/old2", "/v"})
        ASSERT_EQ(MediaInfoDBDirSave(dir), 0);
}

TEST_F(MediaIndex, FolderGoesWithAllThatLiesInItAndNothingElse)
{
    for (const char *folder : {"/v/old", "/v/old/", "/v/old//"}) {
        FolderFill();
        EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, folder), 0);
        for (int kind : ALL_KINDS)
            EXPECT_EQ(Paths(kind),
                      (Texts{"/v/Old/a", "/v/ol", "/v/old.a", "/v/old0", "/v/old2/a", "/w/old/a"}));
        EXPECT_EQ(Paths(MEDIA_KIND_SUBTREE), (Texts{"/v", "/v/old2"}));
    }
}

TEST_F(MediaIndex, RootFolderIsEverything)
{
    FolderFill();
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/"), 0);
    for (int kind : ALL_KINDS)
        EXPECT_EQ(Paths(kind), Texts{});
    EXPECT_EQ(Paths(MEDIA_KIND_SUBTREE), Texts{});
}

TEST_F(MediaIndex, FolderNamesAreNoPatterns)
{
    for (const char *path : {"/a%/x", "/ab/x", "/a_/x", "/a'/x", "/a\\/x"})
        ASSERT_EQ(Save(MEDIA_KIND_MUSIC, path), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/a%"), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/a_"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_MUSIC), (Texts{"/a'/x", "/a\\/x", "/ab/x"}));
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/a'"), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/a\\"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_MUSIC), Texts{"/ab/x"});
}

static std::string CoverMake(const char *media_path)
{
    char path[4096];
    EXPECT_TRUE(GetCoverPath(media_path, path, sizeof path, 3, 1, 1));
    WriteFile(path, "picture");
    return path;
}

TEST_F(MediaIndex, CoversGoWithTheirMusicRow)
{
    std::string a = CoverMake("/m/a.mp3");
    std::string b = CoverMake("/m/b.mp3");
    std::string c = CoverMake("/m2/c.mp3");
    for (const char *path : {"/m/a.mp3", "/m/b.mp3", "/m2/c.mp3"})
        ASSERT_EQ(Save(MEDIA_KIND_MUSIC, path), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_MUSIC, "/m/a.mp3"), 0);
    EXPECT_NE(access(a.c_str(), F_OK), 0);
    EXPECT_EQ(access(b.c_str(), F_OK), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/m"), 0);
    EXPECT_NE(access(b.c_str(), F_OK), 0);
    EXPECT_EQ(access(c.c_str(), F_OK), 0);
    EXPECT_EQ(NUBOTruncateTable("music"), 0);
    EXPECT_NE(access(c.c_str(), F_OK), 0);
}

TEST_F(MediaIndex, CoverOfAMusicFileStaysWhenARowOfAnotherKindGoes)
{
    std::string cover = CoverMake("/m/a.mp4");
    ASSERT_EQ(Save(MEDIA_KIND_MUSIC, "/m/a.mp4"), 0);
    ASSERT_EQ(Save(MEDIA_KIND_VIDEO, "/m/a.mp4"), 0);
    EXPECT_EQ(MediaInfoDBDelete(MEDIA_KIND_VIDEO, "/m/a.mp4"), 0);
    EXPECT_EQ(access(cover.c_str(), F_OK), 0);
}

TEST_F(MediaIndex, FolderRowIsSavedOnce)
{
    EXPECT_EQ(MediaInfoDBDirSave("/v/A"), 0);
    EXPECT_EQ(MediaInfoDBDirSave("/v/A"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_SUBTREE), Texts{"/v/A"});
}

TEST_F(MediaIndex, TruncateKnowsItsTables)
{
    static constexpr const char *NAMES[] = {"music", "video", "photo", "playlist"};
    FolderFill();
    for (const char *name :
         {"", "Music", "music ", "music; delete from video", "sqlite_master", "photo_share", "x"})
        EXPECT_NE(NUBOTruncateTable(name), 0) << name;
    EXPECT_NE(NUBOTruncateTable(nullptr), 0);
    for (int kind : ALL_KINDS)
        EXPECT_EQ(Paths(kind).size(), 10u);
    for (int kind : ALL_KINDS) {
        EXPECT_EQ(NUBOTruncateTable(NAMES[kind]), 0);
        EXPECT_EQ(Paths(kind), Texts{});
        for (int later = kind + 1; later <= MEDIA_KIND_PLAYLIST; later++)
            EXPECT_EQ(Paths(later).size(), 10u);
    }
    EXPECT_EQ(Paths(MEDIA_KIND_SUBTREE).size(), 4u);
    EXPECT_EQ(NUBOTruncateTable("directory"), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_SUBTREE), Texts{});
}

static std::string Dirty()
{
    std::string dirty = BlNUBOIndexIsMusicTableDirty() ? "music " : "";
    dirty += BlNUBOIndexIsVideoTableDirty() ? "video" : "";
    NUBOIndexMusicTableDirtySet(0);
    NUBOIndexVideoTableDirtySet(0);
    return dirty;
}

TEST_F(MediaIndex, FlagsTellWhichTableChanged)
{
    EXPECT_EQ(Dirty(), "");
    Save(MEDIA_KIND_MUSIC, "/a");
    EXPECT_EQ(Dirty(), "music ");
    Save(MEDIA_KIND_VIDEO, "/a");
    EXPECT_EQ(Dirty(), "video");
    Save(MEDIA_KIND_PHOTO, "/a");
    Save(MEDIA_KIND_PLAYLIST, "/a");
    MediaInfoDBDirSave("/a");
    EXPECT_EQ(Dirty(), "");
    MediaInfoDBDelete(MEDIA_KIND_MUSIC, "/none");
    MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/none");
    EXPECT_EQ(Dirty(), "");
    MediaInfoDBDelete(MEDIA_KIND_MUSIC, "/a");
    EXPECT_EQ(Dirty(), "music ");
    NUBOTruncateTable("music");  // empty already
    EXPECT_EQ(Dirty(), "");
    MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/a");
    EXPECT_EQ(Dirty(), "video");
    Save(MEDIA_KIND_MUSIC, "/a");
    Save(MEDIA_KIND_VIDEO, "/b");
    EXPECT_EQ(Dirty(), "music video");
    NUBOTruncateTable("music");
    NUBOTruncateTable("video");
    EXPECT_EQ(Dirty(), "music video");
    NUBOIndexMusicTableDirtySet(1);
    EXPECT_TRUE(BlNUBOIndexIsMusicTableDirty());
    EXPECT_FALSE(BlNUBOIndexIsVideoTableDirty());
}

TEST_F(MediaIndex, FailedSaveSetsNoFlagAndKeepsTheRow)
{
    ASSERT_EQ(Save(MEDIA_KIND_MUSIC, "/a", "kept"), 0);
    (void)Dirty();
    EXPECT_NE(Save(4, "/a", "lost"), 0);
    EXPECT_EQ(Dirty(), "");
    EXPECT_EQ(Value(MEDIA_KIND_MUSIC, "title"), "kept");
}

TEST_F(MediaIndex, VideoIsMarkedAsSeen)
{
    ASSERT_EQ(Save(MEDIA_KIND_VIDEO, "/a"), 0);
    ASSERT_EQ(Save(MEDIA_KIND_VIDEO, "/b"), 0);
    (void)Dirty();
    EXPECT_EQ(NUBOIndexPhotoUpdateVideoStatus("/b"), 0);
    EXPECT_EQ(Column(MEDIA_KIND_VIDEO, "seen"), (Texts{"0", "1"}));
    EXPECT_EQ(NUBOIndexPhotoUpdateVideoStatus("/b"), 0);
    EXPECT_EQ(NUBOIndexPhotoUpdateVideoStatus("/none"), 0);
    EXPECT_NE(NUBOIndexPhotoUpdateVideoStatus(nullptr), 0);
    EXPECT_EQ(Dirty(), "");  // nobody has to read the table again
}

TEST_F(MediaIndex, QueryTakesColumnsConditionAndOrder)
{
    for (const char *path : {"/p/b.avi", "/p/a.avi", "/p/sub/c.avi", "/p2/d.avi"})
        ASSERT_EQ(Save(MEDIA_KIND_VIDEO, path, path + 1), 0);
    NuboDbHandle *handle = MediaInfoDBOpen(
        MEDIA_KIND_VIDEO, "path, title", "path like '/p/%' and path not like '/p/%/%'", 0, "path asc", 0, 0, 0);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->row_count, 2);
    EXPECT_EQ(ColumnOf(handle, "path"), (Texts{"/p/a.avi", "/p/b.avi"}));
    EXPECT_EQ(
        ColumnOf(MediaInfoDBOpen(MEDIA_KIND_VIDEO, nullptr, nullptr, 0, nullptr, 0, 0, 0), "title").size(), 4u);
    EXPECT_EQ(ColumnOf(MediaInfoDBOpen(MEDIA_KIND_VIDEO, "count(*) as n", "", 0, "", 0, 0, 0), "n"),
              Texts{"4"});
    EXPECT_EQ(MediaInfoDBOpen(4, "*", nullptr, 0, nullptr, 0, 0, 0), nullptr);
    EXPECT_EQ(MediaInfoDBOpen(MEDIA_KIND_VIDEO, "nothing_like_it", nullptr, 0, nullptr, 0, 0, 0), nullptr);
}

TEST_F(MediaIndex, RowSurvivesKillRightAfterItsSave)
{
    for (int kind : ALL_KINDS) {
        std::string path = "/killed" + std::to_string(kind);
        RunAndKill([&] { (void)Save(kind, path, "whole"); });
        EXPECT_EQ(Paths(kind), Texts{path});
        EXPECT_EQ(Value(kind, "title"), "whole");
    }
}

// The child says over a pipe what was reported as stored, and dies at any moment.
static void SaveAndTell(int pipe_end)
{
    for (int i = 0;; i++) {
        if (Save(MEDIA_KIND_MUSIC, "/m/" + std::to_string(i), "whole") != 0)
            _exit(1);
        if (write(pipe_end, &i, sizeof i) != static_cast<ssize_t>(sizeof i))
            _exit(1);
    }
}

static int KillAtSomeMoment(useconds_t moment)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    DbClose();
    pid_t child = fork();
    if (child == 0)
        SaveAndTell(ends[1]);
    close(ends[1]);
    usleep(moment);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    int last = -1;
    for (int i = 0; read(ends[0], &i, sizeof i) == static_cast<ssize_t>(sizeof i);)
        last = i;
    close(ends[0]);
    return last + 1;
}

TEST_F(MediaIndex, RowsReportedBeforeAKillAtAnyMomentAreThere)
{
    std::mt19937 random(3);
    int reported_in_all = 0;
    for (int round = 0; round < 25; round++) {
        int reported = KillAtSomeMoment(static_cast<useconds_t>(random() % 40000));
        reported_in_all += reported;
        Texts titles = Column(MEDIA_KIND_MUSIC, "title");
        ASSERT_GE(static_cast<int>(titles.size()), reported);
        ASSERT_LE(static_cast<int>(titles.size()), reported + 1);  // stored, and killed before it could say so
        EXPECT_EQ(std::count(titles.begin(), titles.end(), "whole"), static_cast<long>(titles.size()));
        ASSERT_EQ(NUBOTruncateTable("music"), 0);
    }
    EXPECT_GT(reported_in_all, 100);
}

TEST_F(MediaIndex, RowStaysGoneAfterKill)
{
    FolderFill();
    RunAndKill([] { (void)MediaInfoDBDelete(MEDIA_KIND_SUBTREE, "/v"); });
    for (int kind : ALL_KINDS)
        EXPECT_EQ(Paths(kind), Texts{"/w/old/a"});
}

TEST_F(MediaIndex, VacuumOfAnEmptyAndOfAUsedDatabase)
{
    EXPECT_EQ(MediaDBVacuum(), 0);
    ASSERT_EQ(Save(MEDIA_KIND_MUSIC, "/a"), 0);
    EXPECT_EQ(MediaDBVacuum(), 0);
    EXPECT_EQ(Paths(MEDIA_KIND_MUSIC), Texts{"/a"});
}

class SqliteMediaIndex : public DatabaseTest
{
};

// A whole folder out of 100,000 rows: the plan must not walk the table.
TEST_F(SqliteMediaIndex, SubtreeDeleteUsesTheRangeOfPaths)
{
    for (const char *table : {"music", "video", "photo", "playlist", "directory"}) {
        std::string plan;
        for (const std::string &step : Query(DB_MEDIA,
                                             std::string("explain query plan delete from ") + table +
                                                 " where path = '/a' or (path >= '/a/' and path < '/a0')",
                                             "detail"))
            plan += step + "\n";
        EXPECT_EQ(plan.find("SCAN"), plan.npos) << plan;
        EXPECT_NE(plan.find("path>? AND path<?"), plan.npos) << plan;
    }
}
