// The looks that the doctor takes, in the order in which faults lead to each other. Each adds what it finds, and leaves
// everything as it is.
#pragma once

#include "doctor/finding.h"

// Whether these are the rights of the daemon; without them much can only be guessed.
void RightsCheck(Findings &findings);

// Dead, halted, or never told of the requests that wait.
void DaemonCheck(Findings &findings);

// The links to the shares, and what they lead to.
void SharesCheck(Findings &findings);

// Every folder of the shares: can it be read?
void FoldersCheck(Findings &findings);

// The watcher: dead, behind, or at a limit.
void WatcherCheck(Findings &findings);

// The programs that the daemon starts or wakes.
void ProgramsCheck(Findings &findings);

// Both databases: can rows be stored? And changes that they missed.
void DatabasesCheck(Findings &findings);

// Room for queue, databases and covers.
void DisksCheck(Findings &findings);

// Files whose contents could not be read.
void FilesCheck(Findings &findings);
