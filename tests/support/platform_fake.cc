// The four libraries as a test sees them.
#include "support/platform_fake.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <set>

#include "platform/db_access.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "platform/sdk.h"
#include "support/scratch.h"

PlatformFake platform;

static std::string Text(const char *text)
{
    return text ? text : "(null)";
}

// What the test wants a call to answer; `result` when it says nothing about that call.
static int Scripted(const char *name, int result)
{
    std::deque<int> &next = platform.next_results[name];
    if (!next.empty()) {
        result = next.front();
        next.pop_front();
        return result;
    }
    auto scripted = platform.results.find(name);
    return scripted == platform.results.end() ? result : scripted->second;
}

static int Note(const char *name, std::initializer_list<std::string> arguments, int result = 0)
{
    std::string line = name;
    for (const std::string &argument : arguments)
        line += " " + argument;
    platform.calls.push_back(line);
    return Scripted(name, result);
}

// ---- queries ----

struct NuboDbConnection {
    int unused;
};

struct NuboDbResult {
    std::vector<FakeRow> rows;
    int next;
};

static NuboDbConnection fake_connection;

// The open queries. They stay reachable, so that one that is left open on purpose is no leak to a leak checker;
// tests look at `open_handles`.
static auto *const fake_handles = new std::set<NuboDbHandle *>;

static NuboDbHandle *Query(const char *name, int table, const char *columns, const char *condition,
                           const char *order, int limit)
{
    if (Note(name, {std::to_string(table), Text(columns), "[" + Text(condition) + "]", Text(order),
                    std::to_string(limit)}) < 0)
        return nullptr;
    auto *result = new NuboDbResult{{}, 0};
    if (!platform.queries.empty()) {
        result->rows = platform.queries.front();
        platform.queries.pop_front();
    }
    platform.open_handles++;
    return *fake_handles
                ->insert(new NuboDbHandle{&fake_connection, result, -1, static_cast<int>(result->rows.size())})
                .first;
}

// ---- libnlib ----

int NLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4)
{
    return Note("NLIBExec", {Text(program), Text(arg1), Text(arg2), Text(arg3), Text(arg4)});
}

int NLIBReadPidFile(const char *path)
{
    return atoi(ReadFile(path).c_str());
}

int NLIBFileGetKeyValue(const char *file, const char *key, char *out, int size, int)
{
    auto found = platform.settings.find(std::string(file) + " " + key);
    if (found == platform.settings.end())
        return -1;
    return snprintf(out, static_cast<size_t>(size), "%s", found->second.c_str());
}

int NLIBFileGetLine(const char *file, const char *wanted, char *buf, int size, int)
{
    std::ifstream stream(file);
    if (!stream)
        return -1;
    for (std::string line; std::getline(stream, line);) {
        if (line == wanted) {
            snprintf(buf, static_cast<size_t>(size), "%s", line.c_str());
            return 1;
        }
    }
    return 0;
}

int NLIBEncShParam(const char *src, char *out, int size)
{
    if (int failure = Scripted("NLIBEncShParam", 0))
        return failure;
    int length = 0;
    for (; *src; src++) {
        if (length + 3 > size)
            return -1;
        out[length++] = '\\';
        out[length++] = *src;
    }
    out[length] = '\0';
    return 0;
}

void NLIBCopyright(void)
{
    (void)Note("NLIBCopyright", {});
}

int BlNLIBFileExist(const char *path)
{
    return std::filesystem::exists(path);
}

int BlNUBOFileCheckKeyValue(const char *file, const char *key, const char *value, int)
{
    auto found = platform.settings.find(std::string(file) + " " + key);
    return found != platform.settings.end() && found->second == value;
}

int NUBOEAPath(const char *path, const char *key, char *out, int size)
{
    if (int failure = Scripted("NUBOEAPath", 0))
        return failure;
    snprintf(out, static_cast<size_t>(size), "%s@%s", path, key);
    return 0;
}

int NUBOLogSet1(int cls, int level, unsigned event, const char *t1, const char *t2, const char *t3,
                const char *t4)
{
    char event_text[16];
    snprintf(event_text, sizeof event_text, "%08X", event);
    return Note("NUBOLogSet1", {std::to_string(cls), std::to_string(level), event_text, Text(t1),
                                "[" + Text(t2) + Text(t3) + Text(t4) + "]"});
}

int IsFileExist(const char *path, uint64_t *size)
{
    if (int scripted = Scripted("IsFileExist", 0))
        return scripted;
    struct stat status;
    if (!path || stat(path, &status) != 0 || S_ISDIR(status.st_mode))
        return 0;
    if (size)
        *size = static_cast<uint64_t>(status.st_size);
    return 1;
}

