// What the letters do for paths of the photo share while photos are switched on.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "common/features.h"
#include "common/paths.h"
#include "daemon/queue_commands.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

using Lines = std::vector<std::string>;

// The photo share is recognised by its place in the path, behind a name as long as "/volume1"; so these trees cannot
// lie in the scratch folder.
class PhotoCommands : public testing::Test
{
  protected:
    std::string volume;
    std::string share;

    void SetUp() override
    {
        for (int i = 0; i < 0x1000 && volume.empty(); i++) {
            char name[16];
            snprintf(name, sizeof name, "/tmp/%03x", static_cast<unsigned>(i));
            if (mkdir(name, 0700) == 0)
                volume = name;
        }
        ASSERT_FALSE(volume.empty());
        share = volume + "/photo";
        MakeFolder(share);
        ASSERT_EQ(symlink(share.c_str(), PHOTO_SHARE_LINK), 0);
        supportphoto = 1;
        supportcinehall = 0;
    }

    void TearDown() override
    {
        supportphoto = 0;
        supportcinehall = 0;
        std::error_code ignored;
        std::filesystem::remove_all(volume, ignored);
    }

    // A file of the share. A playlist is stored by the media side; a file without extension fails there.
    std::string Put(const std::string &name) const
    {
        WriteFile(share + name, "");
        return share + name;
    }
};

static Lines CallsOf(char letter, std::string argument)
{
    platform.calls.clear();
    EXPECT_EQ(QueueCommandExecute(static_cast<unsigned char>(letter), argument.data()), 0);
    return platform.calls;
}

static std::string Converter(const std::string &path)
{
    return std::string("NLIBExec ") + VIDEO_CONVERTER_PROGRAM + " -f " + path + " (null) (null)";
}

TEST_F(PhotoCommands, TreeAddIndexesBothSidesAndThenItsAlbums)
{
    std::string file = Put("/trip/a.m3u");
    std::string trip = share + "/trip";
    EXPECT_EQ(CallsOf('A', trip),
              (Lines{"MediaInfoDBDirSave " + trip, "MediaInfoDBSave 3 " + file, "PhotoIndexPath " + file + " 1",
                     "PhotoVolumeCheck", "PhotoShareAddDir " + trip}));
    EXPECT_EQ(CallsOf('A', file), (Lines{"MediaInfoDBSave 3 " + file, "PhotoIndexPath " + file + " 1"}));
}

TEST_F(PhotoCommands, FileThatTheMediaSideRefusesGoesToTheConverter)
{
    std::string file = Put("/trip/noextension");
    for (char letter : {'A', 'a'})
        EXPECT_EQ(CallsOf(letter, file), Lines{Converter(file)}) << letter;
}

TEST_F(PhotoCommands, TreeDeleteForgetsRowsAndAlbum)
{
    std::string gone = share + "/gone";
    EXPECT_EQ(CallsOf('D', gone), (Lines{"MediaInfoDBDelete 5 " + gone, "PhotoInfoDBDirDelete " + gone,
                                         "PhotoShareUpdate " + gone + " 2"}));
}

TEST_F(PhotoCommands, SingleAddOfAFileOrFolder)
{
    std::string file = Put("/trip/a.m3u");
    std::string trip = share + "/trip";
    EXPECT_EQ(CallsOf('a', file), (Lines{"MediaInfoDBSave 3 " + file, "PhotoIndexPath " + file + " 1"}));
    EXPECT_EQ(CallsOf('a', trip), (Lines{"MediaInfoDBDirSave " + trip, "PhotoIndexPath " + trip + " 1",
                                         "PhotoShareUpdate " + trip + " 1"}));
}

TEST_F(PhotoCommands, SingleDeleteForgetsBothRows)
{
    std::string gone = share + "/gone.m3u";
    EXPECT_EQ(CallsOf('d', gone), (Lines{"MediaInfoDBDelete 3 " + gone, "PhotoIndexPath " + gone + " 2"}));
}

TEST_F(PhotoCommands, DeleteOfAnExistingPathTouchesNeitherSide)
{
    std::string file = Put("/a.m3u");
    for (char letter : {'d', 'D'})
        EXPECT_EQ(CallsOf(letter, file), Lines{}) << letter;
}

