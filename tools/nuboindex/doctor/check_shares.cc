// The shares. Folders are looked at as whoever runs this; the daemon walks them in the same way.
#include <errno.h>
#include <limits.h>
#include <string.h>
#include <unistd.h>

#include "common/paths.h"
#include "doctor/checks.h"
#include "index/media_record.h"
#include "index/share_path.h"
#include "photo_share.h"
#include "platform/sdk.h"
#include "sync/index_rows.h"
#include "sync/share.h"
#include "sync/tree.h"

static constexpr char SUBJECT[] = "shares";

static void UnlinkedAdd(const Share &share, Findings &findings)
{
    std::string link = share.link;
    bool is_other = access(share.link, F_OK) == 0;  // a folder in the link's place
    findings.push_back(
        {SUBJECT, FINDING_FAULT,
         is_other ? link + " is no link, so the " + share.name + " share is not indexed"
                  : "the link " + link + " is missing, so the " + share.name + " share is not indexed",
         is_other ? "move it away and put a link to the share in its place: ln -s FOLDER " + link
                  : "ln -s FOLDER " + link + " (an empty folder will do)"});
}

static void AbsentAdd(const Share &share, Findings &findings)
{
    std::string text = std::string("the ") + share.name + " share is not there: " + share.reason;
    std::string mend = std::string("mount its disk, or point the link elsewhere: ln -sfn FOLDER ") + share.link;
    findings.push_back({SUBJECT, FINDING_FAULT, text, mend});
}

// The daemon knows photos by the name of their share.
static void PhotoPlaceCheck(const Share &share, Findings &findings)
{
    bool is_photo = share.kind == MEDIA_KIND_PHOTO;
    if (is_photo && !IsPhotoSharePath((share.root + "/a").c_str()))
        findings.push_back({SUBJECT, FINDING_FAULT,
                            "the photo share " + share.root +
                                " has no place by which its photos are known, so the gallery stays empty",
                            "let the link lead to /volumeN/photo, with one digit for N"});
}

// No row has been compared with anything yet, so that all of them are unseen, and it is enough that there are some.
static void EmptyCheck(const Share &share, Findings &findings)
{
    IndexRows rows;
    if (!IsRootEmpty(share) || !IndexRowsRead({share.root}, false, rows) || !AllRowsUnseen(rows, share.root))
        return;
    findings.push_back({SUBJECT, FINDING_FAULT,
                        "the " + std::string(share.name) + " share " + share.root +
                            " is empty, but there are files of it in the index",
                        "mount its disk; or, if all of it was deleted: nuboindex sync --allow-empty " +
                            std::string(share.name)});
}

void SharesCheck(Findings &findings)
{
    for (const Share &share : SharesRead()) {
        if (share.state == SHARE_UNLINKED) {
            UnlinkedAdd(share, findings);
        } else if (share.state == SHARE_ABSENT) {
            AbsentAdd(share, findings);
        } else {
            PhotoPlaceCheck(share, findings);
            EmptyCheck(share, findings);
        }
    }
    if (!BlNUBOFileCheckKeyValue(DEFAULT_SETTINGS_PATH, "supportphoto", "yes", 0))
        findings.push_back(
            {SUBJECT, FINDING_NOTE, "photos are switched off, so the gallery stays as it is",
             std::string("supportphoto=\"yes\" in ") + DEFAULT_SETTINGS_PATH + ", and start the daemon anew"});
}

// --- folders

static constexpr size_t NAMED_MAX = 10;

struct UnreadableFolders {
    std::vector<std::pair<std::string, std::string>> named;  // path and reason
    size_t count = 0;
};

static void ShareWalk(const Share &share, UnreadableFolders &folders)
{
    TreeVisit visit;
    visit.file = [](const TreeFile &) {};
    visit.folder = [](const std::string &) {};
    visit.unreadable = [&folders](const std::string &path) {
        int error = errno;
        folders.count++;
        if (folders.named.size() < NAMED_MAX)
            folders.named.emplace_back(path, strerror(error));
    };
    TreeWalk(share.root, visit);
}

static const char *MendFor(const std::string &reason)
{
    if (reason == strerror(EACCES))
        return "give the daemon's user the right to read it";
    if (reason == strerror(EIO))
        return "its disk has a fault: check the file system";
    return "";
}

void FoldersCheck(Findings &findings)
{
    UnreadableFolders folders;
    for (const Share &share : SharesRead()) {
        if (share.state == SHARE_PRESENT)
            ShareWalk(share, folders);
    }
    for (const auto &[path, reason] : folders.named)
        findings.push_back({"folders", FINDING_FAULT, path + " cannot be read: " + reason, MendFor(reason)});
    if (folders.count > folders.named.size())
        findings.push_back({"folders", FINDING_FAULT,
                            std::to_string(folders.count - folders.named.size()) + " more cannot be read", ""});
}
