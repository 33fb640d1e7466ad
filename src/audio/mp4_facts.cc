// The facts come from TagLib's tree of atoms, all at once, so that TagLib and what it may throw stay in this file.
// Texts are taken from the atoms and not from TagLib's tags, which drop whatever is not, or is not said to be,
// UTF-8: the bytes are wanted as they stand.
#include "audio/mp4_facts.h"

#include <mp4atom.h>
#include <stdlib.h>
#include <string.h>
#include <tfilestream.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "common/byte_order.h"
#include "common/regular_file.h"
#include "music/id3_genre.h"

using TagLib::ByteVector;
using TagLib::MP4::Atom;
using TagLib::MP4::AtomList;

static constexpr const char *TEXT_ATOMS[] = {
    "\251nam", "\251alb", "\251ART", "\251gen", "\251cmt", "\251wrt", "\251day",
};
static_assert(std::size(TEXT_ATOMS) == TEXT_COUNT);

static constexpr unsigned long TEXT_SIZE_MAX = 1 << 16;
static constexpr unsigned long SAMPLE_ENTRY_SIZE_MAX = 1 << 16;
static constexpr unsigned long COVER_SIZE_MAX = 64 << 20;

// A file of nothing but atom headers must cost neither all memory nor, nested, the whole stack.
static constexpr int READS_MAX = 100000;
static constexpr int64_t STACK_MAX = 1 << 20;

// TagLib descends into atoms by recursion and keeps them all; a read that gives nothing makes it stop.
class BoundedStream : public TagLib::FileStream
{
  public:
    explicit BoundedStream(const char *path)
        : FileStream(path, true), m_stack(static_cast<const char *>(__builtin_frame_address(0)))
    {
    }

    ByteVector readBlock(unsigned long length) override
    {
        const char *here = static_cast<const char *>(__builtin_frame_address(0));
        if (m_is_bounded && (++m_reads > READS_MAX || llabs(m_stack - here) > STACK_MAX))
            return {};
        return FileStream::readBlock(length);
    }

    // The tree stands; what is read from now on is as many reads as the caller makes.
    void TreeDone()
    {
        m_is_bounded = false;
    }

  private:
    const char *m_stack;
    int m_reads = 0;
    bool m_is_bounded = true;
};

class AtomSource : public TagLib::File
{
  public:
    explicit AtomSource(TagLib::IOStream *stream) : File(stream)
    {
    }
    TagLib::Tag *tag() const override
    {
        return nullptr;
    }
    TagLib::AudioProperties *audioProperties() const override
    {
        return nullptr;
    }
    bool save() override
    {
        return false;
    }
};

static const uint8_t *Data(const ByteVector &bytes)
{
    return reinterpret_cast<const uint8_t *>(bytes.data());
}

// Up to `count` bytes from `offset` on, counted from the start of the atom, header included. Fewer at the end of
// the atom, none without one.
static ByteVector AtomBytes(TagLib::File *file, const Atom *atom, long offset, unsigned long count)
{
    if (!atom || atom->length <= offset)
        return {};
    file->seek(atom->offset + offset);
    return file->readBlock(std::min(count, static_cast<unsigned long>(atom->length - offset)));
}

// An integer of the atom's version 0 or 1, where it stands at different places and may be wider. False when it is
// not there.
static bool AtomInteger(TagLib::File *file, const Atom *atom, long offset0, long offset1, bool is_wide,
                        uint64_t *value)
{
    ByteVector version = AtomBytes(file, atom, 8, 1);
    if (version.size() != 1)
        return false;
    bool is_new = version[0] == 1;
    unsigned long size = is_new && is_wide ? 8 : 4;
    ByteVector bytes = AtomBytes(file, atom, is_new ? offset1 : offset0, size);
    if (bytes.size() != size)
        return false;
    *value = BigEndian32(Data(bytes));
    if (size == 8)
        *value = *value << 32 | BigEndian32(Data(bytes) + 4);
    return true;
}

static bool HasSampleTables(Atom *track)
{
    Atom *tables = track->find("mdia", "minf", "stbl");
    return tables && tables->find("stts") && tables->find("stsc") &&
           (tables->find("stsz") || tables->find("stz2")) && (tables->find("stco") || tables->find("co64"));
}

static Mp4SampleEntry SampleEntryRead(TagLib::File *file, Atom *track, const char *handler_type)
{
    Atom *description = track->find("mdia", "minf", "stbl", "stsd");
    const Atom *entry =
        description && !description->children.isEmpty() ? description->children.front() : nullptr;
    ByteVector bytes = AtomBytes(file, entry, 0, SAMPLE_ENTRY_SIZE_MAX);
    return Mp4SampleEntryRead(Data(bytes), bytes.size(), handler_type);
}

