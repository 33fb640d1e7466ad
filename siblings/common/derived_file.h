// A file made from another one, in the @eaDir folder beside it. The shares belong to the box's users and this program
// may be root's, so no link is followed, neither to the source nor out of the folder.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

struct DerivedFile {
    int source = -1;  // open for reading
    int output = -1;  // open for writing, empty, without its name yet
    int folder = -1;  // the @eaDir
    std::string name;
    std::string temporary;  // the name that `output` has until it is finished
    struct stat source_status = {};
};

enum DerivedState {
    DERIVED_WANTED,  // opened; DerivedFileClose is due
    DERIVED_UP_TO_DATE,
    DERIVED_IMPOSSIBLE,  // with errno: no file there, no folder to write into
};

// Opens the source and, made as needed, the folder. `key` names what is made. It is up to date when it has the
// source's modification time.
DerivedState DerivedFileOpen(const std::string &source_path, const char *key, DerivedFile &file);

// Gives what was written its name and the source's time. 0, or -1 with errno.
int DerivedFileFinish(const DerivedFile &file);

// Releases everything, and removes the output if it was not finished.
void DerivedFileClose(DerivedFile &file);

// The regular files of a folder whose names `is_wanted` accepts, as whole paths, sorted; hidden ones not. -1 with
// errno when the folder cannot be read.
int FolderFiles(const std::string &folder, int (*is_wanted)(const char *path), std::vector<std::string> &files);
