// Trees that change while they are read, names that nobody would choose, and many changes at random.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "common/paths.h"
#include "platform/media_index.h"
#include "support/scratch.h"
#include "sync_box.h"

namespace fs = std::filesystem;

struct SyncHostile : SyncBox {
};

static const char *const ODD_NAMES[] = {
    " ",       "trail ",  " lead",     "-q",        "--json",
    "a:b",     ":",       "a:",        "c\r",       "\r",
    "n\nl",    "\n",      "tab\t",     "q'q",       "'",
    "\"",      "\\",      "b\\n",      "%",         "%s%n",
    "_",       "caf\xe9", "\xff\xfe",  "\xc0\xaf",  "d\xc3\xa9j\xc3\xa0",
    "x@eaDir", "@eaDirx", "#recycle2", "[a,b]",     "{}",
    "*",       "?",       "~",         "$(reboot)", "`id`",
    ";",       "\x01",    "\x1b[2J",   "\x7f",      "...",
    "R:all",   "N:\x02x",
};

TEST_F(SyncHostile, OddNamesOfFilesAndFolders)
{
    for (const char *name : ODD_NAMES) {
        std::string odd = name;
        WriteFile(Music(odd + ".srt"), "x");
        WriteFile(Music("in/" + odd + "/x.srt"), "x");
        WriteFile(Photo(odd + ".jpg"), "x");
        if (odd[0] != '.')
            WriteFile(Photo("in/" + odd + "/x.jpg"), "x");
    }
    ExpectMended();
    for (const char *name : ODD_NAMES) {
        fs::remove(Music(std::string(name) + ".srt"));
        fs::remove_all(Music("in/" + std::string(name)));
        fs::remove(Photo(std::string(name) + ".jpg"));
        fs::remove_all(Photo("in/" + std::string(name)));
    }
    WriteFile(Music("stays.srt"), "x");
    WriteFile(Photo("stays.jpg"), "x");
    ExpectMended();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

TEST_F(SyncHostile, FilesOfAnotherKindThanTheirShare)
{
    for (const std::string &share : {volume + "/music", volume + "/video", volume + "/photo"}) {
        for (const char *name :
             {"a.jpg", "b.srt", "c.mp3", "d.m3u", "e.mkv", "Deep/Deeper/f.png", "g.psd", "h.ufo"})
            WriteFile(share + "/" + name, "x");
    }
    ExpectMended();
    for (const std::string &share : {volume + "/music", volume + "/video", volume + "/photo"}) {
        for (const char *name : {"a.jpg", "c.mp3", "Deep/Deeper/f.png"})
            WriteFile(share + "/" + name, "longer");
        fs::remove(share + "/b.srt");
        fs::remove(share + "/g.psd");
    }
    ExpectMended();
}

TEST_F(SyncHostile, BinsAndAttributeFolders)
{
    for (const char *folder :
         {"@eaDir", "#recycle", "In/@eaDir", "In/#recycle", ".Hidden", "In/#recycle/Deep"}) {
        WriteFile(Music(folder + std::string("/a.srt")), "x");
        WriteFile(Music(folder + std::string("/b.jpg")), "x");
    }
    ExpectMended();
    fs::rename(Music("In"), Music("@eaDir/In"));
    ExpectMended();
    fs::rename(Music("@eaDir/In"), Music("Out"));
    ExpectMended();
    fs::rename(Music("Out"), Music("#recycle/In"));
    ExpectMended();
}

// Requests and the resynchronisation of the gallery differ about these; neither is to be called forth by the other.
TEST_F(SyncHostile, BinsAndAttributeFoldersOfThePhotoShare)
{
    for (const char *folder :
         {"@eaDir", "#recycle", "#recycle/In", "In/@eaDir", "In/#recycle", ".Hidden/In", "A/B/#recycle/C"})
        WriteFile(Photo(folder + std::string("/a.jpg")), "x");
    for (int i = 0; i < 2; i++) {
        (void)Sync();
        Batch();
        EXPECT_EQ(DifferenceText(*this, Check()), "");
        EXPECT_TRUE(HasMediaRow(MEDIA_KIND_PHOTO, Photo("#recycle/In/a.jpg")));
        EXPECT_FALSE(HasMediaRow(MEDIA_KIND_PHOTO, Photo("@eaDir/a.jpg")));
        EXPECT_FALSE(HasAlbum("#recycle/In"));
        Rebuild();
        EXPECT_EQ(DifferenceText(*this, Check()), "");
        fs::rename(Photo(i == 0 ? "In" : "#recycle/Gone"), Photo(i == 0 ? "#recycle/Gone" : "Back"));
    }
}

TEST_F(SyncHostile, LinksInCircles)
{
    for (const char *share : {"/music/", "/photo/"}) {
        std::string root = volume + share;
        WriteFile(root + "A/x.srt", "x");
        WriteFile(root + "B/y.jpg", "x");
        fs::create_symlink("../B", root + "A/b");
        fs::create_symlink("../A", root + "B/a");
        fs::create_symlink(".", root + "B/self");
        fs::create_symlink(root, root + "A/top");
    }
    (void)Sync();
    EXPECT_LT(QueueText().size(), 10000u);
    SyncReport report = Check();
    EXPECT_LT(report.differences.size(), 100u);
}

// Whatever the moment at which the share goes and comes back: nothing is taken for gone that is there afterwards.
TEST_F(SyncHostile, ShareThatComesAndGoesDuringTheWalk)
{
    for (int i = 0; i < 300; i++)
        WriteFile(Music("Folder " + std::to_string(i / 10) + "/" + std::to_string(i) + ".srt"), "x");
    Rebuild();
    std::atomic<bool> is_over = false;
    std::thread disk([&] {
        std::mt19937 random(1);
        while (!is_over) {
            (void)rename((volume + "/music").c_str(), (volume + "/away").c_str());
            usleep(static_cast<useconds_t>(200 + random() % 3000));
            (void)rename((volume + "/away").c_str(), (volume + "/music").c_str());
            usleep(static_cast<useconds_t>(random() % 6000));
        }
    });
    for (int i = 0; i < 60; i++) {
        SyncReport report;
        std::ostringstream out;
        (void)SyncRun({}, report, Output{out, out, 0});
        EXPECT_EQ(QueueText(), "") << i << ' ' << out.str();
        fs::remove(INDEX_QUEUE_PATH);
    }
    is_over = true;
    disk.join();
    EXPECT_EQ(DifferenceText(*this, Check()), "");
}

// One change of a tree at random.
struct Shaker {
    SyncBox &box;
    std::mt19937 random;
    int number = 0;

    size_t Below(size_t limit)
    {
        return random() % limit;
    }

    std::string Root()
    {
        const char *roots[] = {"/music", "/video", "/photo"};
        return box.volume + roots[Below(3)];
    }

    std::vector<fs::path> All()
    {
        std::vector<fs::path> all;
        for (const char *root : {"/music", "/video", "/photo"}) {
            for (const auto &entry : fs::recursive_directory_iterator(box.volume + root))
                all.push_back(entry.path());
        }
        return all;
    }

    std::string Name()
    {
        const char *extensions[] = {".srt", ".jpg", ".m3u", ".txt", ".png", ".SUB"};
        bool is_odd = Below(4) == 0;
        std::string name =
            is_odd ? std::string("o") + ODD_NAMES[Below(std::size(ODD_NAMES))] : std::to_string(Below(6));
        return name + extensions[Below(6)];
    }

    std::string FolderName()
    {
        return Below(4) == 0 ? std::string("f") + ODD_NAMES[Below(std::size(ODD_NAMES))]
                             : "F" + std::to_string(Below(4));
    }

    fs::path Folder()
    {
        std::vector<fs::path> all = All();
        std::erase_if(all, [](const fs::path &path) { return !fs::is_directory(fs::symlink_status(path)); });
        return all.empty() || Below(3) == 0 ? fs::path(Root()) : all[Below(all.size())];
    }

    void Step()
    {
        std::error_code ignored;
        std::vector<fs::path> all = All();
        fs::path one = all.empty() ? fs::path() : all[Below(all.size())];
        switch (Below(7)) {
        case 0:
        case 1:
            if (fs::path path = Folder() / Name(); !fs::is_directory(path))
                WriteFile(path, std::string(1 + static_cast<size_t>(number++ % 50), 'x'));
            break;
        case 2:
            fs::create_directories(Folder() / FolderName() / FolderName(), ignored);
            break;
        case 3:
            if (!one.empty())
                fs::remove_all(one, ignored);
            break;
        case 4:
        case 5:
            if (!one.empty())
                fs::rename(one, Folder() / (Below(3) == 0 ? FolderName() : Name()), ignored);
            break;
        case 6:
            if (!one.empty() && fs::is_regular_file(one))
                WriteFile(one, std::string(1 + static_cast<size_t>(number++ % 50), 'y'));
            break;
        }
    }
};

TEST_F(SyncHostile, AnyChangesEndInTheRowsOfARebuild)
{
    for (const char *share : {"/music", "/video", "/photo"})
        WriteFile(volume + share + "/anchor.srt", "x");  // no share gets empty
    unsigned seed = getenv("SHAKE_SEED") ? static_cast<unsigned>(atoi(getenv("SHAKE_SEED"))) : 1;
    for (int round = 0; round < 25; round++) {
        Shaker shaker = {*this, std::mt19937(seed * 1000 + static_cast<unsigned>(round))};
        for (int i = 0; i < 15; i++)
            shaker.Step();
        for (const char *share : {"/music", "/video", "/photo"}) {
            if (!fs::exists(volume + share + "/anchor.srt"))
                WriteFile(volume + share + "/anchor.srt", "x");
        }
        ExpectMended();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}
