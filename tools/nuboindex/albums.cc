#include "albums.h"

#include <stdlib.h>

#include <map>
#include <vector>

#include "json_text.h"
#include "media_rows.h"
#include "platform/photo_db.h"
#include "text_table.h"

static constexpr int TABLE_ALBUMS = 3;
static constexpr int TABLE_ACCESS_RIGHTS = 4;

struct Album {
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

static bool AlbumsRead(std::vector<Album> &albums)
{
    UsersOfAlbums users;
    if (!UsersRead(users))
        return false;
    return RowsVisit(PhotoInfoDBOpen(TABLE_ALBUMS, "*", "", 0, "sharename", 0, 0), [&](const MediaRow &row) {
        std::string id = row("shareid");
        albums.push_back({id, row("sharename"), row("cover"), row("public") == "t", users[id]});
    });
}

static std::string Joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

static void TablePrint(const std::vector<Album> &albums, const Output &output)
{
    TextTable table(output, {{"ALBUM", false}, {"PUBLIC", false}, {"USERS", false}, {"ID", true}});
    for (const Album &album : albums)
        table.Add({album.name, album.is_public ? "yes" : "no", Joined(album.users), album.id});
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
    return object;
}

bool AlbumsPrint(bool as_json, const Output &output)
{
    std::vector<Album> albums;
    if (!AlbumsRead(albums))
        return false;
    if (!as_json) {
        TablePrint(albums, output);
        return true;
    }
    const char *between = "[\n";
    for (const Album &album : albums) {
        output.out << between << JsonDump(AlbumJson(album), output, -1);
        between = ",\n";
    }
    output.out << (albums.empty() ? "[]\n" : "\n]\n");
    return true;
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
