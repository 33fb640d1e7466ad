// The indexing queue: one batch is the queue file taken over whole, executed line by line, and deleted.
#pragma once

// The longest line that is read in one piece, its terminator included. A longer one is split.
inline constexpr int QUEUE_LINE_SIZE = 4112;

// Runs one batch. A work file left by an interrupted batch is executed first, and alone: what arrived since
// stays in the queue file for the next batch.
void IndexQueueProcess(void);
