#include "webvideo/web_video.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <vector>

#include "common/child.h"
#include "common/derived_file.h"
#include "common/stop_signals.h"
#include "platform/media_index.h"

static constexpr char WEB_VIDEO_KEY[] = "NUBOVIDEO:WEB.mp4";
static constexpr char FFMPEG_PROGRAM[] = "/usr/bin/ffmpeg";
static constexpr unsigned SECONDS_MAX = 4 * 60 * 60;
static constexpr ChildLimits LIMITS = {SECONDS_MAX, 2u << 30, rlim_t{4} << 30};

// Containers only: a file that is in truth a playlist could name other files.
static constexpr char CONTAINERS[] =
    "avi,mov,mp4,matroska,webm,mpeg,mpegts,mpegvideo,m4v,h264,asf,flv,rm,swf,vcd,dv";

static std::string OpenFile(int fd)
{
    return "file:/proc/self/fd/" + std::to_string(fd);
}

// The descriptors stay open for the program, which so has no name that could come to mean another file.
static int FfmpegExec(int source, int output)
{
    const std::string input_url = OpenFile(source), output_url = OpenFile(output);
    const char *arguments[] = {
        FFMPEG_PROGRAM,
        "-nostdin",
        "-hide_banner",
        "-loglevel",
        "quiet",
        "-y",
        "-threads",
        "1",
        "-format_whitelist",
        CONTAINERS,
        "-protocol_whitelist",
        "file",
        "-i",
        input_url.c_str(),
        "-map",
        "0:v:0",
        "-map",
        "0:a:0?",
        "-map_metadata",
        "-1",
        "-vf",
        "scale=trunc(min(640\\,iw)/2)*2:-2,format=yuv420p",
        "-c:v",
        "libx264",
        "-preset",
        "veryfast",
        "-threads",
        "1",
        "-c:a",
        "aac",
        "-ac",
        "2",
        "-b:a",
        "96k",
        "-movflags",
        "+faststart",
        "-f",
        "mp4",
        output_url.c_str(),
        nullptr,
    };
    (void)fcntl(source, F_SETFD, 0);
    (void)fcntl(output, F_SETFD, 0);
    execv(FFMPEG_PROGRAM, const_cast<char *const *>(arguments));
    return 127;
}

static WebVideoResult Converted(const std::string &video, const DerivedFile &file)
{
    ChildResult result = ChildRun(LIMITS, [&file] { return FfmpegExec(file.source, file.output); });
    struct stat made;
    if (result == CHILD_DONE && fstat(file.output, &made) == 0 && made.st_size > 0 &&
        DerivedFileFinish(file) == 0)
        return WEB_VIDEO_MADE;
    if (result != CHILD_STOPPED)
        syslog(LOG_ERR, "No web video of %s: no video that can be converted", video.c_str());
    return WEB_VIDEO_FAILED;
}

WebVideoResult WebVideoMake(const std::string &video)
{
    DerivedFile file;
    switch (DerivedFileOpen(video, WEB_VIDEO_KEY, file)) {
    case DERIVED_UP_TO_DATE:
        return WEB_VIDEO_UP_TO_DATE;
    case DERIVED_IMPOSSIBLE:
        if (errno != ENOENT)
            syslog(LOG_ERR, "No web video of %s: %m", video.c_str());
        return WEB_VIDEO_FAILED;
    case DERIVED_WANTED:
        break;
    }
    WebVideoResult result = Converted(video, file);
    DerivedFileClose(file);
    return result;
}

static int IsVideoName(const char *path)
{
    return BlNUBOIndexIsVideo(NUBOIndexExtGet(path));
}

bool IsVideoFile(const std::string &path)
{
    struct stat status;
    return IsVideoName(path.c_str()) && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size > 0;
}

void WebVideoRequestServe(const std::string &path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return;  // gone by now
    std::vector<std::string> videos;
    if (!S_ISDIR(status.st_mode)) {
        if (IsVideoFile(path))
            videos.push_back(path);
    } else if (FolderFiles(path, IsVideoName, videos) < 0) {
        syslog(LOG_ERR, "Failed to read %s: %m", path.c_str());
    }
    for (const std::string &video : videos) {
        if (IsStopWanted())
            return;
        if (WebVideoMake(video) == WEB_VIDEO_MADE)
            syslog(LOG_INFO, "Web video made of %s", video.c_str());
    }
}