static bool TrackRead(TagLib::File *file, Atom *atom, Mp4Track *track)
{
    Atom *media = atom->find("mdia", "mdhd");
    ByteVector type = AtomBytes(file, atom->find("mdia", "hdlr"), 16, 4);
    uint64_t id = 0;
    uint64_t time_scale = 0;
    if (type.size() != 4 || !HasSampleTables(atom) ||
        !AtomInteger(file, atom->find("tkhd"), 20, 28, false, &id) ||
        !AtomInteger(file, media, 20, 28, false, &time_scale) ||
        !AtomInteger(file, media, 24, 32, true, &track->duration))
        return false;
    memcpy(track->type, type.data(), 4);
    track->id = static_cast<uint32_t>(id);
    track->time_scale = static_cast<uint32_t>(time_scale);
    track->entry = SampleEntryRead(file, atom, track->type);
    return true;
}

// The contents of an item's first "data" atom, and its type.
struct ItemData {
    uint32_t type;
    ByteVector bytes;
};

static std::optional<ItemData> ItemRead(TagLib::File *file, Atom *items, const char *name,
                                        unsigned long size_max)
{
    static constexpr long DATA_AT = 8;       // behind the item's header
    static constexpr long HEADER_SIZE = 16;  // of "data": size, name, type, locale
    const Atom *item = items->find(name);
    ByteVector header = AtomBytes(file, item, DATA_AT, HEADER_SIZE);
    if (header.size() != HEADER_SIZE || memcmp(Data(header) + 4, "data", 4) != 0)
        return std::nullopt;
    uint32_t length = BigEndian32(Data(header));
    if (length < HEADER_SIZE)
        return std::nullopt;
    unsigned long size = length - HEADER_SIZE;
    ByteVector bytes = AtomBytes(file, item, DATA_AT + HEADER_SIZE, std::min(size, size_max));
    return ItemData{BigEndian32(Data(header) + 8) & 0xFFFFFF, bytes};
}

static std::optional<Mp4Pair> PairRead(TagLib::File *file, Atom *items, const char *name)
{
    std::optional<ItemData> item = ItemRead(file, items, name, 8);
    if (!item || item->bytes.size() < 6)
        return std::nullopt;
    return Mp4Pair{BigEndian16(Data(item->bytes) + 2), BigEndian16(Data(item->bytes) + 4)};
}

// The numbered genre, counted from 1, goes before the free text; a number without a name is an empty genre.
static std::optional<std::string> NumberedGenreRead(TagLib::File *file, Atom *items)
{
    std::optional<ItemData> item = ItemRead(file, items, "gnre", 2);
    if (!item || item->bytes.size() != 2)
        return std::nullopt;
    int number = BigEndian16(Data(item->bytes));
    return number >= 1 && number <= ID3_GENRE_COUNT ? Id3GenreTable[number - 1] : "";
}

static void ItemsRead(TagLib::File *file, Atom *items, MP4LibraryFile *result)
{
    for (int i = 0; i < TEXT_COUNT; i++)
        if (std::optional<ItemData> item = ItemRead(file, items, TEXT_ATOMS[i], TEXT_SIZE_MAX))
            result->texts[i] = std::string(item->bytes.data(), item->bytes.size());
    if (std::optional<std::string> genre = NumberedGenreRead(file, items))
        result->texts[TEXT_GENRE] = genre;
    result->track = PairRead(file, items, "trkn");
    result->disk = PairRead(file, items, "disk");
    if (std::optional<ItemData> cover = ItemRead(file, items, "covr", COVER_SIZE_MAX))
        result->cover = Mp4Cover{cover->type, std::string(cover->bytes.data(), cover->bytes.size())};
}

static bool FileRead(const char *path, MP4LibraryFile *result)
{
    BoundedStream stream(path);
    if (!stream.isOpen())
        return false;
    AtomSource file(&stream);
    TagLib::MP4::Atoms atoms(&file);
    stream.TreeDone();
    Atom *movie = atoms.find("moov");
    if (!movie || !movie->find("mvhd"))
        return false;
    const AtomList tracks = movie->findall("trak");
    for (Atom *atom : tracks) {
        Mp4Track track = {};
        if (TrackRead(&file, atom, &track))
            result->tracks.push_back(track);
    }
    if (Atom *items = movie->find("udta", "meta", "ilst"))
        ItemsRead(&file, items, result);
    return true;
}

MP4LibraryFile *Mp4FactsRead(const char *path)
try {
    if (!IsRegularFile(path))
        return nullptr;
    auto facts = std::make_unique<MP4LibraryFile>();
    return FileRead(path, facts.get()) ? facts.release() : nullptr;
} catch (...) {
    return nullptr;
}
