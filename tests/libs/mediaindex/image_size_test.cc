// Pixel sizes of pictures whose headers are built here, and of headers that lie, break off or go on for ever.
#include <gtest/gtest.h>
#include <stdint.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <string>

#include "platform/media_index.h"
#include "support/scratch.h"

static std::string Big(uint32_t value, int bytes)
{
    std::string out;
    while (bytes-- > 0)
        out += static_cast<char>(value >> (8 * bytes));
    return out;
}

static std::string Little(uint32_t value, int bytes)
{
    std::string out = Big(value, bytes);
    return {out.rbegin(), out.rend()};
}

static std::string JpegFrame(int width, int height, char marker = '\xC0')
{
    return std::string("\xFF") + marker + Big(17, 2) + '\x08' + Big(static_cast<uint32_t>(height), 2) +
           Big(static_cast<uint32_t>(width), 2) + std::string("\x03\x01\x11\0\x02\x11\x01\x03\x11\x01", 10) +
           std::string("\xFF\xDA\0\x0C\x03\x01\0\x02\x11\x03\x11\0\x3F\0", 14);
}

static std::string Jpeg(int width, int height, const std::string &segments = "")
{
    return "\xFF\xD8" + segments + JpegFrame(width, height) + std::string(64, '\x55');
}

static uint32_t Checksum(const std::string &bytes)
{
    uint32_t sum = 0xFFFFFFFF;
    for (char byte : bytes) {
        sum ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; bit++)
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

static std::string Png(uint32_t width, uint32_t height)
{
    std::string chunk = "IHDR" + Big(width, 4) + Big(height, 4) + std::string("\x08\x02\0\0\0", 5);
    return "\x89PNG\r\n\x1A\n" + Big(13, 4) + chunk + Big(Checksum(chunk), 4);
}

static std::string Gif(uint32_t width, uint32_t height)
{
    return "GIF89a" + Little(width, 2) + Little(height, 2) + std::string("\x80\0\0\0\0\0\xFF\xFF\xFF", 9) +
           "," + Little(0, 4) + Little(width, 2) + Little(height, 2) + std::string("\0\x02\x02\x4C\x01\0;", 7);
}

static std::string Bmp(uint32_t width, uint32_t height, size_t pixels)
{
    return "BM" + Little(static_cast<uint32_t>(54 + pixels), 4) + Little(0, 4) + Little(54, 4) + Little(40, 4) +
           Little(width, 4) + Little(height, 4) + Little(1, 2) + Little(24, 2) + std::string(24, '\0') +
           std::string(pixels, 'x');
}

static std::string Psd(uint32_t width, uint32_t height, size_t pixels)
{
    return "8BPS" + Big(1, 2) + std::string(6, '\0') + Big(3, 2) + Big(height, 4) + Big(width, 4) + Big(8, 2) +
           Big(3, 2) + Big(0, 4) + Big(0, 4) + Big(0, 4) + Big(0, 2) + std::string(pixels, 'x');
}

static std::string TiffEntry(uint32_t tag, uint32_t type, uint32_t value)
{
    return Little(tag, 2) + Little(type, 2) + Little(1, 4) +
           (type == 3 ? Little(value, 2) + Little(0, 2) : Little(value, 4));
}

static std::string Tiff(uint32_t width, uint32_t height, uint32_t pixels)
{
    return std::string("II*\0", 4) + Little(8, 4) + Little(9, 2) + TiffEntry(256, 4, width) +
           TiffEntry(257, 4, height) + TiffEntry(258, 3, 8) + TiffEntry(259, 3, 1) + TiffEntry(262, 3, 1) +
           TiffEntry(273, 4, 122) + TiffEntry(277, 3, 1) + TiffEntry(278, 4, height) +
           TiffEntry(279, 4, pixels) + Little(0, 4) + std::string(pixels, 'x');
}

static std::string Ico(uint8_t width, uint8_t height)
{
    std::string bitmap = Little(40, 4) + Little(width, 4) + Little(2u * height, 4) + Little(1, 2) +
                         Little(32, 2) + std::string(24, '\0') +
                         std::string(size_t{4} * width * height + size_t{4} * height, 'x');
    return std::string("\0\0\1\0\1\0", 6) + static_cast<char>(width) + static_cast<char>(height) +
           std::string("\0\0\1\0\x20\0", 6) + Little(static_cast<uint32_t>(bitmap.size()), 4) + Little(22, 4) +
           bitmap;
}

// "640x480", or "" for none.
static std::string SizeOf(const std::string &content, const std::string &name = "/photo/a.jpg")
{
    std::string path = Scratch(name);
    WriteFile(path, content);
    int width = -7;
    int height = -7;
    if (NUBOIndexImgResGet(path.c_str(), &width, &height) != 0) {
        EXPECT_EQ(width, -7);  // a failure leaves them alone
        EXPECT_EQ(height, -7);
        return "";
    }
    return std::to_string(width) + "x" + std::to_string(height);
}

TEST(ImageSize, EveryFormat)
{
    EXPECT_EQ(SizeOf(Jpeg(640, 480)), "640x480");
    EXPECT_EQ(SizeOf(Jpeg(65500, 1)), "65500x1");
    EXPECT_EQ(SizeOf("\xFF\xD8" + JpegFrame(31, 77, '\xC2')), "31x77");  // progressive
    EXPECT_EQ(SizeOf(Png(640, 480)), "640x480");
    EXPECT_EQ(SizeOf(Png(100000, 200000)), "100000x200000");
    EXPECT_EQ(SizeOf(Gif(20, 10)), "20x10");
    EXPECT_EQ(SizeOf(Bmp(20, 10, 600)), "20x10");
    EXPECT_EQ(SizeOf(Psd(20, 10, 600)), "20x10");
    EXPECT_EQ(SizeOf(Tiff(20, 10, 200)), "20x10");
    EXPECT_EQ(SizeOf(Ico(16, 8)), "16x8");
}

TEST(ImageSize, TheContentDecidesNotTheName)
{
    EXPECT_EQ(SizeOf(Png(3, 4), "/photo/a.jpg"), "3x4");
    EXPECT_EQ(SizeOf(Jpeg(3, 4), "/photo/a.png"), "3x4");
    EXPECT_EQ(SizeOf(Gif(3, 4), "/photo/a.tif"), "3x4");
    EXPECT_EQ(SizeOf("push graphic-context\nimage over 0,0 0,0 'x'\n", "/photo/a.gif"), "");
    EXPECT_EQ(SizeOf("<svg width='9' height='9'/>", "/photo/a.bmp"), "");
    EXPECT_EQ(SizeOf("%!PS-Adobe-3.0\n%%BoundingBox: 0 0 9 9\n", "/photo/a.psd"), "");
}

TEST(ImageSize, NamesAreOnlyNames)
{
    for (const char *name : {"/photo/msl:x.gif", "/photo/@list.gif", "/photo/a%d[0].gif",
                             "/photo/\xff \n\".gif", "/photo/|x.gif", "/photo/-"})
        EXPECT_EQ(SizeOf(Gif(5, 6), name), "5x6") << name;
    std::string folder = "/";
    for (int i = 0; i < 12; i++)
        folder += std::string(250, 'd') + "/";  // 3,000 bytes
    EXPECT_EQ(SizeOf(Gif(5, 6), folder + "a.gif"), "5x6");
}

TEST(ImageSize, WhatIsNoPictureHasNone)
{
    EXPECT_EQ(SizeOf(""), "");
    EXPECT_EQ(SizeOf("x"), "");
    EXPECT_EQ(SizeOf(std::string(100000, '\0')), "");
    EXPECT_EQ(SizeOf(Jpeg(0, 10)), "");
    EXPECT_EQ(SizeOf(Png(0, 10)), "");
    EXPECT_EQ(SizeOf(Png(0x80000000u, 10)), "");
    std::string broken = Png(640, 480);
    broken[20] ^= 1;  // the checksum no longer holds
    EXPECT_EQ(SizeOf(broken), "");
    int width;
    int height;
    EXPECT_NE(NUBOIndexImgResGet(Scratch("/none.jpg").c_str(), &width, &height), 0);
    EXPECT_NE(NUBOIndexImgResGet(Scratch("/etc").c_str(), &width, &height), 0);
    EXPECT_NE(NUBOIndexImgResGet(nullptr, &width, &height), 0);
    EXPECT_NE(NUBOIndexImgResGet("/", nullptr, &height), 0);
    EXPECT_NE(NUBOIndexImgResGet("/", &width, nullptr), 0);
    ASSERT_EQ(mkfifo(Scratch("/fifo.jpg").c_str(), 0600), 0);
    EXPECT_NE(NUBOIndexImgResGet(Scratch("/fifo.jpg").c_str(), &width, &height), 0);
}

// Opening a device may do something by itself; a pipe stands in for one here.
TEST(ImageSize, NothingButRegularFilesIsOpened)
{
    ASSERT_EQ(mkfifo(Scratch("/fifo.jpg").c_str(), 0600), 0);
    int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, Scratch("/fifo.jpg").c_str(), IN_OPEN), 0);
    int width;
    int height;
    EXPECT_NE(NUBOIndexImgResGet(Scratch("/fifo.jpg").c_str(), &width, &height), 0);
    char events[4096];
    EXPECT_EQ(read(watch, events, sizeof events), -1);
    close(watch);
}

