// The signals of a queue daemon: SIGUSR1 for new requests, SIGTERM and SIGINT for the end. They are held and asked
// for, so that none is lost and no handler interrupts anything.
#pragma once

// To be called before the pid file tells anybody whom to signal.
void StopSignalsHold();

// Waits until new requests are announced, the end is, or the seconds are over. True: the end.
bool WakeOrStopWait(int seconds);

// Waits until a child ends or the end is announced, a second at most. True: the end; it stays announced.
bool ChildOrStopWait();

// The end is announced.
bool IsStopWanted();
