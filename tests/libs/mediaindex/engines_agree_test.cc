// Random changes and queries of the kinds that the daemon and its siblings make, over paths of every sort of bytes: what
// they answer on PostgreSQL is what they answer on SQLite, step by step.
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <random>

#include "libs/database_test.h"
#include "libs/syslog_capture.h"
#include "nlib/config.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "support/scratch.h"

static constexpr int STEPS = 500;

enum PhotoTable { PHOTO = 0, VIDEO_DESC = 1, PHOTO_SHARE = 3 };

// One trial: what was done, and what came of it.
struct Trial {
    std::mt19937 random;
    Texts steps;
    Texts answers;
};

static size_t Below(Trial *run, size_t limit)
{
    return run->random() % limit;
}

static const char *const PIECES[] = {
    "a",
    "A",
    "b",
    "ab",
    "%",
    "_",
    "\\",
    "\\\\",
    "'",
    "''",
    "\"",
    "\n",
    "\r\n",
    "\t",
    " ",
    "$1",
    "$$",
    "--",
    "/*",
    "*/",
    ";",
    "0",
    "\xE9",
    "\xC3\xA9",
    "\xC3",
    "\xA9",
    "e\xCC\x81",
    "\xFF",
    "\xFE",
    "\x80",
    "\x01",
    "\x7F",
    "\xEF\xBF\xBF",
    "\xEF\xBF\xBD",
    "\xF0\x9F\x98\x80",
    "\xF0\x9F\x98",
    "\xED\xA0\x80",
    "\xC0\xAF",
    ".",
    "[",
    ")",
    "E'",
    "::bytea",
    "like",
    "\xF4\x8F\xBF\xBF",
    "\xF7\xBF\xBF\xBF",
    "?",
    "^",
    "+",
    "{2}",
    "|",
};

static std::string Name(Trial *run)
{
    std::string name;
    for (size_t left = 1 + Below(run, 3); left > 0; left--)
        name += PIECES[Below(run, std::size(PIECES))];
    return name;
}

// Few folders, so that statements meet each other's rows; now and then one that is longer than a key's head.
static std::string Folder(Trial *run)
{
    static const char *const TOPS[] = {"/v",      "/v/a",    "/v/a_b",  "/v/aXb", "/v/a%b",
                                       "/v/a\\b", "/v/\xE9", "/v/\xE8", "/v/o'o"};
    std::string folder = TOPS[Below(run, std::size(TOPS))];
    size_t kind = Below(run, 12);
    if (kind == 0)
        folder += "/" + std::string(995 + Below(run, 12) - folder.size(), 'x');
    else if (kind == 1)
        folder += "/" + std::string(4085 - folder.size(), Below(run, 2) ? '\xFF' : '_');
    else if (kind < 5)
        folder += "/" + Name(run);
    return folder;
}

static std::string Path(Trial *run)
{
    return (Folder(run) + "/" + Name(run)).substr(0, 4095);
}

// What was used before is used again half of the time.
static std::string KnownPath(Trial *run, Texts *known)
{
    if (!known->empty() && Below(run, 2))
        return (*known)[Below(run, known->size())];
    known->push_back(Path(run));
    return known->back();
}

static void Answer(Trial *run, const std::string &step, Texts rows)
{
    run->steps.push_back(step);
    std::string answer;
    for (const std::string &row : rows)
        answer += row + "|";
    run->answers.push_back(answer);
}

static void Answer(Trial *run, const std::string &step, int result)
{
    Answer(run, step, Texts{std::to_string(result)});
}

static Texts Sorted(Texts texts)
{
    std::sort(texts.begin(), texts.end());
    return texts;
}

template <size_t size>
static void FieldSet(char (&field)[size], const std::string &text)
{
    snprintf(field, size, "%s", text.c_str());
}

// --- conditions

static std::string Condition(Trial *run, Texts *known)
{
    std::string path = KnownPath(run, known);
    std::string folder = path.substr(0, path.rfind('/'));
    std::string pattern = LikeQuoted(folder);
    switch (Below(run, 7)) {
    case 0:
        return "path = '" + Quoted(path) + "'";
    case 1:
        return "path like '" + pattern + "/%'";
    case 2:
        return "path like '" + pattern + "/%' and path not like '" + pattern + "/%/%'";
    case 3:
        return "path = '" + Quoted(folder) + "' or path like '" + pattern + "/%'";
    case 4:  // nobody escaped what is in it
        return "path like '" + Quoted(folder.substr(0, 200)) + "%" + Quoted(Name(run)) + "'";
    case 5:
        return "path like '%" + Quoted(Name(run)) + "%'";
    default:
        return "not path like '" + pattern + "%'";
    }
}

