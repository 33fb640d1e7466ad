// The media database's operations. A music row goes together with its covers: they are removed inside the
// transaction that removes the row, so that a killed process leaves rows whose removal is tried again.
#include "mediaindex/media_index.h"

#include <string.h>
#include <syslog.h>

#include <string>

#include "mediaindex/cover_store.h"
#include "mediaindex/exported.h"
#include "mediaindex/media_row.h"
#include "nubodb/database.h"

static constexpr size_t PATH_SIZE = sizeof MediaInfoRecord::path;

static int music_dirty = 0;
static int video_dirty = 0;

const MediaTable MEDIA_TABLES[] = {
    {"music", MEDIA_KIND_MUSIC, true, &music_dirty},
    {"video", MEDIA_KIND_VIDEO, false, &video_dirty},
    {"photo", MEDIA_KIND_PHOTO, false, nullptr},
    {"playlist", MEDIA_KIND_PLAYLIST, false, nullptr},
    {"directory", -1, false, nullptr},
};
const size_t MEDIA_TABLE_COUNT = sizeof MEDIA_TABLES / sizeof MEDIA_TABLES[0];

const MediaTable *MediaTableOfKind(int kind)
{
    for (const MediaTable &table : MEDIA_TABLES) {
        if (table.kind >= 0 && table.kind == kind)
            return &table;
    }
    return nullptr;
}

const MediaTable *MediaTableNamed(const char *name)
{
    for (const MediaTable &table : MEDIA_TABLES) {
        if (name && !strcmp(table.name, name))
            return &table;
    }
    return nullptr;
}

// The statements of one table. Their texts stay where they are, which is what keeps them prepared.
struct TableStatements {
    std::string save;
    std::string remove;
    std::string remove_subtree;
    std::string remove_all;
    std::string paths_subtree;
    std::string paths_all;
};

static std::string SaveStatement(const std::string &table)
{
    std::string columns = MEDIA_ROW_COLUMNS;
    std::string values;
    std::string updates;
    int number = 0;
    for (size_t at = 0; at < columns.size();) {
        size_t end = columns.find(',', at);
        if (end == std::string::npos)
            end = columns.size();
        std::string column = columns.substr(at, end - at);
        column.erase(0, column.find_first_not_of(' '));
        values += (number ? ", $" : "$") + std::to_string(number + 1);
        if (number > 0)  // the path is the key
            updates += (number > 1 ? ", " : "") + column + " = excluded." + column;
        number++;
        at = end + 1;
    }
    return "insert into " + table + " (" + columns + ") values (" + values +
           ") on conflict (path) do update set " + updates;
}

static const TableStatements &StatementsOf(const MediaTable *table)
{
    static TableStatements statements[sizeof MEDIA_TABLES / sizeof MEDIA_TABLES[0]];
    TableStatements &own = statements[table - MEDIA_TABLES];
    if (own.save.empty()) {
        std::string name = table->name;
        std::string subtree = " where path = $1 or (path >= $2 and path < $3)";
        own.save = SaveStatement(name);
        own.remove = "delete from " + name + " where path = $1";
        own.remove_subtree = "delete from " + name + subtree;
        own.remove_all = "delete from " + name;
        own.paths_subtree = "select path from " + name + subtree;
        own.paths_all = "select path from " + name;
    }
    return own;
}

static void DirtySet(const MediaTable *table, int64_t changed)
{
    if (table->dirty && changed > 0)
        *table->dirty = 1;
}

static void CoversRemove(NuboDbResult *paths)
{
    int row = 0;
    while (NUBODBFetchRow(paths, &row) == 0)
        (void)CoversForget(NUBODBFetchField(paths, row, "path"));
}

// The name of a change, for when the database is not there to take it.
static std::string FileChange(const char *path)
{
    return std::string("f") + path;
}

// Is the path one that can stand in a row? Logs if not.
static bool IsStorable(const char *path)
{
    size_t length = path ? strnlen(path, PATH_SIZE) : 0;
    if (length > 0 && length < PATH_SIZE)
        return true;
    syslog(LOG_ERR, "mediaindex: %s path", length == 0 ? "empty" : "too long a");
    return false;
}

int MediaInfoDBSave(int kind, const MediaInfoRecord *record)
{
    const MediaTable *table = MediaTableOfKind(kind);
    if (!table || !record || !IsStorable(record->path))
        return -1;
    MediaInfoRecord clean = *record;  // not every handler has its texts made valid
    (void)MediaInfoValid(&clean);
    memcpy(clean.path, record->path, sizeof clean.path);
    MediaTimeNormalise(clean.create_time, sizeof clean.create_time);
    MediaTimeNormalise(clean.modify_time, sizeof clean.modify_time);

    std::vector<DbValue> values = MediaRowValues(clean);
    int64_t changed = DbRun(DbOpen(DB_MEDIA), StatementsOf(table).save.c_str(), values.data(), values.size());
    (void)DbChanged(DB_MEDIA, FileChange(clean.path), changed);
    DirtySet(table, changed);
    return changed < 0 ? -1 : 0;
}

