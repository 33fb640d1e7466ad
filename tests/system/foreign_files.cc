// Box by box, from the inside out.
#include "system/foreign_files.h"

#include <stdint.h>

#include <filesystem>

#include "system/box.h"

static std::string Big32(uint32_t value)
{
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

static std::string Big16(uint16_t value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

// A box whose declared size has `more` bytes behind the content that is written.
static std::string Mp4Box(const std::string &type, const std::string &content, uint32_t more = 0)
{
    return Big32(static_cast<uint32_t>(content.size()) + 8 + more) + type + content;
}

void EndlessMatroskaWrite(const std::string &path)
{
    static constexpr char header[] = "\x1A\x45\xDF\xA3\x8B"  // EBML header of 11 bytes
                                     "\x42\x82\x88"
                                     "matroska"          // document type
                                     "\x18\x53\x80\x67"  // segment of unknown length
                                     "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
    FileWrite(path, std::string(header, sizeof header - 1));
    std::filesystem::resize_file(path, uint64_t{1} << 40);
}

void GreedyMp4Write(const std::string &path)
{
    static constexpr uint32_t SAMPLES = 65000000;
    static constexpr uint32_t MORE = SAMPLES * 4;
    const std::string zeros(80, '\0');
    std::string entry = Mp4Box("mp4a", zeros.substr(0, 6) + Big16(1) + zeros.substr(0, 8) + Big16(2) +
                                           Big16(16) + Big32(0) + Big32(44100u << 16));
    std::string descriptions = Mp4Box("stsd", Big32(0) + Big32(1) + entry);
    std::string sizes = Mp4Box("stsz", Big32(0) + Big32(0) + Big32(SAMPLES), MORE);
    std::string table = Mp4Box("stbl", descriptions + sizes, MORE);
    std::string handler = Mp4Box("hdlr", Big32(0) + Big32(0) + "soun" + zeros.substr(0, 13));
    std::string media_header =
        Mp4Box("mdhd", Big32(0) + Big32(0) + Big32(0) + Big32(44100) + Big32(441000) + Big32(0));
    std::string media = Mp4Box("mdia", media_header + handler + Mp4Box("minf", table, MORE), MORE);
    std::string movie_header =
        Mp4Box("mvhd", Big32(0) + Big32(0) + Big32(0) + Big32(1000) + Big32(10000) + zeros);
    std::string movie = Mp4Box("moov", movie_header + Mp4Box("trak", media, MORE), MORE);
    FileWrite(path, Mp4Box("ftyp", "isom" + Big32(512) + "isom") + movie);
    std::filesystem::resize_file(path, std::filesystem::file_size(path) + MORE);
}
