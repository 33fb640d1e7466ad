// A scratch folder for the running test binary: all the daemon's fixed paths lie in it, and tests build their
// trees there. Emptied at the start of every test, removed at the end.
#pragma once

#include <string>
#include <string_view>

// "/volume1/x" becomes a path inside the scratch folder.
std::string Scratch(std::string_view path);

// Writes a file whole, making the folders above it. The path is used as it stands.
void WriteFile(const std::string &path, std::string_view content);

// A file's whole content; empty when there is no such file.
std::string ReadFile(const std::string &path);

// Makes a folder and the folders above it.
void MakeFolder(const std::string &path);

// Makes an empty file below `root` whose whole path, ending in `suffix`, has `length` bytes. Longer ones than an
// open can name (4095) are made too. Returns the path.
std::string MakeDeepFile(const std::string &root, size_t length, const std::string &suffix);

// Empties the scratch folder and lays out the folders that the daemon expects: var/spool, var/run,
// var/services, etc, etc.defaults.
void ScratchReset();
