#include "music/open_bytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

Mp3FileReader OpenBytes(std::string_view content)
{
    int fd = memfd_create("mp3", MFD_CLOEXEC);
    if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        abort();
    Mp3FileReader reader = {};
    reader.stream = fdopen(fd, "rb");
    reader.size = static_cast<int64_t>(content.size());
    return reader;
}

void CloseReader(Mp3FileReader *reader)
{
    fclose(reader->stream);
}

void CutFile(Mp3FileReader *reader, size_t size)
{
    if (ftruncate(fileno(reader->stream), static_cast<off_t>(size)) < 0)
        abort();
}

std::string Frame(std::string_view header, size_t length)
{
    std::string frame(header);
    frame.resize(length);
    return frame;
}

std::string Frames(int count)
{
    std::string frames;
    for (int i = 0; i < count; i++)
        frames += Frame();
    return frames;
}

std::string U32(uint32_t value)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
    return text;
}

std::string Syncsafe(uint32_t value)
{
    std::string text;
    for (int shift = 21; shift >= 0; shift -= 7)
        text += static_cast<char>(value >> shift & 0x7F);
    return text;
}
