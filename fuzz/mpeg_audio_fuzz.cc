// The stream search: the first frame, Xing and VBRI, each beside the plain byte-wise search. The input's first
// four bytes say where it lies in the file: how much filler comes first (so that it meets the borders of blocks),
// how much of the end is taken for a tag, and whether the file goes on (the headers are sought in a quarter).
#include <stdint.h>

#include <string>

#include "fuzz_file.h"
#include "music/mpeg_audio.h"
#include "music/mpeg_vbr.h"
#include "music/plain_search.h"

static constexpr int FILLER_STEP = 64;  // 256 steps of 64 bytes and one of up to 63: a block and a bit

static std::string FileOf(const uint8_t *data, size_t size)
{
    std::string file(static_cast<size_t>(data[0] * FILLER_STEP + data[1] % FILLER_STEP), 'x');
    file.append(reinterpret_cast<const char *>(data) + 4, size - 4);
    if (data[3] & 1)
        file.append(file.size() * 3, 'y');
    return file;
}

static void ExpectVbrAsPlain(const std::string &file, Mp3FileReader *reader, int64_t offset, MpegAudioInfo info)
{
    int64_t xing = PlainMarkFind(file, reader->size, offset, "Xing");
    int64_t vbri = PlainMarkFind(file, reader->size, offset, "VBRI");
    bool is_usable = info.bitrate != 0;
    bool has_frames = xing >= 0 && static_cast<size_t>(xing) + 7 < file.size()
                          ? file[static_cast<size_t>(xing) + 7] & 1
                          : xing >= 0;
    int result = MpegXingRead(reader, offset, &info);
    FUZZ_EXPECT((result == 0) == (is_usable && has_frames));
    if (result == 0)
        return;
    result = MpegVbriRead(reader, offset, &info);
    FUZZ_EXPECT((result == 0) == (is_usable && vbri >= 0));
    if (result == 0)
        FUZZ_EXPECT(reader->vbri_offset == vbri);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 4)
        return 0;
    std::string file = FileOf(data, size);
    Mp3FileReader reader = {};
    reader.stream = FuzzFile(file);
    reader.size = static_cast<int64_t>(file.size()) - (data[2] & 0x80 ? data[2] & 0x7F : 0);

    MpegAudioInfo plain_info = {};
    PlainFrame plain = PlainFirstFrameFind(file, reader.size, 0, &plain_info);
    MpegAudioInfo info = {};
    int64_t offset = 0;
    FUZZ_EXPECT(MpegFirstFrameFind(&reader, 0, &info, &offset) == plain.result);
    if (plain.result < 0)
        return 0;
    FUZZ_EXPECT(offset == plain.offset);
    FUZZ_EXPECT(info.frame_length == plain_info.frame_length && info.bitrate == plain_info.bitrate);
    ExpectVbrAsPlain(file, &reader, offset, info);
    return 0;
}
