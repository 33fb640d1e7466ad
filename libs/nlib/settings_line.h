// One line of a settings file: key=value or key="value".
#pragma once

// Cuts a line into key and value, in place: blanks around both are dropped, and so are double quotes around
// the value with all that follows the closing one. False for an empty line, a comment (its first
// character is "#") and a line without "=".
bool SettingLineSplit(char *line, char **key, char **value);
