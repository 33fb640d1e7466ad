// The cover folders. The daemon runs as root, so a folder is only cleaned when it is one of ours.
#include "mediaindex/cover_store.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <nettle/sha2.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "mediaindex/exported.h"
#include "nlib/config.h"

static constexpr size_t FOLDER_HASH_BYTES = 16;

enum { COVER_KIND_JPEG = 1, COVER_KIND_PNG = 2 };

static std::string CoversRoot()
{
    return std::string(PlatformSetting("state_dir")) + "/covers/";
}

std::string CoverFolderPath(const char *media_path)
{
    uint8_t digest[SHA256_DIGEST_SIZE];
    struct sha256_ctx hash;
    sha256_init(&hash);
    sha256_update(&hash, strlen(media_path), reinterpret_cast<const uint8_t *>(media_path));
    sha256_digest(&hash, sizeof digest, digest);

    std::string folder = CoversRoot();
    for (size_t i = 0; i < FOLDER_HASH_BYTES; i++) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", digest[i]);
        folder += digits;
        if (i == 0)
            folder += '/';
    }
    return folder;
}

// Makes a folder and what is missing above it, the state folder included.
static int FolderMake(const std::string &folder)
{
    if (mkdir(folder.c_str(), 0755) == 0 || errno == EEXIST)
        return 0;
    size_t slash = folder.rfind('/');
    if (errno != ENOENT || slash == 0 || slash == folder.npos || FolderMake(folder.substr(0, slash)) < 0)
        return -1;
    return mkdir(folder.c_str(), 0755) == 0 || errno == EEXIST ? 0 : -1;
}

static int PathGive(const std::string &path, char *out, int size)
{
    if (path.size() >= static_cast<size_t>(size))
        return 0;
    memcpy(out, path.c_str(), path.size() + 1);
    return 1;
}

int GetCoverFolder(const char *media_path, char *out, int size)
{
    if (!out || size <= 0)
        return 0;
    out[0] = '\0';
    if (!media_path || !media_path[0])
        return 0;
    std::string folder = CoverFolderPath(media_path);
    return FolderMake(folder) == 0 && PathGive(folder, out, size);
}

int GetCoverPath(const char *media_path, char *out, int size, int picture_type, int index, int kind)
{
    bool known_kind = kind == COVER_KIND_JPEG || kind == COVER_KIND_PNG;
    if (!known_kind || picture_type < 0 || index < 1 || !GetCoverFolder(media_path, out, size))
        return 0;
    char name[64];
    snprintf(name, sizeof name, "/%02d-%d.%s", picture_type, index, kind == COVER_KIND_JPEG ? "jpg" : "png");
    std::string path = std::string(out) + name;
    out[0] = '\0';
    return PathGive(path, out, size);
}

// <covers>/XX/Y..., and nothing else.
static bool IsCoverFolder(const std::string &folder)
{
    std::string root = CoversRoot();
    if (folder.size() != root.size() + 2 * FOLDER_HASH_BYTES + 1 || folder.compare(0, root.size(), root))
        return false;
    for (size_t i = root.size(); i < folder.size(); i++) {
        bool separator = i == root.size() + 2;
        if (separator ? folder[i] != '/' : !strchr("0123456789abcdef", folder[i]))
            return false;
    }
    return true;
}

static int FilesRemove(DIR *dir)
{
    int result = 0;
    while (const struct dirent *entry = readdir(dir)) {
        if (!strcmp(entry->d_name, ".") || !strcmp(entry->d_name, ".."))
            continue;
        if (unlinkat(dirfd(dir), entry->d_name, 0) < 0 && errno != ENOENT)
            result = -1;
    }
    return result;
}

static int CoverFolderRemove(const std::string &folder)
{
    if (rmdir(folder.c_str()) == 0 || errno == ENOENT)
        return 0;  // most files have no cover
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR *dir = fd < 0 ? nullptr : fdopendir(fd);
    if (!dir) {
        if (fd >= 0)
            close(fd);
        return -1;
    }
    int result = FilesRemove(dir);
    closedir(dir);
    (void)rmdir(folder.c_str());
    return result;
}

// The empty folder goes too: a library of files without covers would leave one folder each. GetCoverPath
// makes it again.
int CleanOldCover(const char *folder)
{
    return folder && IsCoverFolder(folder) ? CoverFolderRemove(folder) : -1;
}

int CoversForget(const char *media_path)
{
    return media_path && media_path[0] ? CoverFolderRemove(CoverFolderPath(media_path)) : -1;
}
