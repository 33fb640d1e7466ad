// The photo library's calls on a fresh database.
#include "platform/photo_db.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "nubodb/database.h"
#include "support/scratch.h"

class PhotoDb : public testing::Test
{
  protected:
    void SetUp() override
    {
        DbClose();
    }
};

static PhotoInfoRecord Photo(const std::string &path, const char *title = "")
{
    PhotoInfoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.name, sizeof record.name, "%s", path.c_str() + path.rfind('/') + 1);
    snprintf(record.title, sizeof record.title, "%s", title);
    return record;
}

// One column of the rows that match, in the order of the paths.
static std::vector<std::string> Column(const char *column, const char *condition = nullptr)
{
    std::vector<std::string> texts;
    NuboDbHandle *handle = PhotoInfoDBOpen(0, "*", condition, 0, "path asc", 0, 0);
    if (!handle)
        return {"no handle"};
    while (NUBODBFetchRow(handle->result, &handle->row) == 0) {
        const char *text = NUBODBFetchField(handle->result, handle->row, column);
        texts.emplace_back(text ? text : "(null)");
    }
    EXPECT_EQ(handle->row_count, static_cast<int>(texts.size()));
    PhotoInfoDBClose(handle);
    return texts;
}

using Texts = std::vector<std::string>;

TEST_F(PhotoDb, SavedRowIsThere)
{
    PhotoInfoRecord record = Photo("/volume1/photo/a.jpg", "Summer\n");
    ASSERT_EQ(PhotoInfoDBSave(&record, 1), 0);
    EXPECT_EQ(Column("path"), Texts{"/volume1/photo/a.jpg"});
    EXPECT_EQ(Column("title"), Texts{"Summer\n"});
}