TEST(ImageSize, LargeSegmentsAreSteppedOver)
{
    std::string segments;
    for (int i = 0; i < 200; i++)
        segments += "\xFF\xE1" + Big(0xFFFF, 2) + std::string(0xFFFD, '\xFF');  // 13 MB of previews
    EXPECT_EQ(SizeOf(Jpeg(640, 480, segments)), "640x480");
}

TEST(ImageSize, AHeaderWithoutEndIsGivenUp)
{
    std::string segments;
    while (segments.size() < (5u << 20))
        segments.append("\xFF\xE1\0\x02", 4);
    EXPECT_EQ(SizeOf(Jpeg(640, 480, segments)), "");
}

TEST(ImageSize, TruncatedAnywhere)
{
    for (const std::string &whole :
         {Jpeg(640, 480, std::string("\xFF\xE0\0\x10JFIF\0\1\1\0\0\1\0\1\0\0", 18)), Png(640, 480),
          Gif(640, 480), Bmp(640, 480, 64), Psd(640, 480, 64), Tiff(640, 480, 64), Ico(16, 8)}) {
        for (size_t size = 0; size < whole.size(); size += size < 200 ? 1 : 97)
            (void)SizeOf(whole.substr(0, size));
    }
}

TEST(ImageSize, FlippedAnywhere)
{
    std::mt19937 random(7);
    for (const std::string &whole : {Jpeg(640, 480), Png(640, 480), Gif(64, 48), Bmp(64, 48, 600),
                                     Psd(64, 48, 600), Tiff(64, 48, 600), Ico(16, 8)}) {
        for (int round = 0; round < 150; round++) {
            std::string bytes = whole;
            for (int i = 0; i < 1 + round % 4; i++)
                bytes[4 + random() % std::min<size_t>(bytes.size() - 4, 160)] = static_cast<char>(random());
            (void)SizeOf(bytes);
        }
    }
}