int IsDirExist(const char *path)
{
    struct stat status;
    return path && stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

void StringTrim(char *text)
{
    static constexpr char blanks[] = " \t\r\n";
    size_t start = strspn(text, blanks);
    size_t end = strlen(text);
    while (end > start && strchr(blanks, text[end - 1]))
        end--;
    memmove(text, text + start, end - start);
    text[end - start] = '\0';
}

// ---- libnubodb ----

int NUBODBExecute(NuboDbConnection *, const char *sql, NuboDbResult **result)
{
    if (result)
        *result = nullptr;
    return Note("NUBODBExecute", {Text(sql)});
}

const char *NUBODBErrorGet(NuboDbConnection *)
{
    return "fake error";
}

int NUBODBFetchRow(NuboDbResult *result, int *row)
{
    if (result->next >= static_cast<int>(result->rows.size()))
        return -1;
    *row = result->next++;
    return 0;
}

const char *NUBODBFetchField(NuboDbResult *result, int row, const char *column)
{
    const FakeRow &fields = result->rows.at(static_cast<size_t>(row));
    auto found = fields.find(column);
    return found == fields.end() ? nullptr : found->second.c_str();
}

void NUBODBFreeResult(NuboDbResult *result)
{
    delete result;
}

int NUBODBEscapeString(char *dst, const char *src, int length)
{
    if (int failure = Scripted("NUBODBEscapeString", 0))
        return failure;
    for (int i = 0; i < length; i++) {
        if (src[i] == '\'')
            *dst++ = '\'';
        *dst++ = src[i];
    }
    *dst = '\0';
    return 0;
}

int NUBODBEscapeBackslash(char *dst, int size, const char *src)
{
    if (int failure = Scripted("NUBODBEscapeBackslash", 0))
        return failure;
    for (; *src; src++) {
        size -= *src == '\\' ? 2 : 1;
        if (size <= 0)
            return -1;
        if (*src == '\\')
            *dst++ = '\\';
        *dst++ = *src;
    }
    *dst = '\0';
    return 0;
}

// ---- libmediaindex ----

int MediaInfoDBSave(int kind, const MediaInfoRecord *record)
{
    platform.saved.push_back(*record);
    return Note("MediaInfoDBSave", {std::to_string(kind), record->path});
}

int MediaInfoDBDelete(int kind, const char *path)
{
    return Note("MediaInfoDBDelete", {std::to_string(kind), Text(path)});
}

int MediaInfoDBDirSave(const char *dir)
{
    return Note("MediaInfoDBDirSave", {Text(dir)});
}

int MediaInfoValid(MediaInfoRecord *record)
{
    return Note("MediaInfoValid", {record->path});
}

NuboDbHandle *MediaInfoDBOpen(int kind, const char *columns, const char *condition, int, const char *order, int,
                              int, int)
{
    return Query("MediaInfoDBOpen", kind, columns, condition, order, 0);
}

int MediaDBVacuum(void)
{
    return Note("MediaDBVacuum", {});
}

int NUBOTruncateTable(const char *name)
{
    return Note("NUBOTruncateTable", {Text(name)});
}

const char *NUBOIndexExtGet(const char *path)
{
    const char *slash = strrchr(path, '/');
    const char *dot = strrchr(slash ? slash : path, '.');
    return dot ? dot + 1 : nullptr;
}

int NUBOIndexCTimeMTimeGet(const char *, char *ctime_text, int ctime_size, char *mtime_text, int mtime_size)
{
    snprintf(ctime_text, static_cast<size_t>(ctime_size), "2001-02-03 04:05:06");
    snprintf(mtime_text, static_cast<size_t>(mtime_size), "2000-01-02 03:04:05");
    return 0;
}

int NUBOIndexImgResGet(const char *, int *width, int *height)
{
    if (platform.image_width == 0)
        return -1;
    *width = platform.image_width;
    *height = platform.image_height;
    return 0;
}

int NUBOIndexPhotoUpdateVideoStatus(const char *path)
{
    return Note("NUBOIndexPhotoUpdateVideoStatus", {Text(path)});
}

void NUBOIndexMusicTableDirtySet(int dirty)
{
    platform.music_dirty = dirty;
    (void)Note("NUBOIndexMusicTableDirtySet", {std::to_string(dirty)});
}

void NUBOIndexVideoTableDirtySet(int dirty)
{
    platform.video_dirty = dirty;
    (void)Note("NUBOIndexVideoTableDirtySet", {std::to_string(dirty)});
}

int BlNUBOIndexIsMusicTableDirty(void)
{
    return Note("BlNUBOIndexIsMusicTableDirty", {}, platform.music_dirty);
}

int BlNUBOIndexIsVideoTableDirty(void)
{
    return Note("BlNUBOIndexIsVideoTableDirty", {}, platform.video_dirty);
}

static int IsOneOf(const char *ext, std::initializer_list<const char *> names)
{
    for (const char *name : names)
        if (ext && strcasecmp(ext, name) == 0)
            return 1;
    return 0;
}

int BlNUBOIndexIsJpeg(const char *ext)
{
    return IsOneOf(ext, {"jpg", "jpeg", "jpe"});
}

int BlNUBOIndexIsPhotoOnWeb(const char *ext)
{
    return IsOneOf(ext, {"jpg", "jpeg", "jpe", "png", "gif", "bmp"});
}

int BlNUBOIndexIsVideoOnWeb(const char *ext)
{
    return IsOneOf(ext, {"flv", "mp4"});
}

int BlNUBOIndexIsVideo(const char *ext)
{
    return IsOneOf(ext, {"flv", "mp4", "avi", "mkv", "mpg"});
}

int BlNUBOIndexIsPhotoOnWebFile(const char *path)
{
    return BlNUBOIndexIsPhotoOnWeb(NUBOIndexExtGet(path));
}

int BlNUBOIndexIsVideoOnWebFile(const char *path)
{
    return BlNUBOIndexIsVideoOnWeb(NUBOIndexExtGet(path));
}

int GetCoverFolder(const char *, char *out, int size)
{
    snprintf(out, static_cast<size_t>(size), "%s", Scratch("/covers").c_str());
    MakeFolder(out);
    return Note("GetCoverFolder", {}, 1);
}

int GetCoverPath(const char *, char *out, int size, int picture_type, int index, int kind)
{
    snprintf(out, static_cast<size_t>(size), "%s", Scratch("/covers/cover").c_str());
    return Note("GetCoverPath", {std::to_string(picture_type), std::to_string(index), std::to_string(kind)}, 1);
}

int CleanOldCover(const char *folder)
{
    return Note("CleanOldCover", {Text(folder)});
}

// ---- libphotodb ----

NuboDbHandle *PhotoInfoDBOpen(int table, const char *columns, const char *condition, int, const char *order,
                              int, int limit)
{
    return Query("PhotoInfoDBOpen", table, columns, condition, order, limit);
}

void PhotoInfoDBClose(NuboDbHandle *handle)
{
    (void)Note("PhotoInfoDBClose", {});
    if (!handle)
        return;
    platform.open_handles--;
    fake_handles->erase(handle);
    delete handle->result;
    delete handle;
}

PhotoPathList *PhotoPathDBGet(NuboDbHandle *handle)
{
    PhotoPathList *list = nullptr;
    for (auto row = handle->result->rows.rbegin(); row != handle->result->rows.rend(); ++row) {
        auto *node = static_cast<PhotoPathList *>(malloc(sizeof(PhotoPathList)));
        *node = {strdup(row->at("path").c_str()), list};
        list = node;
    }
    return list;
}

void FreePhotoPathList(PhotoPathList *list)
{
    while (list) {
        PhotoPathList *next = list->next;
        free(list->path);
        free(list);
        list = next;
    }
}

int NUBOUpdatePhotoPath(PhotoPathList *list, const char *new_prefix, const char *old_prefix)
{
    std::string paths;
    for (; list; list = list->next)
        paths += Text(list->path) + ";";
    return Note("NUBOUpdatePhotoPath", {paths, Text(new_prefix), Text(old_prefix)});
}

int PhotoInfoDBSave(const PhotoInfoRecord *record, int mode)
{
    platform.saved_photos.push_back(*record);
    return Note("PhotoInfoDBSave", {record->path, std::to_string(mode)});
}

int PhotoInfoDBDelete(const char *path)
{
    return Note("PhotoInfoDBDelete", {Text(path)});
}

int PhotoInfoDBDirDelete(const char *dir)
{
    return Note("PhotoInfoDBDirDelete", {Text(dir)});
}

int NUBOPhotoInitAllRows(void)
{
    return Note("NUBOPhotoInitAllRows", {});
}

int NUBOPhotoDeleteNoUpdateRows(void)
{
    return Note("NUBOPhotoDeleteNoUpdateRows", {});
}

int PhotoDBExec(const char *sql)
{
    return Note("PhotoDBExec", {Text(sql)}, 1);
}

int PhotoDBVacuum(void)
{
    return Note("PhotoDBVacuum", {});
}
