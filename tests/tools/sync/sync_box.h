// A box for comparisons: three shares, the real libraries, and the daemon's batches run inside the test.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "sync/sync.h"

// The shares lie in a folder whose name is as long as "/volume1", because the photo share is told by its place.
struct SyncBox : testing::Test {
    std::string volume;
    std::string err;  // what the last comparison complained about

    void SetUp() override;
    void TearDown() override;

    std::string Music(const std::string &name) const;
    std::string Video(const std::string &name) const;
    std::string Photo(const std::string &name) const;

    // Has the daemon execute what is queued.
    void Batch();
    // Has it execute these lines instead.
    void Requests(const std::string &lines);
    // All shares, both databases.
    void Rebuild();

    SyncReport Check(const SyncOptions &options = {}, int status = TOOL_OK);
    SyncReport Sync(const SyncOptions &options = {}, int status = TOOL_OK);

    // Queues the difference, has it executed, and expects the rows of a rebuild and nothing left to do.
    void ExpectMended();
};

// "+ /a" and so on, a line each, with the volume cut off.
std::string DifferenceText(const SyncBox &box, const SyncReport &report);

// Every row of both databases but numbers that are given out, and marks.
std::string DatabaseDump();

// One row of a table of the media database, or nothing.
bool HasMediaRow(int kind, const std::string &path);
bool HasGalleryRow(const std::string &path);
bool HasAlbum(const std::string &name);

// What stands in the queue.
std::string QueueText();
