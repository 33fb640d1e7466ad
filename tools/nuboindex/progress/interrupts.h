// Signals that concern somebody who looks on. They are noted, so that the screen can be put in order first.
#pragma once

// From now on SIGINT, SIGTERM, SIGHUP, SIGTSTP and SIGWINCH only end a sleep and are noted.
void InterruptsCatch();

// Back to what the signals do by themselves.
void InterruptsRelease();

// The signal that asks the program to end, 0 without one.
int EndSignal();

// Whether the user wants the program to be suspended; asks once.
bool IsSuspendWanted();

// Suspends the program as the signal would have done; comes back when it is continued.
void Suspend();

// Sleeps, but not longer than until the next signal.
void InterruptibleSleep(double seconds);
