// Requests to the sibling daemons: the thumbnail maker and the web-video converter. Each reads a queue file, one
// path a line, and is woken by a signal.
#pragma once

// What QueueMediaConversion is to ask for.
enum {
    CONVERT_THUMB = 1,
    CONVERT_FLV = 2,
};

// Appends a request to a queue file under an exclusive lock, creating the file if it is missing. While access is
// denied it waits, up to 16 seconds.
// 0 when the request is in the file, written now or already there; -1 otherwise. A request that does not fit a line
// of 4096 bytes or that holds a line feed is refused.
int WriteThumbQueue(const char *request, const char *queue_file);

// Asks for thumbnails and for a web-playable copy of a file or folder, as far as `bits`, the features of the box and
// the kind of the file go, and wakes a daemon: the one whose process id was read last.
void QueueMediaConversion(const char *path, int bits);
