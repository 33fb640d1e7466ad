// The files themselves say what a change is by now.
#include "nubodb/missed_requests.h"

#include <sys/stat.h>

#include <set>

static constexpr char EVERY_PHOTO[] = "R:photo";

static bool IsThere(const std::string &path, bool *is_folder)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return false;
    *is_folder = S_ISDIR(status.st_mode);
    return true;
}

// What the rename left behind may have come back meanwhile, and the media rows below it go by its name alone.
static std::string RenameRequest(const std::string &change)
{
    size_t colon = change.find(':', 2);
    bool is_folder = false;
    if (colon == change.npos || !IsThere(change.substr(colon + 1), &is_folder))
        return change + "\n";
    return change + "\nA:" + change.substr(colon + 1) + "\n";
}

std::string MissedEmptyings(const std::vector<std::string> &changes, int *count)
{
    std::string requests;
    for (const std::string &change : changes) {
        if (change.starts_with("T:")) {
            requests += change + "\n";
            ++*count;
        }
    }
    return requests;
}

// Empty for what is no change of ours: power failures leave odd lines.
static std::string RequestFor(const std::string &change)
{
    if (change.starts_with("N:"))
        return RenameRequest(change);
    if (change.starts_with("R:"))
        return change + "\n";
    if ((change[0] != 'f' && change[0] != 's') || change[1] != '/')
        return "";
    std::string path = change.substr(1);
    bool is_folder = false;
    if (!IsThere(path, &is_folder))
        return "D:" + path + "\n";
    bool only_itself = change[0] == 'f' && is_folder;
    return (only_itself ? "a:" : "A:") + path + "\n";
}

std::string MissedRequests(const std::vector<std::string> &changes, int *count)
{
    std::set<std::string> seen;
    std::string requests;
    bool every_photo = false;
    for (const std::string &change : changes) {
        every_photo = every_photo || change == EVERY_PHOTO;
        if (change != EVERY_PHOTO && seen.insert(change).second)
            requests += RequestFor(change);
    }
    if (every_photo)
        requests += RequestFor(EVERY_PHOTO);
    *count = 0;
    for (char byte : requests)
        *count += byte == '\n';
    return requests;
}