static void PhotoQuery(Trial *run, Texts *known)
{
    std::string condition = Condition(run, known);
    Answer(run, "photos where " + condition,
           ColumnOf(PhotoInfoDBOpen(PHOTO, "path", condition.c_str(), 0, "path asc", 0, 0), "path"));
}

static void MusicQuery(Trial *run, Texts *known)
{
    std::string condition = Condition(run, known);
    Answer(run, "songs where " + condition,
           ColumnOf(MediaInfoDBOpen(MEDIA_KIND_MUSIC, "*", condition.c_str(), 0, "path asc", 0, 0, 0), "path"));
}

static void TitleQuery(Trial *run)
{
    static const char *const OPERATORS[] = {"=", "like", "not like"};
    std::string name = Quoted(Name(run));
    std::string condition = std::string("title ") + OPERATORS[Below(run, 3)] + " '" + name + "'";
    Answer(run, "photos where " + condition,
           ColumnOf(PhotoInfoDBOpen(PHOTO, "path", condition.c_str(), 0, "path asc", 0, 0), "path"));
}

// --- changes

static void PhotoSave(Trial *run, Texts *known)
{
    PhotoInfoRecord record = {};
    FieldSet(record.path, KnownPath(run, known));
    FieldSet(record.name, strrchr(record.path, '/') + 1);
    FieldSet(record.title, Name(run));
    FieldSet(record.description, Below(run, 2) ? Name(run) : "");
    FieldSet(record.album, Name(run));
    FieldSet(record.create_time, "Sun Mar  1 12:00:00 2026\n");
    Answer(run, std::string("save photo ") + record.path, PhotoInfoDBSave(&record, 1));
}

static void MusicSave(Trial *run, Texts *known)
{
    MediaInfoRecord record = {};
    FieldSet(record.path, KnownPath(run, known));
    FieldSet(record.title, Name(run));
    record.duration = 1.25f * static_cast<float>(Below(run, 3));
    Answer(run, std::string("save song ") + record.path, MediaInfoDBSave(MEDIA_KIND_MUSIC, &record));
}

static void RowsDelete(Trial *run, Texts *known)
{
    std::string path = KnownPath(run, known);
    std::string folder = path.substr(0, path.rfind('/'));
    switch (Below(run, 6)) {
    case 0:
        return Answer(run, "delete folder " + folder, PhotoInfoDBDirDelete(folder.c_str()));
    case 1:
        return Answer(run, "delete subtree " + folder, MediaInfoDBDelete(MEDIA_KIND_SUBTREE, folder.c_str()));
    case 2:
    case 3:
        return Answer(run, "delete photo " + path, PhotoInfoDBDelete(path.c_str()));
    default:
        return Answer(run, "delete song " + path, MediaInfoDBDelete(MEDIA_KIND_MUSIC, path.c_str()));
    }
}

static void FolderRename(Trial *run, Texts *known)
{
    std::string path = KnownPath(run, known);
    std::string folder = path.substr(0, path.rfind('/'));
    std::string target = Folder(run);
    NuboDbHandle *handle = PhotoInfoDBOpen(PHOTO, "path", ("path like '" + LikeQuoted(folder) + "/%'").c_str(),
                                           0, "path asc", 0, 0);
    PhotoPathList *list = PhotoPathDBGet(handle);
    PhotoInfoDBClose(handle);
    Answer(run, "rename " + folder + " to " + target,
           NUBOUpdatePhotoPath(list, target.c_str(), folder.c_str()));
    FreePhotoPathList(list);
}

static void NoteChange(Trial *run, Texts *known)
{
    std::string path = Quoted(KnownPath(run, known));
    std::string statement =
        "Update video_desc set path = '" + Quoted(Path(run)) + "' where path = '" + path + "'";
    if (Below(run, 2))
        statement = "insert into video_desc (path, title) values ('" + path + "', '" + Quoted(Name(run)) + "')";
    Answer(run, statement, PhotoDBExec(statement.c_str()));
    std::string condition = Condition(run, known);
    Answer(run, "notes where " + condition,
           Sorted(ColumnOf(PhotoInfoDBOpen(VIDEO_DESC, "*", condition.c_str(), 0, "", 0, 0), "path")));
}