// Sizes that would need gigabytes if anybody made room for the pixels.
TEST(ImageSize, HugePicturesCostNoMemoryAndNoTime)
{
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(SizeOf(Png(2000000000, 2000000000)), "2000000000x2000000000");
    EXPECT_EQ(SizeOf(Jpeg(65500, 65500)), "65500x65500");
    (void)SizeOf(Gif(65535, 65535));
    (void)SizeOf(Bmp(1000000, 1000000, 64));
    (void)SizeOf(Psd(30000, 30000, 64));
    (void)SizeOf(Tiff(1000000, 1000000, 64));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    EXPECT_LT(usage.ru_maxrss, 1 << 20);  // KiB
}

TEST(ImageSize, TheLibrariesPrintNothing)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    (void)SizeOf(Jpeg(640, 480).substr(0, 20));
    (void)SizeOf(Jpeg(640, 480,
                      "\xFF\xE0"
                      "garbage"));
    (void)SizeOf("\xFF\xD8\xFF\xD8\xFF\xD8");
    std::string broken = Png(640, 480);
    broken[20] ^= 1;
    (void)SizeOf(broken);
    (void)SizeOf(Tiff(640, 480, 64).substr(0, 60));
    (void)SizeOf(Gif(640, 480).substr(0, 12));
    (void)SizeOf(Ico(16, 8).substr(0, 30));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ImageSize, NoDescriptorIsLeftOpen)
{
    (void)SizeOf(Gif(5, 6));
    int before = dup(0);
    close(before);
    for (const std::string &picture :
         {Jpeg(1, 1), Png(1, 1), Gif(1, 1), Bmp(1, 1, 4), Psd(1, 1, 3), Tiff(1, 1, 1), Ico(1, 1),
          Jpeg(1, 1).substr(0, 9), Tiff(1, 1, 1).substr(0, 30), std::string("BM")})
        (void)SizeOf(picture);
    int after = dup(0);
    close(after);
    EXPECT_EQ(before, after);
}
