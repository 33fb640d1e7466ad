// The sub-commands. Each stands in a file of its own, adds itself to the command line, and runs later.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

#include "output.h"

// What the command line chose, to run once it has been read whole.
using CommandRun = std::function<int(const Output &)>;

void AddCommandDefine(CLI::App &app, CommandRun &chosen);
void RemoveCommandDefine(CLI::App &app, CommandRun &chosen);
void RenameCommandDefine(CLI::App &app, CommandRun &chosen);
void RebuildCommandDefine(CLI::App &app, CommandRun &chosen);
void RefreshCommandDefine(CLI::App &app, CommandRun &chosen);
void SyncCommandDefine(CLI::App &app, CommandRun &chosen);
void CheckCommandDefine(CLI::App &app, CommandRun &chosen);
void TruncateCommandDefine(CLI::App &app, CommandRun &chosen);
void TitleCommandDefine(CLI::App &app, CommandRun &chosen);
void DescribeCommandDefine(CLI::App &app, CommandRun &chosen);
void PublishCommandDefine(CLI::App &app, CommandRun &chosen);
void StatusCommandDefine(CLI::App &app, CommandRun &chosen);
void ListCommandDefine(CLI::App &app, CommandRun &chosen);
void ShowCommandDefine(CLI::App &app, CommandRun &chosen);
void FailuresCommandDefine(CLI::App &app, CommandRun &chosen);
void DoctorCommandDefine(CLI::App &app, CommandRun &chosen);
void RetryCommandDefine(CLI::App &app, CommandRun &chosen);
void SetupCommandDefine(CLI::App &app, CommandRun &chosen);
void WatchCommandDefine(CLI::App &app, CommandRun &chosen);

// One or more paths, to be read with results(), which leaves every byte as it is.
CLI::Option *PathsDefine(CLI::App &command, const char *name, const char *help);

// The value of an argument that is a text and no path, as the user wrote it.
std::string TextArgument(const CLI::Option &option);

// --json, for the sub-commands that print data.
CLI::Option *JsonOptionDefine(CLI::App &command);

// Parses the command line and runs what it asks for. Returns the exit status; catches everything.
int ToolRun(int argc, const char *const *argv, const Output &output);
