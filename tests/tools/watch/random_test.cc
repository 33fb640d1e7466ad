// Random work on a real tree, some of it at once and some with pauses. In the end the rows are those of a rebuild.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "watch_box.h"

namespace fs = std::filesystem;

struct WatchRandom : WatchBox {
    std::mt19937 random;
    std::string history;

    size_t Below(size_t end);
    // Any file or folder that exists; empty when there is none.
    std::string Existing(bool is_folder);
    std::string AnyName();
    void Do(int operation);
    // `late`: the watcher gets to its events only after each burst.
    void Work(bool late);
};
WATCH_TESTS(WatchRandom);

static constexpr const char *ROOTS[] = {"/volume1/music", "/volume1/video", "/volume1/outside"};

size_t WatchRandom::Below(size_t end)
{
    return random() % end;
}

std::string WatchRandom::Existing(bool is_folder)
{
    Texts paths;
    for (const char *root : ROOTS) {
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
            if (entry.is_directory() == is_folder && entry.path().filename().string().find("last") != 0)
                paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths.empty() ? "" : paths[Below(paths.size())];
}

// Few names, so that they come back, as files and as folders, indexed and not.
std::string WatchRandom::AnyName()
{
    static constexpr const char *names[] = {"a.srt", "b.m3u", "c.srt", "d", "e", "x:y.srt", "f.txt", "@eaDir"};
    std::string folder = Below(3) ? Existing(true) : "";
    if (folder.empty())
        folder = ROOTS[Below(std::size(ROOTS))];
    return folder + '/' + names[Below(std::size(names))];
}

void WatchRandom::Do(int operation)
{
    std::error_code ignored;  // what cannot be done is not
    std::string path = AnyName();
    std::string old = Existing(Below(2));
    switch (operation) {
    case 0:
        fs::create_directory(path, ignored);
        break;
    case 1:
    case 2:
        if (!fs::is_directory(path))
            FileWrite(path, std::string(Below(100), 'x'));
        break;
    case 3:
    case 4:
        fs::rename(old, path, ignored);
        path = old + " to " + path;
        break;
    case 5:
        path = Existing(false);
        fs::remove(path, ignored);
        break;
    case 6:
        path = Existing(true);
        if (Below(2) && !path.empty())
            fs::remove_all(path, ignored);
        break;
    default:
        path = Existing(false);
        if (!path.empty())
            FileAppend(path, "more");
    }
    history += std::to_string(operation) + ' ' + path + (ignored ? " (not)\n" : "\n");
}

void WatchRandom::Work(bool late)
{
    static constexpr int OPERATIONS = 200;
    const char *other_seed = getenv("GTEST_WATCH_SEED");  // to be tried by hand
    random.seed(other_seed ? static_cast<unsigned>(atoi(other_seed)) : 1);
    fs::create_directories(ROOTS[2]);
    for (int i = 0; i < 10; i++)
        Do(static_cast<int>(Below(3)));
    WatchAndDaemon();
    for (int i = 0; i < OPERATIONS; i++) {
        if (late)
            (void)kill(watcher, SIGSTOP);
        Do(static_cast<int>(Below(8)));
        if (Below(10) == 0) {
            (void)kill(watcher, SIGCONT);
            usleep(static_cast<useconds_t>(Below(500000)));
            history += "pause\n";
        }
    }
    (void)kill(watcher, SIGCONT);
    ExpectLikeRebuild();
    if (HasFailure())
        std::cout << history;
}

TEST_P(WatchRandom, WorkInBursts)
{
    Work(false);
}

TEST_P(WatchRandom, WorkThatIsReadLate)
{
    Work(true);
}
