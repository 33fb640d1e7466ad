// One parse of an MP3 file, beside TagLib's open-and-read of the same file and beside one plain read of the bytes that
// must be searched when a file has neither a Xing nor a VBRI header. lame makes the files, once.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "music/metaid3.h"
#include "support/platform_fake.h"
#include "support/scratch.h"

enum { CBR, VBR_XING, COVER };

static constexpr struct {
    const char *name;
    const char *command;  // makes the file %s out of in.wav
} samples[] = {
    {"cbr-5mb-without-xing.mp3", "lame --quiet -b 128 --cbr -t in.wav"},
    {"vbr-with-xing.mp3", "lame --quiet -V 4 --tt Title --ta Artist --tl Album --add-id3v2 in.wav"},
    {"cover-2mb.mp3", "lame --quiet -b 128 --cbr -t in.wav"},
};

// The files stay in /tmp: to make them takes longer than to measure.
static std::string Folder()
{
    return "/tmp/nubo-mp3-bench/";
}

static bool Shell(const std::string &command)
{
    return system(("cd " + Folder() + " && " + command).c_str()) == 0;
}

static std::string Syncsafe(size_t value)
{
    std::string text;
    for (int shift = 21; shift >= 0; shift -= 7)
        text += static_cast<char>(value >> shift & 0x7F);
    return text;
}

// Puts a tag with a picture of 2 MB in front of the file.
static void CoverAdd(const std::string &path)
{
    std::string data = std::string("\0image/jpeg\0\3\0", 14) + std::string(2 << 20, '\x5A');
    std::string frame = "APIC" + Syncsafe(data.size()) + std::string(2, '\0') + data;
    std::string tag = std::string("ID3\4\0\0", 6) + Syncsafe(frame.size()) + frame;
    WriteFile(path, tag + ReadFile(path));
}

static std::string SampleMake(benchmark::State &state)
{
    const auto &sample = samples[state.range(0)];
    state.SetLabel(sample.name);
    std::string path = Folder() + sample.name;
    if (access(path.c_str(), F_OK) == 0)
        return path;
    MakeFolder(Folder());
    bool is_made = Shell("[ -e in.wav ] || sox -n -r 44100 -c 2 -b 16 in.wav synth 328 pinknoise vol 0.5") &&
                   Shell(std::string(sample.command) + " " + sample.name + ".part");
    if (is_made && state.range(0) == COVER)
        CoverAdd(path + ".part");
    if (!is_made || !Shell(std::string("mv ") + sample.name + ".part " + sample.name))
        state.SkipWithError("sox or lame failed");
    return path;
}

static void Parse(benchmark::State &state)
{
    std::string path = SampleMake(state);
    for (auto _ : state) {
        MediaInfoRecord record = {};
        if (Mp3MetaParse(path.c_str(), &record) < 0)
            state.SkipWithError("no frame");
        benchmark::DoNotOptimize(record);
        platform.calls.clear();
    }
}

static void TagLibRead(benchmark::State &state)
{
    std::string path = SampleMake(state);
    for (auto _ : state) {
        TagLib::FileRef file(path.c_str());
        if (file.isNull())
            state.SkipWithError("unreadable");
        else
            benchmark::DoNotOptimize(file.audioProperties()->lengthInMilliseconds());
    }
}

static void ReadOfTheQuarter(benchmark::State &state)
{
    std::string path = SampleMake(state);
    struct stat status = {};
    (void)stat(path.c_str(), &status);
    std::vector<char> buffer(static_cast<size_t>(status.st_size) / 4);
    for (auto _ : state) {
        int fd = open(path.c_str(), O_RDONLY);
        if (read(fd, buffer.data(), buffer.size()) != static_cast<ssize_t>(buffer.size()))
            state.SkipWithError("unreadable");
        close(fd);
    }
}

BENCHMARK(ReadOfTheQuarter)->Arg(CBR)->Unit(benchmark::kMicrosecond);
BENCHMARK(Parse)->DenseRange(CBR, COVER)->Unit(benchmark::kMicrosecond);
BENCHMARK(TagLibRead)->DenseRange(CBR, COVER)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    ScratchReset();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
