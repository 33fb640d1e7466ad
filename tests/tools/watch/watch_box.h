// A box with a running watcher and a daemon whose quiet period is a fifth of a second. Tests run once with each
// mechanism of the kernel.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>

#include "system/box.h"
#include "system/rows.h"

struct WatchBox : testing::TestWithParam<const char *> {
    pid_t watcher = 0;
    pid_t daemon = 0;
    std::string queued_before;  // by the time when Watch came back

    // Skips the test where this machine does not let fanotify work.
    void SetUp() override;
    void TearDown() override;

    // Starts the watcher, and waits until it has compared everything. `quiet`: seconds; empty: as installed.
    void Watch(const std::string &quiet = "0.2");
    void Daemon();
    void WatchAndDaemon();

    // The lines that were queued since. Waits until there is one, and then until no more come. Not with a daemon.
    Texts NewLines() const;

    // Waits until the watcher has seen everything up to now and the daemon has executed what came of it.
    void Settle();

    // Ends both, and expects the rows that a new box would have of the same tree.
    void ExpectLikeRebuild();
};

// What the watcher said so far.
std::string WatchLogText();

// What it says of itself in `nuboindex status`.
std::string WatchStatus();

// Waits until the watcher is done with what it knows of. It may not have read its events yet.
bool WatcherIsIdle();

void FileMove(const std::string &from, const std::string &to);
void TreeCopy(const std::string &from, const std::string &to);

// Mounts a file system in memory, or shows a folder a second time. Skips the test where that is not allowed.
bool MemoryMount(const std::string &place);
bool FolderMount(const std::string &folder, const std::string &place);
void Unmount(const std::string &place);

#define WATCH_TESTS(suite)                                                                                     \
    INSTANTIATE_TEST_SUITE_P(Watch, suite, testing::Values("fanotify", "inotify"),                             \
                             [](const auto &chosen) { return std::string(chosen.param); })