TEST_F(PhotoCommands, RenameOfAFolder)
{
    std::string now = share + "/new";
    std::string old = share + "/old";
    MakeFolder(now);
    Lines calls = {"MediaInfoDBDelete 5 " + old, "MediaInfoDBDirSave " + now,
                   "PhotoIndexRename " + now + " " + old + " 1", "PhotoShareRename " + now + " " + old};
    EXPECT_EQ(CallsOf('N', now + ":" + old), calls);

    supportcinehall = 1;
    calls.push_back("PhotoIndexRenameVideoNotes " + now + " " + old + " 1");
    calls.push_back("PhotoIndexRenameVideoNotes " + now + " " + old + " 2");
    EXPECT_EQ(CallsOf('N', now + ":" + old), calls);
}

TEST_F(PhotoCommands, RenameOfAFileMovesTheNotesOfWebVideosOnly)
{
    // Both names are gone again, as when they were moved on meanwhile: the media side deletes and adds nothing.
    for (const char *ext : {"mp4", "m3u"}) {
        std::string now = share + "/new." + ext;
        std::string old = share + "/old." + ext;
        bool web_video = ext == std::string("mp4");
        Lines calls = {std::string("MediaInfoDBDelete ") + (web_video ? "1 " : "3 ") + old,
                       "PhotoIndexRename " + now + " " + old + " 0"};
        supportcinehall = 0;
        EXPECT_EQ(CallsOf('N', now + ":" + old), calls);
        supportcinehall = 1;
        if (web_video) {
            calls.push_back("PhotoIndexRenameVideoNotes " + now + " " + old + " 1");
            calls.push_back("PhotoIndexRenameVideoNotes " + now + " " + old + " 2");
        }
        EXPECT_EQ(CallsOf('N', now + ":" + old), calls);
    }
}

TEST_F(PhotoCommands, RenameIsAPhotoMatterByItsNewPathAlone)
{
    std::string photo = share + "/a.m3u";
    EXPECT_EQ(CallsOf('N', photo + ":/volume1/music/a.m3u"),
              (Lines{"MediaInfoDBDelete 3 /volume1/music/a.m3u",
                     "PhotoIndexRename " + photo + " /volume1/music/a.m3u 0"}));
    EXPECT_EQ(CallsOf('N', "/volume1/music/a.m3u:" + photo), Lines{"MediaInfoDBDelete 3 " + photo});
    EXPECT_EQ(CallsOf('N', photo), Lines{"PhotoIndexRename " + photo + " (null) 0"});
}

TEST_F(PhotoCommands, RebuildSynchronisesPhotosAndThenAlbums)
{
    EXPECT_EQ(CallsOf('R', "photo"), (Lines{"PhotoVolumeCheck", "PhotoIndexSyncDir (null)", "PhotoDBVacuum",
                                            "PhotoShareSync (null)"}));
}

TEST_F(PhotoCommands, RefreshWalksTheLinksTargetOnThePhotoSideOnly)
{
    std::string file = Put("/trip/a.m3u");
    EXPECT_EQ(CallsOf('U', "photo"), (Lines{"PhotoVolumeCheck", "PhotoIndexPath " + file + " 5"}));
    EXPECT_EQ(log_lines, Lines{});
}

TEST_F(PhotoCommands, OtherSharesHaveNoPhotoSide)
{
    std::string file = volume + "/music/a.m3u";
    std::string folder = volume + "/music";
    WriteFile(file, "");
    Lines saved = {"MediaInfoDBSave 3 " + file};
    EXPECT_EQ(CallsOf('A', file), saved);
    EXPECT_EQ(CallsOf('a', file), saved);
    EXPECT_EQ(CallsOf('A', folder), (Lines{"MediaInfoDBDirSave " + folder, "MediaInfoDBSave 3 " + file}));
    EXPECT_EQ(CallsOf('D', folder + "/gone"), Lines{"MediaInfoDBDelete 5 " + folder + "/gone"});
    EXPECT_EQ(CallsOf('d', folder + "/gone.m3u"), Lines{"MediaInfoDBDelete 3 " + folder + "/gone.m3u"});
}
