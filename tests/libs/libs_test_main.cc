// Every test starts with an empty scratch folder, default settings, and the state folder in Scratch("/state").
#include <gtest/gtest.h>

#include "nlib/config.h"
#include "support/scratch.h"

class FreshStart : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override
    {
        ScratchReset();
        MakeFolder(Scratch("/state"));
        WriteFile(Scratch("/etc/platform.conf"), "state_dir = " + Scratch("/state") + "\n");
        PlatformSettingsLoad(Scratch("/etc/platform.conf").c_str());
    }
};

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshStart);
    return RUN_ALL_TESTS();
}
