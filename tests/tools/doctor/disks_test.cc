// A full disk, which takes a file system of our own.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "support/scratch.h"
#include "tool_run.h"

// Runs a shell script where it may mount a file system; false where nobody may.
static bool MountingShell(const std::string &script)
{
    std::string as_root = geteuid() == 0 ? "-m" : "-rm";
    std::string command = "unshare " + as_root + " sh -ec '" + script + "'";
    bool is_possible = system(("unshare " + as_root + " true 2>/dev/null").c_str()) == 0;
    if (is_possible) {
        EXPECT_EQ(system(command.c_str()), 0) << script;
    }
    return is_possible;
}

TEST(DoctorDisks, AFullDiskIsFoundUntilThereIsRoom)
{
    MakeFolder(Scratch("/small"));
    WriteFile(Scratch("/small.conf"), "state_dir = " + Scratch("/small") + "\n");
    std::string place = Scratch("/small");
    bool is_possible =
        MountingShell("export NUBO_PLATFORM_CONF=" + Scratch("/small.conf") +
                      "; mount -t tmpfs -o size=4m none " + place + "; head -c 4000000 /dev/zero >" + place +
                      "/film"
                      "; " TOOL_PROGRAM " doctor >" +
                      Scratch("/full") +
                      " || true"
                      "; rm " +
                      place + "/film; " TOOL_PROGRAM " doctor >" + Scratch("/mended") + " || true");
    if (!is_possible)
        GTEST_SKIP() << "nobody may mount a file system here";
    std::string full = ReadFile(Scratch("/full")), mended = ReadFile(Scratch("/mended"));
    EXPECT_NE(full.find("the disk of " + place + " is full, with room for "), std::string::npos) << full;
    EXPECT_NE(full.find("make room there, then: nuboindex retry"), std::string::npos) << full;
    EXPECT_NE(mended.find("daemon"), std::string::npos) << mended;
    EXPECT_EQ(mended.find("is full"), std::string::npos) << mended;
}
