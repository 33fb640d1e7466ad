// MP4 files atom by atom.
#pragma once

#include <string>

#include "support/byte_builder.h"

inline std::string Mp4Atom(const std::string &name, const std::string &content)
{
    return BigBytes(content.size() + 8, 4) + name + content;
}

inline std::string Mp4EsDescriptor(uint64_t average_bitrate)
{
    std::string config = HexBytes("40 15 000000") + BigBytes(99999, 4) + BigBytes(average_bitrate, 4);
    std::string stream =
        BigBytes(0, 2) + ZeroBytes(1) + "\x04" + HexBytes("80 80 80") + BigBytes(config.size(), 1) + config;
    return Mp4Atom("esds", ZeroBytes(4) + "\x03" + BigBytes(stream.size(), 1) + stream);
}

inline std::string Mp4SoundEntry(uint64_t channels, const std::string &atoms, uint64_t version = 0)
{
    return Mp4Atom("mp4a", ZeroBytes(6) + BigBytes(1, 2) + BigBytes(version, 2) + ZeroBytes(6) +
                               BigBytes(channels, 2) + ZeroBytes(10) +
                               ZeroBytes(version == 1   ? 16
                                         : version == 2 ? 36
                                                        : 0) +
                               atoms);
}

inline std::string Mp4VideoEntry(uint64_t width, uint64_t height, const std::string &atoms)
{
    return Mp4Atom("mp4v", ZeroBytes(6) + BigBytes(1, 2) + ZeroBytes(16) + BigBytes(width, 2) +
                               BigBytes(height, 2) + ZeroBytes(50) + atoms);
}

struct Mp4TrackSpec {
    uint64_t id;
    std::string type;
    uint64_t time_scale;
    uint64_t duration;
    std::string entry;
    int version = 0;
};

inline std::string Mp4SampleTables(const std::string &entry)
{
    return Mp4Atom("stbl", Mp4Atom("stsd", ZeroBytes(4) + BigBytes(1, 4) + entry) +
                               Mp4Atom("stts", ZeroBytes(8)) + Mp4Atom("stsc", ZeroBytes(8)) +
                               Mp4Atom("stsz", ZeroBytes(12)) + Mp4Atom("stco", ZeroBytes(8)));
}

inline std::string Mp4Track(const Mp4TrackSpec &spec)
{
    int wide = spec.version == 1 ? 8 : 4;
    std::string version = BigBytes(static_cast<uint64_t>(spec.version), 1) + ZeroBytes(3);
    std::string times = ZeroBytes(static_cast<size_t>(2 * wide));
    return Mp4Atom("trak",
                   Mp4Atom("tkhd", version + times + BigBytes(spec.id, 4) + ZeroBytes(64)) +
                       Mp4Atom("mdia", Mp4Atom("mdhd", version + times + BigBytes(spec.time_scale, 4) +
                                                           BigBytes(spec.duration, wide) + ZeroBytes(4)) +
                                           Mp4Atom("hdlr", ZeroBytes(8) + spec.type + ZeroBytes(13)) +
                                           Mp4Atom("minf", Mp4SampleTables(spec.entry))));
}

inline std::string Mp4Item(const std::string &name, const std::string &value, uint64_t type = 1)
{
    return Mp4Atom(name, Mp4Atom("data", BigBytes(type, 4) + ZeroBytes(4) + value));
}

inline std::string Mp4Items(const std::string &items)
{
    return Mp4Atom("udta", Mp4Atom("meta", ZeroBytes(4) + Mp4Atom("ilst", items)));
}

inline std::string Mp4File(const std::string &tracks_and_tags)
{
    return Mp4Atom("ftyp", "M4A " + ZeroBytes(4)) +
           Mp4Atom("moov", Mp4Atom("mvhd", ZeroBytes(100)) + tracks_and_tags) + Mp4Atom("mdat", ZeroBytes(20));
}

// A sound track of ten seconds, and a picture track of another length.
inline const Mp4TrackSpec SOUND = {1, "soun", 44100, 441000, Mp4SoundEntry(2, Mp4EsDescriptor(128000))};
inline const Mp4TrackSpec PICTURES = {2, "vide", 600, 7200, Mp4VideoEntry(640, 480, Mp4EsDescriptor(900000))};
