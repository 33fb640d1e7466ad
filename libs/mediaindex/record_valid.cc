// Makes a record's texts storable. Nearly every record is clean already, so the texts are only looked over, up to
// their ends, before anything is allocated.
#include <stdint.h>
#include <string.h>

#include <string>
#include <string_view>
#include <vector>

#include "mediaindex/charset_guess.h"
#include "mediaindex/exported.h"
#include "nlib/config.h"
#include "nlib/utf8.h"

struct TextField {
    size_t offset;
    size_t size;
    size_t encoding_offset;  // of its marker; 0: it has none
};

#define FIELD(name) offsetof(MediaInfoRecord, name), sizeof(MediaInfoRecord::name)
#define MARKED_FIELD(name)                                                                                     \
    {                                                                                                          \
        FIELD(name), offsetof(MediaInfoRecord, name##_encoding)                                                \
    }

// The path is bytes and the file's two times are no texts to clean: none of them is touched.
static constexpr TextField TEXT_FIELDS[] = {
    MARKED_FIELD(title),       MARKED_FIELD(album),   MARKED_FIELD(artist),    MARKED_FIELD(genre),
    MARKED_FIELD(composer),    MARKED_FIELD(comment), {FIELD(camera_make), 0}, {FIELD(camera_model), 0},
    {FIELD(exposure_time), 0}, {FIELD(aperture), 0},  {FIELD(date_taken), 0},
};
static constexpr size_t FIELD_COUNT = std::size(TEXT_FIELDS);

enum TextState {
    TEXT_CLEAN,
    TEXT_UTF8,    // but it holds control characters, or its last character is cut
    TEXT_UTF16,   // the marker is set and the mark is there
    TEXT_LEGACY,  // some 8-bit charset
};

static char *FieldText(MediaInfoRecord *record, const TextField &field)
{
    return reinterpret_cast<char *>(record) + field.offset;
}

static bool IsMarkedUtf16(const MediaInfoRecord *record, const TextField &field, const char *text)
{
    uint32_t marker = 0;
    if (field.encoding_offset != 0)
        memcpy(&marker, reinterpret_cast<const char *>(record) + field.encoding_offset, sizeof marker);
    return marker != 0 && (!memcmp(text, "\xFF\xFE", 2) || !memcmp(text, "\xFE\xFF", 2));
}

// Control characters of both blocks, and the byte-order mark, which means nothing inside a text.
static bool IsUnwanted(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0xFEFF;
}

static TextState TextStateOf(const char *text, size_t size)
{
    bool clean = true;
    bool beyond_ascii = false;
    size_t pos = 0;
    for (;;) {
        while (pos < size && text[pos] >= ' ' && text[pos] <= '~')
            pos++;
        char32_t c = 0;
        size_t length = pos < size && text[pos] ? Utf8Read(text + pos, size - pos, &c) : 0;
        if (length == 0)
            break;
        beyond_ascii = beyond_ascii || length > 1;
        clean = clean && !IsUnwanted(c);
        pos += length;
    }
    if (pos < size && text[pos]) {
        // A tag's field may have cut the last character. Without another one before it, the byte says nothing.
        bool cut = beyond_ascii && Utf8Missing(text + pos, strnlen(text + pos, size - pos)) > 0;
        return cut ? TEXT_UTF8 : TEXT_LEGACY;
    }
    return clean && pos < size ? TEXT_CLEAN : TEXT_UTF8;
}

// Puts UTF-8 into a field: cut after a whole character, without control characters.
static void FieldSet(char *field, size_t size, std::string_view text)
{
    size_t used = 0;
    for (size_t pos = 0; pos < text.size();) {
        char32_t c = 0;
        size_t length = Utf8Read(text.data() + pos, text.size() - pos, &c);
        if (length == 0 || used + length >= size)
            break;
        if (!IsUnwanted(c)) {
            memcpy(field + used, text.data() + pos, length);
            used += length;
        }
        pos += length;
    }
    memset(field + used, 0, size - used);
}

static char32_t Utf16Unit(const char *bytes, bool big_endian)
{
    uint8_t first = static_cast<uint8_t>(bytes[0]);
    uint8_t second = static_cast<uint8_t>(bytes[1]);
    return big_endian ? static_cast<char32_t>(first << 8 | second) : static_cast<char32_t>(second << 8 | first);
}

// The text behind the byte-order mark, up to a zero unit or the end of the field, which may fall inside a
// surrogate pair.
static std::string Utf16Decode(const char *text, size_t size)
{
    bool big_endian = text[0] == '\xFE';
    std::string decoded;
    for (size_t pos = 2; pos + 2 <= size; pos += 2) {
        char32_t c = Utf16Unit(text + pos, big_endian);
        if (c == 0)
            break;
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (pos + 4 > size)
                break;
            char32_t low = Utf16Unit(text + pos + 2, big_endian);
            if (low == 0)
                break;
            if (low >= 0xDC00 && low <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                pos += 2;
            }
        }
        Utf8Append(&decoded, c >= 0xD800 && c <= 0xDFFF ? REPLACEMENT_CHARACTER : c);
    }
    return decoded;
}

// All 8-bit texts of one record are in one charset.
static void LegacyFieldsConvert(MediaInfoRecord *record, const TextState (&states)[FIELD_COUNT])
{
    std::vector<std::string_view> texts;
    for (size_t i = 0; i < FIELD_COUNT; i++) {
        const char *text = FieldText(record, TEXT_FIELDS[i]);
        if (states[i] == TEXT_LEGACY)
            texts.emplace_back(text, strnlen(text, TEXT_FIELDS[i].size));
    }
    std::string charset = TextCharsetGuess(texts, PlatformSetting("text_fallback_charset"));
    for (size_t i = 0; i < FIELD_COUNT; i++) {
        char *text = FieldText(record, TEXT_FIELDS[i]);
        size_t size = TEXT_FIELDS[i].size;
        if (states[i] == TEXT_LEGACY)
            FieldSet(text, size, TextDecode({text, strnlen(text, size)}, charset.c_str()));
    }
}

static void FieldConvert(char *text, size_t size, TextState state)
{
    if (state == TEXT_UTF8)
        FieldSet(text, size, std::string(text, strnlen(text, size)));
    else if (state == TEXT_UTF16)
        FieldSet(text, size, Utf16Decode(text, size));
}

int MediaInfoValid(MediaInfoRecord *record)
{
    if (!record)
        return -1;
    TextState states[FIELD_COUNT];
    bool legacy = false;
    for (size_t i = 0; i < FIELD_COUNT; i++) {
        char *text = FieldText(record, TEXT_FIELDS[i]);
        size_t size = TEXT_FIELDS[i].size;
        states[i] = IsMarkedUtf16(record, TEXT_FIELDS[i], text) ? TEXT_UTF16 : TextStateOf(text, size);
        if (states[i] != TEXT_CLEAN)
            FieldConvert(text, size, states[i]);
        legacy = legacy || states[i] == TEXT_LEGACY;
    }
    if (legacy)
        LegacyFieldsConvert(record, states);

    record->title_encoding = 0;
    record->artist_encoding = 0;
    record->album_encoding = 0;
    record->genre_encoding = 0;
    record->composer_encoding = 0;
    record->comment_encoding = 0;
    return 0;
}
