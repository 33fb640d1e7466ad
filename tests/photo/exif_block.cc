// Layout of a block: header, directories one behind the other, each followed by the values that do not fit in.
#include "photo/exif_block.h"

#include "support/byte_builder.h"

std::string ExifWriter::Number(uint64_t value, int bytes) const
{
    return big_endian ? BigBytes(value, bytes) : LittleBytes(value, bytes);
}

ExifField ExifWriter::Text(uint16_t tag, const std::string &text) const
{
    return {tag, 2, static_cast<uint32_t>(text.size() + 1), text + '\0'};
}

ExifField ExifWriter::Short(uint16_t tag, uint16_t value) const
{
    return {tag, 3, 1, Number(value, 2)};
}

ExifField ExifWriter::Long(uint16_t tag, uint32_t value) const
{
    return {tag, 4, 1, Number(value, 4)};
}

ExifField ExifWriter::Rational(uint16_t tag, uint32_t over, uint32_t under) const
{
    return {tag, 5, 1, Number(over, 4) + Number(under, 4)};
}

static size_t DirectorySize(const std::vector<ExifField> &fields)
{
    size_t size = 2 + 12 * fields.size() + 4;
    for (const ExifField &field : fields)
        size += field.value.size() > 4 ? field.value.size() : 0;
    return size;
}

static std::string Directory(const ExifWriter &writer, const std::vector<ExifField> &fields, size_t offset,
                             size_t next)
{
    std::string head = writer.Number(fields.size(), 2);
    std::string values;
    size_t values_offset = offset + 2 + 12 * fields.size() + 4;
    for (const ExifField &field : fields) {
        head += writer.Number(field.tag, 2) + writer.Number(field.type, 2) + writer.Number(field.count, 4);
        if (field.value.size() > 4) {
            head += writer.Number(values_offset + values.size(), 4);
            values += field.value;
        } else {
            head += field.value + ZeroBytes(4 - field.value.size());
        }
    }
    return head + writer.Number(next, 4) + values;
}

std::string ExifWriter::Block(const std::vector<ExifField> (&directories)[5]) const
{
    static constexpr uint16_t pointers[5] = {0, 0, 0x8769, 0x8825, 0xA005};
    std::vector<ExifField> fields[5];
    for (int i = 0; i < 5; i++)
        fields[i] = directories[i];
    // Pointers stand in the main directory, that to the interoperability one in the EXIF directory. Their places
    // count before their values are known.
    auto holder = [](int i) { return i == 4 ? 2 : 0; };
    for (int i = 2; i < 5; i++)
        if (!directories[i].empty() || (i == 2 && !directories[4].empty()))
            fields[holder(i)].push_back(Long(pointers[i], 0));
    size_t offsets[5];
    size_t offset = 8;
    for (int i = 0; i < 5; i++) {
        offsets[i] = offset;
        offset += DirectorySize(fields[i]);
    }
    for (auto &directory : fields)
        for (ExifField &field : directory)
            for (int i = 2; i < 5; i++)
                if (field.tag == pointers[i])
                    field.value = Number(offsets[i], 4);

    std::string block = (big_endian ? "MM" : "II") + Number(42, 2) + Number(8, 4);
    for (int i = 0; i < 5; i++)
        block += Directory(*this, fields[i], offsets[i], i == 0 && !directories[1].empty() ? offsets[1] : 0);
    return block;
}

std::string JpegWithExif(const std::string &block)
{
    std::string data = std::string("Exif\0\0", 6) + block;
    return HexBytes("FFD8 FFE1") + BigBytes(data.size() + 2, 2) + data + HexBytes("FFD9");
}
