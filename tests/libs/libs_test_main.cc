// Every test starts with an empty scratch folder, default settings, and the state folder in Scratch("/state"). With the
// socket folder of a PostgreSQL server in NUBO_TEST_POSTGRESQL the databases are there, and each test is a box of its
// own.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <random>

#include "nlib/config.h"
#include "support/scratch.h"

static std::string EngineSettings()
{
    const char *socket = getenv("NUBO_TEST_POSTGRESQL");
    if (!socket)
        return "";
    std::random_device random;
    return std::string("database = host=") + socket + " user=postgres dbname=postgres\nbox = t" +
           std::to_string(random()) + std::to_string(random()) + "\n";
}

class FreshStart : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override
    {
        ScratchReset();
        MakeFolder(Scratch("/state"));
        WriteFile(Scratch("/etc/platform.conf"), "state_dir = " + Scratch("/state") +
                                                     "\nqueue = " + Scratch("/var/spool/nubo_indexing_queue") +
                                                     "\n" + EngineSettings());
        PlatformSettingsLoad(Scratch("/etc/platform.conf").c_str());
    }
};

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshStart);
    return RUN_ALL_TESTS();
}
