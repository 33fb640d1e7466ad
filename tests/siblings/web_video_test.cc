// Web videos by the real ffmpeg, and the converter program that queues them.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/stop_signals.h"
#include "support/scratch.h"
#include "webvideo/web_video.h"

struct WebVideo : testing::Test {
    std::string folder = Scratch("/volume1/photo/A"), film = folder + "/film.avi";
    std::string copy = folder + "/@eaDir/film.avi@NUBOVIDEO.WEB.mp4";

    void SetUp() override
    {
        if (access("/usr/bin/ffmpeg", X_OK) != 0)
            GTEST_SKIP() << "there is no ffmpeg";
        StopSignalsHold();
        MakeFolder(folder);
    }
};

static int Exited(std::vector<const char *> words)
{
    words.push_back(nullptr);
    pid_t pid = 0;
    int status = -1;
    if (posix_spawn(&pid, words[0], nullptr, nullptr, const_cast<char *const *>(words.data()), environ) != 0)
        return -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static void FilmMake(const std::string &path)
{
    ASSERT_EQ(Exited({"/usr/bin/ffmpeg", "-nostdin", "-loglevel", "error", "-f", "lavfi", "-i",
                      "testsrc=size=65x49:rate=5", "-t", "1", "-c:v", "mpeg4", "-f", "avi", path.c_str()}),
              0);
}

TEST_F(WebVideo, StandsBesideTheFilmAndIsMadeOnce)
{
    FilmMake(film);
    EXPECT_EQ(WebVideoMake(film), WEB_VIDEO_MADE);
    std::string content = ReadFile(copy);
    EXPECT_EQ(content.substr(4, 4), "ftyp");
    EXPECT_NE(content.find("avc1"), std::string::npos);
    EXPECT_LT(content.find("moov"), content.find("mdat"));  // plays before it is loaded whole
    EXPECT_EQ(WebVideoMake(film), WEB_VIDEO_UP_TO_DATE);
}

TEST_F(WebVideo, BadFilesLeaveNothingBehind)
{
    WriteFile(Scratch("/volume1/secret.mp4"), "secret");
    const std::string cases[] = {"no film", std::string(100000, '\0'),
                                 "#EXTM3U\n#EXTINF:1,\n" + Scratch("/volume1/secret.mp4") + "\n",
                                 "ffconcat version 1.0\nfile '" + Scratch("/volume1/secret.mp4") + "'\n"};
    for (const std::string &content : cases) {
        WriteFile(film, content);
        EXPECT_EQ(WebVideoMake(film), WEB_VIDEO_FAILED);
        EXPECT_NE(access(copy.c_str(), F_OK), 0);
        EXPECT_NE(access((folder + "/@eaDir/.making-NUBOVIDEO:WEB.mp4").c_str(), F_OK), 0);
    }
    EXPECT_EQ(WebVideoMake(folder + "/gone.avi"), WEB_VIDEO_FAILED);
}

TEST_F(WebVideo, AFolderMeansItsVideos)
{
    FilmMake(film);
    WriteFile(folder + "/bad.mkv", "x");
    WriteFile(folder + "/photo.jpg", "x");
    WebVideoRequestServe(folder);
    EXPECT_EQ(access(copy.c_str(), F_OK), 0);
    WebVideoRequestServe(Scratch("/volume1/photo/gone"));
    WebVideoRequestServe(folder + "/photo.jpg");
    EXPECT_NE(access((folder + "/@eaDir/photo.jpg@NUBOVIDEO.WEB.mp4").c_str(), F_OK), 0);
}

TEST(VideoFile, IsOneByNameAndHasContent)
{
    std::string folder = Scratch("/volume1/photo");
    for (const char *name : {"a.avi", "b.MKV", "c.mp4", "d.jpg", "e", "f.txt"})
        WriteFile(folder + "/" + name, "x");
    WriteFile(folder + "/empty.avi", "");
    MakeFolder(folder + "/folder.avi");
    ASSERT_EQ(mkfifo((folder + "/pipe.avi").c_str(), 0600), 0);
    for (const char *name : {"a.avi", "b.MKV", "c.mp4"})
        EXPECT_TRUE(IsVideoFile(folder + "/" + name)) << name;
    for (const char *name : {"d.jpg", "e", "f.txt", "empty.avi", "folder.avi", "pipe.avi", "gone.avi"})
        EXPECT_FALSE(IsVideoFile(folder + "/" + name)) << name;
}

TEST(ConverterProgram, RefusesQuietlyWhatIsNoVideo)
{
    WriteFile(Scratch("/a.jpg"), "x");
    EXPECT_EQ(Exited({CONVERTER_PROGRAM, "-f", Scratch("/a.jpg").c_str()}), 1);
    EXPECT_EQ(Exited({CONVERTER_PROGRAM, "-f", Scratch("/gone.avi").c_str()}), 1);
    EXPECT_EQ(Exited({CONVERTER_PROGRAM, "-f", Scratch("").c_str()}), 1);
    EXPECT_EQ(Exited({CONVERTER_PROGRAM}), 2);
    EXPECT_EQ(Exited({CONVERTER_PROGRAM, "-x", "/a.avi"}), 2);
}
