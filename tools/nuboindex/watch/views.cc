#include "watch/views.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "index/share_path.h"
#include "paths_below.h"
#include "sync/file_kind.h"

namespace fs = std::filesystem;

static constexpr size_t LINKS_MAX = 10000;
static constexpr char ATTRIBUTE_FOLDER[] = "/@eaDir";

static bool IsIndexedPlace(const std::string &name)
{
    size_t place = name.find(ATTRIBUTE_FOLDER);
    while (place != std::string::npos) {
        size_t end = place + sizeof ATTRIBUTE_FOLDER - 1;
        if (end == name.size() || name[end] == '/')
            return false;
        place = name.find(ATTRIBUTE_FOLDER, end);
    }
    return !IsRecycleBinPath(name.c_str());
}

void ViewsShareAdd(Views &views, const std::string &name)
{
    char *real = realpath(name.c_str(), nullptr);
    if (real)
        views.names.emplace(real, name);
    free(real);
}

// Where a link leads, even when nothing is there yet.
static std::string LinkTargetOf(const std::string &real)
{
    std::error_code error;
    fs::path target = fs::read_symlink(real, error);
    if (error)
        return "";
    if (target.is_relative())
        target = fs::path(real).parent_path() / target;
    fs::path canonical = fs::weakly_canonical(target, error);
    return error ? "" : WithoutSlash(canonical.string());
}

static void FolderScan(Views &views, const std::string &name, const std::string &real,
                       std::vector<std::string> &above);

// `above` are the real folders through which the walk has come; a link back to one of them has no end.
static void LinkFollow(Views &views, const std::string &name, const std::string &real,
                       std::vector<std::string> &above)
{
    std::string target = LinkTargetOf(real);
    struct stat status;
    bool is_there = stat(real.c_str(), &status) == 0;
    bool is_folder = is_there && S_ISDIR(status.st_mode);
    if (target.empty() || (!is_folder && is_there && MediaKindOfName(name.substr(name.rfind('/') + 1)) < 0))
        return;
    auto is_above = [&](const std::string &folder) { return IsAtOrBelow(folder, target); };
    bool is_endless = is_folder && std::any_of(above.begin(), above.end(), is_above);
    if (views.links.size() >= LINKS_MAX) {
        views.is_full = true;
        return;
    }
    ViewsRename(views, name, "");
    views.links[name] = {target, is_folder};
    if (is_endless)
        return;
    views.names.emplace(target, name);
    if (views.target_found)
        views.target_found(is_folder ? target : ParentOf(target), is_folder);
    if (is_folder)
        FolderScan(views, name, target, above);
}

static void FolderScan(Views &views, const std::string &name, const std::string &real,
                       std::vector<std::string> &above)
{
    DIR *dir = IsIndexedPlace(name) ? opendir(real.c_str()) : nullptr;
    if (!dir)
        return;
    std::vector<std::string> folders, links;
    while (const dirent *entry = readdir(dir)) {
        std::string child = entry->d_name;
        if (child == "." || child == "..")
            continue;
        struct stat status;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN && fstatat(dirfd(dir), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            type = static_cast<unsigned char>(IFTODT(status.st_mode));
        if (type == DT_DIR)
            folders.push_back(child);
        else if (type == DT_LNK)
            links.push_back(child);
    }
    closedir(dir);
    above.push_back(real);
    for (const std::string &link : links)
        LinkFollow(views, name + '/' + link, real + '/' + link, above);
    for (const std::string &folder : folders)
        FolderScan(views, name + '/' + folder, real + '/' + folder, above);
    above.pop_back();
}

void ViewsLook(Views &views, const std::string &name, const std::string &real)
{
    struct stat status;
    if (lstat(real.c_str(), &status) != 0 || !IsIndexedPlace(name))
        return;
    std::vector<std::string> above = {ParentOf(real)};
    for (std::string folder = ParentOf(name); !folder.empty(); folder = ParentOf(folder)) {
        auto link = views.links.find(folder);
        if (link != views.links.end())
            above.push_back(ParentOf(link->first));
    }
    if (S_ISLNK(status.st_mode))
        LinkFollow(views, name, real, above);
    else if (S_ISDIR(status.st_mode))
        FolderScan(views, name, real, above);
}

static void NameErase(Views &views, const std::string &target, const std::string &name)
{
    auto [begin, end] = views.names.equal_range(target);
    auto found = std::find_if(begin, end, [&](const auto &entry) { return entry.second == name; });
    if (found != end)
        views.names.erase(found);
}

void ViewsRename(Views &views, const std::string &old_name, const std::string &new_name)
{
    std::vector<std::pair<std::string, LinkView>> moved;
    for (auto link = views.links.lower_bound(old_name);
         link != views.links.end() && link->first.starts_with(old_name);) {
        if (!IsAtOrBelow(link->first, old_name)) {
            link++;
            continue;
        }
        NameErase(views, link->second.target, link->first);
        if (!new_name.empty())
            moved.emplace_back(new_name + link->first.substr(old_name.size()), link->second);
        link = views.links.erase(link);
    }
    for (const auto &[name, link] : moved) {
        views.links[name] = link;
        views.names.emplace(link.target, name);
    }
}

// Name and the view that gave it.
static std::map<std::string, std::string> NamesByView(const Views &views, const std::string &real)
{
    std::map<std::string, std::string> names;
    for (size_t length = real.size(); length != std::string::npos && length > 0;
         length = real.rfind('/', length - 1)) {
        auto [begin, end] = views.names.equal_range(real.substr(0, length));
        for (auto view = begin; view != end; view++) {
            std::string name = view->second + real.substr(length);
            if (IsIndexedPlace(name))
                names.emplace(view->second, name);
        }
    }
    return names;
}

std::vector<std::string> ViewsNamesOf(const Views &views, const std::string &real)
{
    std::vector<std::string> names;
    for (const auto &[view, name] : NamesByView(views, real))
        names.push_back(name);
    return names;
}

std::vector<std::pair<std::string, std::string>>
ViewsNamesOfMove(const Views &views, const std::string &old_real, const std::string &new_real)
{
    std::map<std::string, std::string> old_names = NamesByView(views, old_real);
    std::map<std::string, std::string> new_names = NamesByView(views, new_real);
    std::vector<std::pair<std::string, std::string>> pairs;
    for (auto name = old_names.begin(); name != old_names.end();) {  // within one share, or below one link
        auto same = new_names.find(name->first);
        if (same == new_names.end()) {
            name++;
            continue;
        }
        pairs.emplace_back(name->second, same->second);
        new_names.erase(same);
        name = old_names.erase(name);
    }
    while (!old_names.empty() || !new_names.empty()) {
        pairs.emplace_back(old_names.empty() ? "" : old_names.begin()->second,
                           new_names.empty() ? "" : new_names.begin()->second);
        if (!old_names.empty())
            old_names.erase(old_names.begin());
        if (!new_names.empty())
            new_names.erase(new_names.begin());
    }
    return pairs;
}

std::vector<std::string> ViewsLinksInto(const Views &views, const std::string &real)
{
    std::vector<std::string> links;
    std::string folder = real + '/';
    for (auto view = views.names.lower_bound(folder);
         view != views.names.end() && view->first.starts_with(folder); view++) {
        if (views.links.count(view->second))
            links.push_back(view->second);
    }
    return links;
}

bool ViewsIsFolderLink(const Views &views, const std::string &name)
{
    auto link = views.links.find(name);
    return link != views.links.end() && link->second.is_folder;
}
