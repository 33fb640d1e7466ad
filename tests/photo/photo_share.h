// A photo share with a root of 14 characters, as album names are cut by count. It is a folder of its own below /tmp,
// and the share's link points to it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "photo/photo_test_support.h"
#include "photo/photo_volume.h"

class PhotoShare : public testing::Test
{
  protected:
    std::string root;
    std::string start;  // the working directory, which every walk restores

    void SetUp() override
    {
        char name[] = "/tmp/nubXXXXXX";
        root = mkdtemp(name);
        ASSERT_EQ(root.size(), 14u);
        ASSERT_EQ(symlink(root.c_str(), PHOTO_SHARE_LINK), 0);
        system_calls = {};
        PhotoVolumeCheck();
        start = std::filesystem::current_path();
    }

    void TearDown() override
    {
        EXPECT_EQ(std::filesystem::current_path(), start);
        std::filesystem::remove_all(root);
    }

    std::string Folder(const std::string &name)
    {
        MakeFolder(root + "/" + name);
        return root + "/" + name;
    }

    std::string File(const std::string &name)
    {
        WriteFile(root + "/" + name, "x");
        return root + "/" + name;
    }
};
