// Under which names the index knows a file. The kernel tells paths without symbolic links; the daemon follows the links
// and stores paths as it came to them, so one file may have several.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

struct LinkView {
    std::string target;  // free of links; need not exist
    bool is_folder;
};

struct Views {
    std::multimap<std::string, std::string, std::less<>>
        names;                                           // real path of a share or link target to its name
    std::map<std::string, LinkView, std::less<>> links;  // by the link's name
    bool is_full = false;                                // there are more links than can be followed
    // Called for a link's target, which is to be watched: the folder, and whether with the folders below.
    std::function<void(const std::string &folder, bool with_folders)> target_found;
};

// The folder of a share under the name that stands in its link.
void ViewsShareAdd(Views &views, const std::string &name);

// Looks at a new name: when it is a symbolic link, or a folder with links below, these are followed from now on.
// `real` is the same path free of links, but for its own last part.
void ViewsLook(Views &views, const std::string &name, const std::string &real);

// The name, and all below it, is gone or is another one now. An empty new name: gone.
void ViewsRename(Views &views, const std::string &old_name, const std::string &new_name);

// Every name of a real path that is to be indexed: not in an @eaDir folder or a recycle bin.
std::vector<std::string> ViewsNamesOf(const Views &views, const std::string &real);

// The names of both ends of a move, those that belong together side by side. Where one end has no name it is empty.
std::vector<std::pair<std::string, std::string>>
ViewsNamesOfMove(const Views &views, const std::string &old_real, const std::string &new_real);

// The links that lead to places below a real folder, but not to itself.
std::vector<std::string> ViewsLinksInto(const Views &views, const std::string &real);

// Is the name a symbolic link to a folder, as far as is known?
bool ViewsIsFolderLink(const Views &views, const std::string &name);
