// Rows are sorted by texts that are made from their columns: letters without their case, numbers with leading zeros.
// Those that come out equal stay in the order of their paths.
#include "list_rows.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>

#include "platform/media_index.h"
#include "platform/photo_db.h"
#include "printable.h"

struct SortColumn {
    const char *column;
    enum { TEXT, NUMBER, TIME } type;
};

struct SortOrder {
    const char *word;
    std::vector<SortColumn> columns;
};

static const SortOrder SORT_ORDERS[] = {
    {"path", {}},
    {"title", {{"title", SortColumn::TEXT}}},
    {"artist",
     {{"artist", SortColumn::TEXT},
      {"album", SortColumn::TEXT},
      {"disc", SortColumn::NUMBER},
      {"track", SortColumn::NUMBER}}},
    {"album", {{"album", SortColumn::TEXT}, {"disc", SortColumn::NUMBER}, {"track", SortColumn::NUMBER}}},
    {"year", {{"year", SortColumn::NUMBER}}},
    {"time", {{"duration", SortColumn::NUMBER}}},
    {"size", {{"filesize", SortColumn::NUMBER}}},
    {"taken", {{"date_taken", SortColumn::TIME}}},
    {"changed", {{"create_time", SortColumn::TIME}}},
};

static std::vector<std::string> SortWords()
{
    std::vector<std::string> words;
    for (const SortOrder &order : SORT_ORDERS)
        words.push_back(order.word);
    return words;
}

const std::vector<std::string> LIST_SORTS = SortWords();

static std::string NumberKey(const std::string &value)
{
    char key[512];
    snprintf(key, sizeof key, "%024.3f", strtod(value.c_str(), nullptr));
    return key;
}

// Cameras write their times with and without leading zeros.
static std::string TimeKey(const std::string &value)
{
    static constexpr size_t WIDTH = 4;
    std::string key;
    for (size_t i = 0; i < value.size();) {
        size_t digits = strspn(value.c_str() + i, "0123456789");
        if (digits > 0 && digits < WIDTH)
            key.append(WIDTH - digits, '0');
        size_t length = digits > 0 ? digits : 1;
        key += value.substr(i, length);
        i += length;
    }
    return key;
}

static std::string SortKey(const SortOrder &order, const MediaRow &row)
{
    std::string key;
    for (const SortColumn &column : order.columns) {
        std::string value = row(column.column);
        key += column.type == SortColumn::TEXT     ? FoldedText(value)
               : column.type == SortColumn::NUMBER ? NumberKey(value)
                                                   : TimeKey(value);
        key += '\0';
    }
    return key;
}

static bool Contains(const std::string &value, const std::string &folded)
{
    return folded.empty() || FoldedText(value).find(folded) != std::string::npos;
}

static bool IsSelected(const ListSelect &select, const MediaRow &row)
{
    return Contains(row("artist"), select.artist) && Contains(row("album"), select.album) &&
           (select.since.empty() || row("create_time") >= select.since);
}

static MediaRow RowAt(NuboDbHandle *query, int number)
{
    return [query, number](const char *column) -> std::string {
        const char *text = NUBODBFetchField(query->result, number, column);
        return text ? text : "";
    };
}

struct SelectedRow {
    std::string key;
    int number;
};

static std::vector<SelectedRow> RowsSelect(NuboDbHandle *query, const ListSelect &select,
                                           const SortOrder &order)
{
    std::vector<SelectedRow> rows;
    while (NUBODBFetchRow(query->result, &query->row) == 0) {
        MediaRow row = RowAt(query, query->row);
        if (IsSelected(select, row))
            rows.push_back({SortKey(order, row), query->row});
    }
    std::stable_sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) { return a.key < b.key; });
    if (select.reverse)
        std::reverse(rows.begin(), rows.end());
    return rows;
}

static const SortOrder &SortOrderOf(const std::string &word)
{
    for (const SortOrder &order : SORT_ORDERS) {
        if (word == order.word)
            return order;
    }
    return SORT_ORDERS[0];
}

bool ListRowsVisit(int kind, const ListSelect &select, const MediaRowVisit &visit)
{
    NuboDbHandle *query = MediaInfoDBOpen(kind, "*", "", 0, "path", 0, 0, 0);
    if (!query)
        return false;
    ListSelect folded = select;
    folded.artist = FoldedText(select.artist);
    folded.album = FoldedText(select.album);
    for (const SelectedRow &row : RowsSelect(query, folded, SortOrderOf(select.sort)))
        visit(RowAt(query, row.number));
    PhotoInfoDBClose(query);
    return true;
}

static std::string TimeText(const char *format, time_t when)
{
    char text[64] = "";
    struct tm parts;
    if (localtime_r(&when, &parts))
        (void)strftime(text, sizeof text, format, &parts);
    return text;
}

// A day of the calendar as people write it, and a time of the day, if they do. Empty: it is none.
static std::string WrittenTime(const std::string &given)
{
    for (const char *format : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S"}) {
        struct tm parts = {};
        const char *end = strptime(given.c_str(), format, &parts);
        if (!end || *end)
            continue;
        int day = parts.tm_mday;
        if (timegm(&parts) == -1 || parts.tm_mday != day || parts.tm_year < 0)
            return "";
        char text[64];
        return strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) > 0 ? text : "";
    }
    return "";
}

static std::string TimeAgo(const std::string &given, time_t now)
{
    static constexpr struct {
        char letter;
        long seconds;
    } units[] = {{'m', 60}, {'h', 3600}, {'d', 86400}, {'w', 604800}};
    size_t digits = given.find_first_not_of("0123456789");
    if (digits == 0 || digits > 6 || digits + 1 != given.size())
        return "";
    for (const auto &unit : units) {
        if (unit.letter == given.back())
            return TimeText("%Y-%m-%d %H:%M:%S", now - atol(given.c_str()) * unit.seconds);
    }
    return "";
}

std::string ListSince(const std::string &given, time_t now)
{
    if (given == "today")
        return TimeText("%Y-%m-%d 00:00:00", now);
    if (given == "yesterday") {
        struct tm noon;
        if (!localtime_r(&now, &noon))
            return "";
        noon.tm_mday--;
        noon.tm_hour = 12;  // days with a change of the clock have one, too
        noon.tm_isdst = -1;
        return TimeText("%Y-%m-%d 00:00:00", mktime(&noon));
    }
    std::string ago = TimeAgo(given, now);
    return ago.empty() ? WrittenTime(given) : ago;
}
