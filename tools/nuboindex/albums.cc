#include "albums.h"

#include <stdlib.h>

#include <map>
#include <vector>

#include "boxes.h"
#include "json_text.h"
#include "media_rows.h"
#include "platform/photo_db.h"
#include "text_table.h"

static constexpr int TABLE_ALBUMS = 3;
static constexpr int TABLE_ACCESS_RIGHTS = 4;

struct Album {
    std::string box;  // empty where only this one is asked for
    std::string id;
    std::string name;
    std::string cover;
    bool is_public;
    std::vector<std::string> users;
};

using UsersOfAlbums = std::map<std::string, std::vector<std::string>>;

static bool UsersRead(UsersOfAlbums &users)
{
    return RowsVisit(PhotoInfoDBOpen(TABLE_ACCESS_RIGHTS, "*", "", 0, "userid", 0, 0),
                     [&users](const MediaRow &row) { users[row("shareid")].push_back(row("userid")); });
}

static bool AlbumsRead(const std::string &box, std::vector<Album> &albums)
{
    UsersOfAlbums users;
    if (!UsersRead(users))
        return false;
    return RowsVisit(PhotoInfoDBOpen(TABLE_ALBUMS, "*", "", 0, "sharename", 0, 0), [&](const MediaRow &row) {
        std::string id = row("shareid");
        albums.push_back({box, id, row("sharename"), row("cover"), row("public") == "t", users[id]});
    });
}

static std::string Joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

static void TablePrint(const std::vector<Album> &albums, bool all_boxes, TextForm form, const Output &output)
{
    std::vector<TableColumn> heads = {{"ALBUM", false}, {"PUBLIC", false}, {"USERS", false}, {"ID", true}};
    if (all_boxes)
        heads.insert(heads.begin(), {"BOX", false});
    TextTable table(output, heads, form);
    for (const Album &album : albums) {
        std::vector<std::string> cells = {album.name, album.is_public ? "yes" : "no", Joined(album.users),
                                          album.id};
        if (all_boxes)
            cells.insert(cells.begin(), album.box);
        table.Add(cells);
    }
    table.Print();
}

static Json AlbumJson(const Album &album)
{
    Json object;
    object["kind"] = "album";
    JsonTextSet(object, "album", album.name);
    object["id"] = atol(album.id.c_str());
    object["public"] = album.is_public;
    object["users"] = Json::array();
    for (const std::string &user : album.users)
        object["users"].push_back(atol(user.c_str()));
    if (!album.cover.empty())
        JsonTextSet(object, "cover", album.cover);
    if (!album.box.empty())
        object["box"] = album.box;
    return object;
}

bool AlbumsPrint(bool all_boxes, ListForm form, const Output &output)
{
    std::vector<Album> albums;
    bool read = BoxesRead(all_boxes, output, [&](const std::string &box) { return AlbumsRead(box, albums); });
    if (!read && !all_boxes)
        return false;
    if (form == LIST_TABLE || form == LIST_CSV) {
        TablePrint(albums, all_boxes, TextFormOf(form), output);
        return read;
    }
    JsonRows rows(output, form);
    for (const Album &album : albums)
        rows.Add(AlbumJson(album));
    rows.Finish();
    return read;
}

static std::string Escaped(const std::string &text)
{
    std::vector<char> escaped(2 * text.size() + 1);
    bool done = NUBODBEscapeString(escaped.data(), text.c_str(), static_cast<int>(text.size())) >= 0;
    return done ? escaped.data() : "";
}

// An album and those below it: "0" is the byte behind "/". No pattern, because a name may hold wildcards: A_ is not AB,
// and AB is not to be published with it.
static std::string AlbumCondition(const std::string &name)
{
    std::string album = Escaped(name);
    return "sharename = '" + album + "' or (sharename >= '" + album + "/' and sharename < '" + album + "0')";
}

static int AlbumCount(const std::string &condition)
{
    int count = 0;
    bool read = RowsVisit(PhotoInfoDBOpen(TABLE_ALBUMS, "*", condition.c_str(), 0, "sharename", 0, 0),
                          [&count](const MediaRow &) { count++; });
    return read ? count : -1;
}

int AlbumPublicSet(const std::string &name, bool is_public)
{
    int present = AlbumCount("sharename = '" + Escaped(name) + "'");
    if (present <= 0)
        return present;
    std::string condition = AlbumCondition(name);
    std::string statement = std::string("Update photo_share set public = '") + (is_public ? "true" : "false") +
                            "' where " + condition;
    return PhotoDBExec(statement.c_str()) < 0 ? -1 : AlbumCount(condition);
}
