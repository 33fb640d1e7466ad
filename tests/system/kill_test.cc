// kill -9 of the daemon at many random moments of a batch: after the restart the rows are those of an undisturbed run.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <random>

#include "system/box.h"
#include "system/rows.h"

// The sanitizers' runs look for other defects, and take their time.
static constexpr int KILLS = NUBO_SANITIZED ? 20 : 200;
static constexpr int KILLS_A_CHAIN_MAX = 25;  // of restarts that are killed again before one comes to its end

static Texts KillBatch()
{
    Texts lines = {"T:playlist"};
    for (int folder = 0; folder < 3; folder++) {
        std::string name = "/volume1/video/" + std::to_string(folder);
        for (int i = 0; i < 40; i++)
            FileWrite(name + '/' + std::to_string(i) + ".srt", "");
        FileWrite(name + "/list.m3u", "a.mp3\n");
        lines.push_back("A:" + name);
        std::string album = "/volume1/photo/" + std::to_string(folder);
        FileWrite(album + "/a.jpg", "no picture");
        FileWrite(album + "/Sub/b.jpg", "no picture");
        lines.push_back("A:" + album);
    }
    lines.push_back("A:/volume1/video/gone");
    lines.push_back("D:/volume1/video/gone");
    lines.push_back("R:photo");
    return lines;
}

static std::string Dump()
{
    std::string text = MediaDump();
    for (const Row &row : PhotoRows("photo", "path"))
        text += "photo|" + row.at("path") + '|' + row.at("title") + '|' + row.at("filesize") + '\n';
    for (const Row &row : PhotoRows("photo_share", "sharename"))
        text += "album|" + row.at("sharename") + '|' + row.at("public") + '\n';
    return text;
}

// Seconds from the start of a daemon to the signal that tells of its batch. It is ended then.
static double BatchRun()
{
    double start = Clock();
    pid_t pid = DaemonLaunch();
    EXPECT_TRUE(SignalArrived(SIGUSR1, 60));
    double seconds = Clock() - start;
    EXPECT_EQ(DaemonEnd(pid, SIGKILL), SIGKILL);
    return seconds;
}

TEST(Kill, AtManyRandomMomentsOfABatchLosesNothing)
{
    unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    std::string requests;
    for (const std::string &line : KillBatch())
        requests += line + '\n';
    BecomeMediaServer();
    FileWrite(QUEUE, requests);
    double undisturbed = BatchRun();
    const std::string expected = Dump();
    ASSERT_GT(std::count(expected.begin(), expected.end(), '\n'), 130);

    int kills = 0, in_batch = 0, chains = 0;
    double start = Clock();
    std::uniform_real_distribution<> moment(0, undisturbed);
    while (kills < KILLS) {
        chains++;
        DatabasesRemove();
        FileWrite(QUEUE, requests);
        int links = std::uniform_int_distribution<>(1, KILLS_A_CHAIN_MAX)(random);
        bool has_work = true;
        for (int i = 0; i < links && kills < KILLS && has_work; i++, kills++) {
            double begin = Clock();
            double until = moment(random);
            pid_t pid = DaemonLaunch();
            if (kills % 2 == 0) {  // half of them in the batch, however long the start takes
                while (Exists(QUEUE) && !Exists(WORK_FILE))
                    usleep(200);
                begin = Clock();
                until /= 2;
            }
            while (Clock() - begin < until)
                usleep(200);
            in_batch += Exists(WORK_FILE);
            ASSERT_EQ(DaemonEnd(pid, SIGKILL), SIGKILL);
            has_work = Exists(QUEUE) || Exists(WORK_FILE);
        }
        (void)SignalArrived(SIGUSR1);  // one that came to its end before the kill
        FileAppend(QUEUE, "a:/volume1/video/0/1.srt\n");
        (void)BatchRun();
        while (Exists(QUEUE) || Exists(WORK_FILE))
            (void)BatchRun();
        ASSERT_EQ(Dump() == expected, true) << "seed " << seed << ", kill " << kills;
    }
    std::cout << "seed " << seed << ": " << kills << " kills, " << in_batch << " of them in a batch, " << chains
              << " comparisons, " << Clock() - start << " s\n";
    RecordProperty("seed", std::to_string(seed));
    RecordProperty("kills", kills);
    RecordProperty("kills_in_batch", in_batch);
    EXPECT_GE(in_batch, kills / 6);
}
