// The cleaning of texts: whatever a tag holds, the record becomes clean UTF-8, and cleaning it again changes
// nothing. The first byte sets the encoding markers, the rest is shared out among six texts.
#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "fuzz_file.h"
#include "nlib/utf8.h"
#include "platform/media_index.h"

static constexpr size_t TEXT_SIZE = sizeof(MediaInfoRecord::title);

static void ExpectClean(const char *text)
{
    size_t length = strnlen(text, TEXT_SIZE);
    FUZZ_EXPECT(length < TEXT_SIZE);
    for (size_t pos = 0; pos < length;) {
        char32_t c = 0;
        size_t step = Utf8Read(text + pos, length - pos, &c);
        FUZZ_EXPECT(step > 0);
        FUZZ_EXPECT(c >= 0x20 && (c < 0x7F || c > 0x9F) && c != 0xFEFF);
        pos += step;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    static MediaInfoRecord record;
    static MediaInfoRecord once;
    memset(&record, 0, sizeof record);
    uint32_t *const markers[] = {&record.title_encoding,    &record.artist_encoding,  &record.album_encoding,
                                 &record.composer_encoding, &record.comment_encoding, &record.genre_encoding};
    char *const texts[] = {record.title,    record.artist,  record.album,
                           record.composer, record.comment, record.genre};
    size_t share = (size - 1) / 6 + 1;
    for (size_t i = 0; i < 6; i++) {
        *markers[i] = data[0] >> i & 1;
        size_t start = std::min(1 + i * share, size);
        memcpy(texts[i], data + start, std::min({share, size - start, TEXT_SIZE}));
    }

    FUZZ_EXPECT(MediaInfoValid(&record) == 0);
    for (size_t i = 0; i < 6; i++) {
        ExpectClean(texts[i]);
        FUZZ_EXPECT(*markers[i] == 0);
    }
    once = record;
    FUZZ_EXPECT(MediaInfoValid(&record) == 0);
    FUZZ_EXPECT(!memcmp(&record, &once, sizeof record));
    return 0;
}