static std::string AlbumStatement(Trial *run, const std::string &name, const std::string &pattern)
{
    size_t id = run->steps.size() + 1;
    std::string other = Quoted(Below(run, 2) ? Name(run) : Name(run) + "/" + Name(run));
    switch (Below(run, 6)) {
    case 0:
    case 1:
        return "Insert into photo_share values(" + std::to_string(id) + ", '" + name +
               "', '', '', 'true', 0, '/var/services/photo/" + name + "/c', 'true', 'false', '1');";
    case 2:
        return "Update photo_share set sharename = '" + other + "', is_subdir = 't' where sharename = '" +
               name + "'";
    case 3:
        return "UPDATE photo_share SET cover = replace(cover, '/var/services/photo/" + name +
               "/', '/var/services/photo/" + other + "/') WHERE sharename='" + name + "'";
    case 4:
        return "Update photo_share set updated = '0' where sharename like '" + pattern + "%'";
    default:
        return "Delete from photo_share where sharename = '" + name + "' or sharename like '" + pattern +
               "/%';";
    }
}

static void AlbumChange(Trial *run, Texts *albums)
{
    if (albums->empty() || Below(run, 3) == 0)
        albums->push_back(Name(run));
    std::string name = (*albums)[Below(run, albums->size())];
    std::string statement = AlbumStatement(run, Quoted(name), LikeQuoted(name));
    Answer(run, statement, PhotoDBExec(statement.c_str()));
    for (const char *column : {"shareid", "sharename", "cover", "public", "is_subdir", "updated"})
        Answer(run, std::string("albums' ") + column,
               ColumnOf(PhotoInfoDBOpen(PHOTO_SHARE, "*", "", 0, "sharename", 0, 0), column));
}

static void Step(Trial *run, Texts *known, Texts *albums)
{
    switch (Below(run, 12)) {
    case 0:
    case 1:
    case 2:
        return PhotoSave(run, known);
    case 3:
    case 4:
        return MusicSave(run, known);
    case 5:
    case 6:
        return PhotoQuery(run, known);
    case 7:
        return MusicQuery(run, known);
    case 8:
        return Below(run, 2) ? TitleQuery(run) : FolderRename(run, known);
    case 9:
        return RowsDelete(run, known);
    case 10:
        return NoteChange(run, known);
    default:
        return AlbumChange(run, albums);
    }
}

static Trial RunOn(const std::string &settings, unsigned seed)
{
    DbClose();
    WriteFile(Scratch("/etc/engine.conf"), "state_dir = " + Scratch("/state") + "\n" + settings);
    PlatformSettingsLoad(Scratch("/etc/engine.conf").c_str());
    Trial run = {std::mt19937(seed), {}, {}};
    Texts known, albums;
    for (int i = 0; i < STEPS; i++)
        Step(&run, &known, &albums);
    for (const char *column : {"path", "title", "name", "description"})
        Answer(&run, std::string("all photos' ") + column,
               ColumnOf(PhotoInfoDBOpen(PHOTO, "*", "", 0, "path asc", 0, 0), column));
    for (const char *column : {"path", "title", "duration"})
        Answer(&run, std::string("all songs' ") + column,
               ColumnOf(MediaInfoDBOpen(MEDIA_KIND_MUSIC, "*", "", 0, "path asc", 0, 0, 0), column));
    DbClose();
    return run;
}

class EnginesAgree : public DatabaseTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(EnginesAgree, OnRandomStatements)
{
    const char *socket = getenv("NUBO_TEST_POSTGRESQL");
    if (!socket)
        GTEST_SKIP() << "one engine has nobody to agree with";
    Trial sqlite = RunOn("", GetParam());
    std::string box = std::string("agree") + std::to_string(std::random_device()());
    Trial postgresql =
        RunOn(std::string("database = host=") + socket + " user=postgres dbname=postgres\nbox = " + box + "\n",
              GetParam());
    ASSERT_EQ(sqlite.steps.size(), postgresql.steps.size());
    for (size_t i = 0; i < sqlite.steps.size(); i++)
        ASSERT_EQ(sqlite.answers[i], postgresql.answers[i])
            << "step " << i << ": " << testing::PrintToString(sqlite.steps[i]);
}

INSTANTIATE_TEST_SUITE_P(Seeds, EnginesAgree, testing::Range(1u, 5u));
