// Files that are in the index with no more than their names tell.
#include <unistd.h>

#include <set>

#include "doctor/checks.h"
#include "unreadable_files.h"

void FilesCheck(Findings &findings)
{
    std::set<std::string> paths;
    for (const UnreadableFile &file : UnreadableFilesRead()) {
        if (access(file.path.c_str(), F_OK) == 0)
            paths.insert(file.path);
    }
    if (!paths.empty())
        findings.push_back(
            {"files", FINDING_NOTE,
             std::to_string(paths.size()) + (paths.size() == 1 ? " file" : " files") + " could not be read",
             "nuboindex failures names them, with the reasons"});
}
