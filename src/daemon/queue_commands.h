// The eight requests that a queue line can make.
#pragma once

// Executes the command of a letter (case matters) on its argument, which it may cut up. Failures inside a
// command are reported where they happen. 0; -1 when the letter is none of the eight.
int QueueCommandExecute(unsigned char letter, char *argument);
