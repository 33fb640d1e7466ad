// Room on the disks that the daemon writes to.
#include <stdint.h>
#include <sys/statvfs.h>

#include <filesystem>

#include "common/paths.h"
#include "doctor/checks.h"
#include "nlib/config.h"
#include "quantity_text.h"

// Enough for the log of one database, and for a queue.
static constexpr uint64_t BYTES_MIN = 48 << 20;
static constexpr uint64_t FILES_MIN = 100;

// What the whole disk cannot hold is not asked for: a small one must be nearly full.
static constexpr uint64_t SHARE_MIN = 20;

static void DiskCheck(const std::string &folder, const char *use, Findings &findings)
{
    struct statvfs disk;
    if (statvfs(folder.c_str(), &disk) != 0)
        return;  // who needs the folder reports that
    uint64_t left = uint64_t{disk.f_bavail} * disk.f_frsize;
    uint64_t all = uint64_t{disk.f_blocks} * disk.f_frsize;
    bool is_full = left < BYTES_MIN && left < all / SHARE_MIN;
    bool is_out_of_files =
        disk.f_files > 0 && disk.f_favail < FILES_MIN && disk.f_favail < disk.f_files / SHARE_MIN;
    if (!is_full && !is_out_of_files)
        return;
    std::string rest = is_full ? SizeText(left) : std::to_string(disk.f_favail) + " files";
    findings.push_back({"disks", FINDING_FAULT,
                        "the disk of " + folder + " is full, with room for " + rest + ": " + use,
                        "make room there, then: nuboindex retry"});
}

void DisksCheck(Findings &findings)
{
    DiskCheck(PlatformSetting("state_dir"), "nothing more can be stored", findings);
    DiskCheck(std::filesystem::path(INDEX_QUEUE_PATH).parent_path(), "no request can be queued", findings);
}
