// The daemon's fixed paths, moved below a scratch folder, and the folder itself.
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/paths.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

static const std::string &ScratchRoot()
{
    static const struct Root {
        std::string path;
        Root()
        {
            char name[] = "/tmp/nubo-test-XXXXXX";
            path = mkdtemp(name);
        }
        ~Root()
        {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    } root;
    return root.path;
}

// The text lives as long as the process.
static const char *ScratchPath(const char *path)
{
    return strdup((ScratchRoot() + path).c_str());
}

const char *const INDEX_QUEUE_PATH = ScratchPath("/var/spool/nubo_indexing_queue");
const char *const INDEX_QUEUE_WORK_PATH = ScratchPath("/var/spool/nubo_indexing_queue.tmp");
const char *const DAEMON_PID_PATH = ScratchPath("/var/run/nuboindexd.pid");
const char *const WATCH_STATE_PATH = ScratchPath("/var/run/nuboindex-watch.state");
const char *const MUSIC_SERVER_PID_PATH = ScratchPath("/var/run/mt-daapd.pid");
const char *const MEDIA_SERVER_PID_PATH = ScratchPath("/var/run/dms.pid");
const char *const DEFAULT_SETTINGS_PATH = ScratchPath("/etc.defaults/nuboinfo.conf");
const char *const SETTINGS_PATH = ScratchPath("/etc/nuboinfo.conf");
const char *const MUSIC_SHARE_LINK = ScratchPath("/var/services/music");
const char *const VIDEO_SHARE_LINK = ScratchPath("/var/services/video");
const char *const PHOTO_SHARE_LINK = ScratchPath("/var/services/photo");
const char *const THUMB_QUEUE_PATH = ScratchPath("/var/spool/thumb_create.queue");
const char *const THUMB_DAEMON_PID_PATH = ScratchPath("/var/run/nubomkthumbd.pid");
const char *const FLV_QUEUE_PATH = ScratchPath("/var/spool/flv_create.queue");
const char *const FLV_DAEMON_PID_PATH = ScratchPath("/var/run/nubomkflvd.pid");
const char *const VIDEO_CONVERTER_PROGRAM = ScratchPath("/usr/nubo/bin/nuboflvconv");
const char *const AAC_DECODER_PROGRAM = ScratchPath("/usr/bin/faad");
const char *const MEMINFO_PATH = ScratchPath("/proc/meminfo");

std::string Scratch(std::string_view path)
{
    return ScratchRoot() + std::string(path);
}

void MakeFolder(const std::string &path)
{
    fs::create_directories(path);
}

std::string MakeDeepFile(const std::string &root, size_t length, const std::string &suffix)
{
    static constexpr size_t component = 100;
    const std::string folder(component, 'd');
    const fs::path before = fs::current_path();
    MakeFolder(root);
    fs::current_path(root);  // step by step, because the whole path may be too long to name
    std::string path = root;
    while (length - path.size() > 2 * component) {
        fs::create_directory(folder);
        fs::current_path(folder);
        path += "/" + folder;
    }
    std::string name(length - path.size() - 1 - suffix.size(), 'f');
    name += suffix;
    std::ofstream(name).flush();
    fs::current_path(before);
    return path + "/" + name;
}

void WriteFile(const std::string &path, std::string_view content)
{
    MakeFolder(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string ReadFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void ScratchReset()
{
    for (const auto &entry : fs::directory_iterator(ScratchRoot()))
        fs::remove_all(entry.path());
    for (const char *folder :
         {"/var/spool", "/var/run", "/var/services", "/etc", "/etc.defaults", "/proc", "/volume1"})
        MakeFolder(Scratch(folder));
    WriteFile(MEMINFO_PATH, ReadFile("/proc/meminfo"));
}