int MediaInfoDBDirSave(const char *dir)
{
    if (!IsStorable(dir))
        return -1;
    static constexpr char SQL[] = "insert into directory (path) values ($1) on conflict (path) do nothing";
    int64_t changed = DbRun(DbOpen(DB_MEDIA), SQL, {DbText(dir)});
    return DbChanged(DB_MEDIA, FileChange(dir), changed) < 0 ? -1 : 0;
}

// Removes the rows that `subtree` holds, or all when it is null, with their covers. Rows removed, or -1.
static int64_t RowsRemove(NuboDbConnection *connection, const MediaTable *table, const DbSubtree *subtree)
{
    const TableStatements &statements = StatementsOf(table);
    NuboDbResult *paths = nullptr;
    int64_t changed = 0;
    if (subtree) {
        DbValue folder = DbText(subtree->folder.c_str());
        DbValue first = DbText(subtree->first.c_str());
        DbValue end = DbText(subtree->end.c_str());
        if (table->has_covers &&
            DbSelect(connection, statements.paths_subtree.c_str(), {folder, first, end}, &paths))
            return -1;
        changed = DbRun(connection, statements.remove_subtree.c_str(), {folder, first, end});
    } else {
        if (table->has_covers && DbSelect(connection, statements.paths_all.c_str(), {}, &paths))
            return -1;
        changed = DbRun(connection, statements.remove_all.c_str());
    }
    if (changed >= 0)
        CoversRemove(paths);
    NUBODBFreeResult(paths);
    return changed;
}

// Runs RowsRemove over `count` tables, all or nothing.
static int TablesRemove(const MediaTable *tables, size_t count, const DbSubtree *subtree)
{
    NuboDbConnection *connection = DbOpen(DB_MEDIA);
    if (DbBegin(connection) < 0)
        return -1;
    int64_t changed[sizeof MEDIA_TABLES / sizeof MEDIA_TABLES[0]] = {};
    bool done = true;
    for (size_t i = 0; i < count && done; i++) {
        changed[i] = RowsRemove(connection, &tables[i], subtree);
        done = changed[i] >= 0;
    }
    if (!done || DbCommit(connection) < 0) {
        DbRollback(connection);
        return -1;
    }
    for (size_t i = 0; i < count; i++)
        DirtySet(&tables[i], changed[i]);
    return 0;
}

int MediaInfoDBDelete(int kind, const char *path)
{
    if (!path || !*path)
        return -1;
    if (kind == MEDIA_KIND_SUBTREE) {
        DbSubtree subtree = DbSubtreeOf(path);
        int result = TablesRemove(MEDIA_TABLES, MEDIA_TABLE_COUNT, &subtree);
        return static_cast<int>(DbChanged(DB_MEDIA, "s" + subtree.folder, result));
    }
    const MediaTable *table = MediaTableOfKind(kind);
    if (!table)
        return -1;
    int64_t changed = DbRun(DbOpen(DB_MEDIA), StatementsOf(table).remove.c_str(), {DbText(path)});
    if (DbChanged(DB_MEDIA, FileChange(path), changed) < 0)
        return -1;
    DirtySet(table, changed);
    if (table->has_covers)
        (void)CoversForget(path);
    return 0;
}

int NUBOTruncateTable(const char *name)
{
    const MediaTable *table = MediaTableNamed(name);
    if (!table)
        return -1;
    return static_cast<int>(
        DbChanged(DB_MEDIA, std::string("T:") + table->name, TablesRemove(table, 1, nullptr)));
}

NuboDbHandle *MediaInfoDBOpen(int kind, const char *columns, const char *condition, int, const char *order, int,
                              int, int)
{
    const MediaTable *table =
        kind == MEDIA_KIND_SUBTREE ? MediaTableNamed("directory") : MediaTableOfKind(kind);
    return table ? DbQuery(DB_MEDIA, table->name, columns, condition, order, 0) : nullptr;
}

int MediaDBVacuum(void)
{
    return DbVacuum(DB_MEDIA);
}

// The mark is this box's own bookkeeping: no server has to read the table again because of it.
int NUBOIndexPhotoUpdateVideoStatus(const char *path)
{
    static constexpr char SQL[] = "update video set seen = '1' where path = $1 and seen <> '1'";
    if (!path || !*path)
        return -1;
    return DbChanged(DB_MEDIA, FileChange(path), DbRun(DbOpen(DB_MEDIA), SQL, {DbText(path)})) < 0 ? -1 : 0;
}

// Cleared at the start of a batch.
void NUBOIndexMusicTableDirtySet(int dirty)
{
    if (!dirty)
        DbBatchBegin();
    music_dirty = dirty != 0;
}

void NUBOIndexVideoTableDirtySet(int dirty)
{
    video_dirty = dirty != 0;
}

// Asked at the end of a batch, before anybody is told of it: the batch goes to stable storage here.
int BlNUBOIndexIsMusicTableDirty(void)
{
    (void)DbBatchEnd();
    return music_dirty;
}

int BlNUBOIndexIsVideoTableDirty(void)
{
    (void)DbBatchEnd();
    return video_dirty;
}
