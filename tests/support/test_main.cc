// Every test starts with empty recordings and an empty scratch folder.
#include <gtest/gtest.h>

#include "common/features.h"
#include "support/log_capture.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

class FreshStart : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override
    {
        log_lines.clear();
        platform = PlatformFake{};
        supportphoto = 0;
        supportcinehall = 0;
        ScratchReset();
    }
};

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshStart);
    return RUN_ALL_TESTS();
}
