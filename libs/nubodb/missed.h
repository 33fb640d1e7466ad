// Changes that never reached a database: its server was gone, its disk full, its file damaged. They are kept by name in
// a file of their own, and once the database answers they become ordinary requests in the indexing queue. What is kept
// is where to look again, not what to do: the files themselves say by then whether they are to be added or removed.
#pragma once

#include <string>

#pragma GCC visibility push(default)

// Notes a change: "f" and the path of a file or folder, "s" and the path of a folder with all below it, a request
// that makes everything good ("R:photo"), or the emptying of a media table ("T:music"). Before that one come the renames of the batch in hand: a row knows more than
// the file that it is about, and must move before a pass over the share takes it for one too many. Known ones are not
// noted twice in a batch.
void MissedNote(const std::string &change);

// Was the emptying of a table noted in this batch? It will be made behind what follows then, so that all of this has to
// be noted too, done or not.
bool MissedEmptying();

// A new batch: whatever was noted before may have been queued, by whoever.
void MissedBatchBegin();

// How many changes wait, those of other processes included.
size_t MissedCount();

// Puts what was noted on stable storage; tries again to write down what could only be kept in memory, and queues it where
// that fails.
void MissedFlush();

// Empties the tables that were to be emptied, puts a request for each other change at the end of the indexing queue, and
// forgets them. The number of requests; -1 with a message in the system log, and everything is kept. Several processes may do that at the same time.
int MissedQueue();

#pragma GCC visibility pop
