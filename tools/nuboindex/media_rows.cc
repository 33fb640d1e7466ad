// Queries are read whole by the library; nothing stays locked while rows are printed.
#include "media_rows.h"

#include <vector>

#include "platform/media_index.h"
#include "platform/photo_db.h"

// Folder rows are asked for by the kind that stands for a whole subtree when it is deleted.
const MediaKindName MEDIA_KINDS[5] = {
    {"music", MEDIA_KIND_MUSIC},       {"video", MEDIA_KIND_VIDEO},       {"photo", MEDIA_KIND_PHOTO},
    {"playlist", MEDIA_KIND_PLAYLIST}, {"directory", MEDIA_KIND_SUBTREE},
};

bool RowsVisit(NuboDbHandle *query, const MediaRowVisit &visit)
{
    if (!query)
        return false;
    while (NUBODBFetchRow(query->result, &query->row) == 0) {
        visit([query](const char *column) -> std::string {
            const char *text = NUBODBFetchField(query->result, query->row, column);
            return text ? text : "";
        });
    }
    PhotoInfoDBClose(query);
    return true;
}

bool MediaRowsVisit(int kind, const std::string &condition, const MediaRowVisit &visit)
{
    return RowsVisit(MediaInfoDBOpen(kind, "*", condition.c_str(), 0, "path", 0, 0, 0), visit);
}

std::string PathCondition(const std::string &path)
{
    std::vector<char> escaped(2 * path.size() + 1);
    if (NUBODBEscapeString(escaped.data(), path.c_str(), static_cast<int>(path.size())) < 0)
        return "1 = 0";
    return std::string("path = '") + escaped.data() + "'";
}
