// The size of the terminal that the output goes to, as it is now.
#pragma once

// Columns; 0 when the output is no terminal. The variable NUBOINDEX_WIDTH decides before everything: it asks for
// tables where the output is no terminal, as in a pipe to a pager.
int TerminalWidth();

int TerminalHeight();  // rows; 0 when the output is no terminal
