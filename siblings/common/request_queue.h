// The queue files through which the indexing daemon asks for thumbnails and web videos: one path a line.
#pragma once

#include <string>
#include <vector>

// Makes an empty queue when there is none. A producer that finds none makes it exclusively, and of two that do so
// at once one loses its request; so there had better be one. 0, or -1 with errno.
int RequestQueueMake(const char *queue_path);

// Takes all requests out of the queue under the producers' lock, each once, in their order. Lines that are no
// absolute path or longer than a path can be are dropped. A missing queue is an empty one. -1 with errno.
int RequestsTake(const char *queue_path, std::vector<std::string> &requests);

// Appends a request under the lock, unless it is there already. 0, or -1 with errno.
int RequestAppend(const char *queue_path, const std::string &request);
