// Texts of records: charsets as real tags have them, UTF-16 as the tag reader hands it over, cuts, rubbish.
#include <gtest/gtest.h>
#include <iconv.h>
#include <string.h>

#include <memory>
#include <random>
#include <string>

#include "nlib/config.h"
#include "platform/media_index.h"
#include "support/scratch.h"

static std::string Encoded(const std::string &text, const char *charset)
{
    iconv_t converter = iconv_open(charset, "UTF-8");
    EXPECT_NE(converter, reinterpret_cast<iconv_t>(-1)) << charset;
    std::string out(4 * text.size() + 8, '\0');
    char *from = const_cast<char *>(text.data());
    char *to = out.data();
    size_t from_left = text.size();
    size_t to_left = out.size();
    EXPECT_NE(iconv(converter, &from, &from_left, &to, &to_left), static_cast<size_t>(-1)) << text << charset;
    iconv_close(converter);
    out.resize(out.size() - to_left);
    return out;
}

static std::unique_ptr<MediaInfoRecord> Record()
{
    return std::make_unique<MediaInfoRecord>();
}

template <size_t size>
static void Put(char (&field)[size], const std::string &bytes)
{
    memcpy(field, bytes.data(), std::min(bytes.size(), size));
}

static std::string ValidTitle(const std::string &bytes)
{
    auto record = Record();
    Put(record->title, bytes);
    EXPECT_EQ(MediaInfoValid(record.get()), 0);
    return record->title;
}

static void FallbackSet(const std::string &charset)
{
    WriteFile(Scratch("/etc/fallback.conf"), "text_fallback_charset = " + charset + "\n");
    PlatformSettingsLoad(Scratch("/etc/fallback.conf").c_str());
}

struct Tag {
    const char *title;
    const char *artist;
    const char *album;
};

static void ExpectTagsSurvive(const Tag *tags, size_t count, const char *charset)
{
    for (size_t i = 0; i < count; i++) {
        auto record = Record();
        Put(record->title, Encoded(tags[i].title, charset));
        Put(record->artist, Encoded(tags[i].artist, charset));
        Put(record->album, Encoded(tags[i].album, charset));
        MediaInfoValid(record.get());
        EXPECT_STREQ(record->title, tags[i].title) << charset;
        EXPECT_STREQ(record->artist, tags[i].artist) << charset;
        EXPECT_STREQ(record->album, tags[i].album) << charset;
    }
}

TEST(RecordValid, WesternTags)
{
    static constexpr Tag tags[] = {
        {"Café", "", ""},
        {"Jóga", "Björk", "Homogenic"},
        {"Björk – Jóga", "", ""},
        {"Non, je ne regrette rien", "Édith Piaf", "Été"},
        {"Déjà vu", "Beyoncé", "B’Day"},
        {"Für Elise", "Ludwig van Beethoven", "Stücke für Klavier"},
        {"Ágætis byrjun", "Sigur Rós", "Svefn-g-englar"},
        {"¿Dónde están los ladrones?", "Shakira", "Señorita"},
        {"Ace of Spades", "Motörhead", "No Sleep ’til Hammersmith"},
        {"Garota de Ipanema", "João Gilberto", "Canção do amor demais"},
        {"Größenwahn", "Die Ärzte", "Außerirdische"},
        {"Mein Herz brennt", "Rammstein", "Völkerball"},
        {"Smörgåsbord", "Blå Tåg", "Åå nej"},
        {"Noël", "", ""},
        {"Ça ira", "Françoise Hardy", "Où va la chance"},
        {"“Heroes”", "David Bowie", "Live…"},
        {"Ø", "", ""},
        {"Hors-série n°1", "", ""},
    };
    ExpectTagsSurvive(tags, std::size(tags), "WINDOWS-1252");
}

TEST(RecordValid, RussianTags)
{
    static constexpr Tag tags[] = {
        {"Группа крови", "Кино", "Группа крови"},
        {"Кино", "", ""},
        {"КИНО", "Звезда по имени Солнце", ""},
        {"Кукушка", "", ""},
        {"Миллион алых роз", "Алла Пугачёва", "Лучшее"},
        {"Я свободен", "Ария", "2000 и одна ночь"},
        {"Хочу перемен!", "Виктор Цой", "Последний герой"},
        {"01 - Подмосковные вечера", "Неизвестен", "Сборник"},
        {"Ночь", "", ""},
        {"Что такое осень", "ДДТ", "Актриса Весна"},
        {"Выхода нет", "Сплин", "Гранатовый альбом (Live)"},
    };
    ExpectTagsSurvive(tags, std::size(tags), "WINDOWS-1251");
}

TEST(RecordValid, JapaneseTags)
{
    static constexpr Tag tags[] = {
        {"ひまわりの約束", "秦基博", "青の光景"},
        {"桜", "コブクロ", "ベスト"},
        {"First Love", "宇多田ヒカル", "First Love"},
        {"雪の華", "中島美嘉", "ラヴ"},
        {"上を向いて歩こう", "坂本九", ""},
        {"天城越え", "石川さゆり", "全曲集"},
        {"さくら", "", ""},
        {"残酷な天使のテーゼ", "高橋洋子", "新世紀エヴァンゲリオン"},
        {"千本桜", "黒うさP", "初音ミク"},
        {"もののけ姫", "久石譲", "交響組曲"},
    };
    ExpectTagsSurvive(tags, std::size(tags), "CP932");
}

TEST(RecordValid, SimplifiedChineseTags)
{
    static constexpr Tag tags[] = {
        {"青花瓷", "周杰伦", "我很忙"},
        {"月亮代表我的心", "邓丽君", "精选"},
        {"朋友", "周华健", ""},
        {"红豆", "王菲", "唱游"},
        {"十年", "陈奕迅", "黑白灰"},
        {"一无所有", "崔健", "新长征路上的摇滚"},
        {"江南", "", ""},
        {"后来", "刘若英", "我等你"},
        {"春天里", "汪峰", "信仰在空中飘扬"},
        {"演员", "林俊杰", "绅士"},
    };
    ExpectTagsSurvive(tags, std::size(tags), "GBK");
}

TEST(RecordValid, TraditionalChineseTags)
{
    static constexpr Tag tags[] = {
        {"青花瓷", "周杰倫", "我很忙"},       {"月亮代表我的心", "鄧麗君", "精選集"},
        {"海闊天空", "Beyond", "樂與怒"},     {"吻別", "張學友", "吻別"},
        {"愛如潮水", "張信哲", "心事"},       {"千里之外", "費玉清", "依然范特西"},
        {"聽海", "張惠妹", "Bad Boy"},        {"中心", "", ""},
        {"小幸運", "田馥甄", "我的少女時代"},
    };
    ExpectTagsSurvive(tags, std::size(tags), "BIG5");
}

TEST(RecordValid, KoreanTags)
{
    static constexpr Tag tags[] = {
        {"강남스타일", "싸이", "싸이6甲"},
        {"사랑", "", ""},
        {"거짓말", "빅뱅", "Always"},
        {"다시 만난 세계", "소녀시대", "소녀시대"},
        {"서른 즈음에", "김광석", "다시 부르기"},
        {"난 알아요", "서태지와 아이들", "서태지와 아이들"},
        {"너의 의미", "아이유", "꽃갈피"},
        {"좋은 날", "아이유", "리얼"},
        {"벚꽃 엔딩", "버스커 버스커", "1집"},
    };
    ExpectTagsSurvive(tags, std::size(tags), "CP949");
}

TEST(RecordValid, OtherAlphabetsWhenThereIsEnoughText)
{
    static constexpr struct {
        const char *charset;
        const char *text;
    } cases[] = {
        {"KOI8-R", "Звезда по имени Солнце"},
        {"EUC-JP", "ひまわりの約束はいつまでも"},
        {"ISO-8859-7", "Ο δρόμος είχε τη δική του ιστορία"},
        {"WINDOWS-1250", "Zażółć gęślą jaźń, wszystkie moje drogi prowadzą do ciebie"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ValidTitle(Encoded(c.text, c.charset)), c.text) << c.charset;
}

TEST(RecordValid, ShortTextsBorrowTheirCharsetFromTheOthers)
{
    auto record = Record();
    Put(record->title, Encoded("Я", "WINDOWS-1251"));
    Put(record->artist, Encoded("Земфира", "WINDOWS-1251"));
    Put(record->comment, "plain");
    Put(record->album, "déjà");  // UTF-8 already: as it stands
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->title, "Я");
    EXPECT_STREQ(record->artist, "Земфира");
    EXPECT_STREQ(record->comment, "plain");
    EXPECT_STREQ(record->album, "déjà");
}

TEST(RecordValid, TheFallbackDecidesWhatNothingElseTells)
{
    EXPECT_EQ(ValidTitle("Caf\xe9"), "Café");
    FallbackSet("ISO-8859-2");
    EXPECT_EQ(ValidTitle("Dvo\xf8\xe1k"), "Dvořák");
    FallbackSet("WINDOWS-1251");
    EXPECT_EQ(ValidTitle("\xdf"), "Я");
    FallbackSet("no-such-charset");
    EXPECT_EQ(ValidTitle("Caf\xe9"), "Café");
}

static std::string Utf16(const std::string &text, bool big_endian)
{
    return (big_endian ? "\xFE\xFF" : "\xFF\xFE") + Encoded(text, big_endian ? "UTF-16BE" : "UTF-16LE");
}

TEST(RecordValid, Utf16InBothByteOrders)
{
    for (bool big_endian : {false, true}) {
        auto record = Record();
        const char *text = "Zażółć 青花瓷 사랑 𝄞 ok";
        Put(record->title, Utf16(text, big_endian));
        Put(record->comment, Utf16("", big_endian));
        Put(record->album, Utf16("Ā", big_endian));  // U+0100: a zero byte within the first unit
        record->title_encoding = record->comment_encoding = record->album_encoding = 1;
        MediaInfoValid(record.get());
        EXPECT_STREQ(record->title, text);
        EXPECT_STREQ(record->comment, "");
        EXPECT_STREQ(record->album, "Ā");
    }
}

TEST(RecordValid, EveryMarkerIsHonouredAndTakenBack)
{
    auto record = Record();
    Put(record->title, Utf16("t", false));
    Put(record->artist, Utf16("a", false));
    Put(record->album, Utf16("l", false));
    Put(record->genre, Utf16("g", false));
    Put(record->composer, Utf16("c", false));
    Put(record->comment, Utf16("o", false));
    record->title_encoding = record->artist_encoding = record->album_encoding = 1;
    record->genre_encoding = record->composer_encoding = record->comment_encoding = 1;
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->title, "t");
    EXPECT_STREQ(record->artist, "a");
    EXPECT_STREQ(record->album, "l");
    EXPECT_STREQ(record->genre, "g");
    EXPECT_STREQ(record->composer, "c");
    EXPECT_STREQ(record->comment, "o");
    EXPECT_EQ(record->title_encoding | record->artist_encoding | record->album_encoding, 0u);
    EXPECT_EQ(record->genre_encoding | record->composer_encoding | record->comment_encoding, 0u);
}

TEST(RecordValid, AMarkedTextWithoutItsMarkIsAnOrdinaryOne)
{
    auto record = Record();
    Put(record->genre, "Rock");
    record->genre_encoding = 1;
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->genre, "Rock");
    EXPECT_EQ(record->genre_encoding, 0u);
}

TEST(RecordValid, Utf16ThatWasCutInTheMiddle)
{
    std::string units = Utf16(std::string(100, 'x'), false);
    for (int i = 0; i < 40; i++)
        units += Encoded("𝄞", "UTF-16LE");
    for (size_t size : {200, 202, 204, 206, 208, 210, 250, 252, 254, 255}) {
        auto record = Record();
        Put(record->title, units.substr(0, size));
        record->title_encoding = 1;
        MediaInfoValid(record.get());
        std::string expected(std::min<size_t>(100, (size - 2) / 2), 'x');
        for (size_t i = 0; size > 202 && i < (size - 202) / 4; i++)
            expected += "𝄞";
        EXPECT_EQ(record->title, expected) << size;
    }
}

TEST(RecordValid, LoneSurrogatesAreReplaced)
{
    auto record = Record();
    Put(record->title, std::string("\xFF\xFE"
                                   "a\0"
                                   "\x00\xDC"
                                   "b\0"
                                   "\x34\xD8"
                                   "c\0",
                                   12));
    record->title_encoding = 1;
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->title, "a\uFFFDb\uFFFDc");
}

TEST(RecordValid, ALongResultIsCutAfterAWholeCharacter)
{
    std::string expected;
    for (int i = 0; i < 28; i++)
        expected += "青花瓷";  // 252 bytes; the next character would need byte 255
    std::string wide;
    for (int i = 0; i < 42; i++)
        wide += "青花瓷";
    auto record = Record();
    Put(record->title, Utf16(wide, true));
    record->title_encoding = 1;
    Put(record->artist, Encoded(wide, "GBK"));
    Put(record->camera_make, wide.substr(0, 99));  // fits whole
    MediaInfoValid(record.get());
    EXPECT_EQ(record->title, expected);
    EXPECT_EQ(record->artist, expected);
    EXPECT_EQ(record->camera_make, wide.substr(0, 99));
}

TEST(RecordValid, Utf8ThatATagCutStaysUtf8)
{
    EXPECT_EQ(ValidTitle("Подмосковные ве\xd1"), "Подмосковные ве");  // 30 bytes of ID3v1
    EXPECT_EQ(ValidTitle("青\xe8\x8a"), "青");
    EXPECT_EQ(ValidTitle("Caf\xc3"), "CafÃ");  // one lead byte alone proves nothing
}

TEST(RecordValid, ALegacyCharacterThatWasCutIsLeftOut)
{
    EXPECT_EQ(ValidTitle(Encoded("月亮代表我的心月亮代表我的心月", "GBK").substr(0, 29)),
              "月亮代表我的心月亮代表我的心");
    EXPECT_EQ(ValidTitle(Encoded("上を向いて歩こう上を向いて歩こ", "CP932").substr(0, 29)),
              "上を向いて歩こう上を向いて歩");
}

TEST(RecordValid, ControlCharactersAreRemoved)
{
    EXPECT_EQ(ValidTitle("a\x01"
                         "b\x1f\x7f"
                         "c\x1b[0m"),
              "abc[0m");
    EXPECT_EQ(ValidTitle("a\tb\r\nc"), "abc");
    EXPECT_EQ(ValidTitle("\xEF\xBB\xBFtitle"), "title");  // a byte-order mark in UTF-8
    EXPECT_EQ(ValidTitle("a\xC2\x85"
                         "b"),
              "ab");  // of the second block
    EXPECT_EQ(ValidTitle("\x01\x02"), "");
    EXPECT_EQ(ValidTitle("Caf\xe9\x07"), "Café");
}

TEST(RecordValid, PathAndTimesStayAsTheyAre)
{
    auto record = Record();
    Put(record->path, "/volume1/music/\xff\x01\n.mp3");
    Put(record->create_time, "Sat Nov 21 00:54:26 2026\n");
    Put(record->modify_time, "Sat Nov 21 00:54:26 2026\n");
    record->duration = 1.5f;
    record->filesize = 77;
    auto before = std::make_unique<MediaInfoRecord>(*record);
    MediaInfoValid(record.get());
    EXPECT_EQ(memcmp(record.get(), before.get(), sizeof *record), 0);
}

TEST(RecordValid, PhotoTextsAreCleanedToo)
{
    auto record = Record();
    Put(record->camera_make, "Caf\xe9");
    Put(record->camera_model, "a\x02"
                              "b");
    Put(record->exposure_time, "1/60\n");
    Put(record->aperture, "f/2.8\x01");
    Put(record->date_taken, "2008-1-2 3:4:5\x7f");
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->camera_make, "Café");
    EXPECT_STREQ(record->camera_model, "ab");
    EXPECT_STREQ(record->exposure_time, "1/60");
    EXPECT_STREQ(record->aperture, "f/2.8");
    EXPECT_STREQ(record->date_taken, "2008-1-2 3:4:5");
}

TEST(RecordValid, NullIsRefused)
{
    EXPECT_NE(MediaInfoValid(nullptr), 0);
}

TEST(RecordValid, FieldsWithoutAnEndAreCut)
{
    auto record = Record();
    memset(record->title, 'x', sizeof record->title);
    memset(record->artist, '\xe9', sizeof record->artist);
    memset(record->date_taken, '\xff', sizeof record->date_taken);
    MediaInfoValid(record.get());
    EXPECT_EQ(record->title, std::string(254, 'x'));
    EXPECT_LT(strnlen(record->artist, 255), 255u);
    EXPECT_LT(strnlen(record->date_taken, 32), 32u);
}

static bool IsCleanUtf8(const char *text, size_t size)
{
    if (strnlen(text, size) == size)
        return false;
    for (const char *byte = text; *byte; byte++) {
        if (static_cast<unsigned char>(*byte) < 32 || *byte == 127)
            return false;
    }
    iconv_t converter = iconv_open("UTF-32LE", "UTF-8");
    std::string out(4 * size, '\0');
    char *from = const_cast<char *>(text);
    char *to = out.data();
    size_t from_left = strlen(text);
    size_t to_left = out.size();
    bool valid = iconv(converter, &from, &from_left, &to, &to_left) != static_cast<size_t>(-1);
    iconv_close(converter);
    return valid;
}

TEST(RecordValid, AnyBytesBecomeCleanTextAndASecondTimeChangesNothing)
{
    std::mt19937 random(20260301);
    for (int round = 0; round < 600; round++) {
        auto record = Record();
        unsigned char *bytes = reinterpret_cast<unsigned char *>(record.get());
        for (size_t i = offsetof(MediaInfoRecord, title); i < offsetof(MediaInfoRecord, create_time); i++) {
            uint32_t value = static_cast<uint32_t>(random());
            // Texts of many lengths; some rounds draw from few byte values, so that sequences come about.
            bytes[i] = static_cast<unsigned char>(
                round % 3 == 0 ? value : 0x20 + value % (round % 3 == 1 ? 0xE0 : 3) * 0x41);
            if (value >> 16 < 600)
                bytes[i] = 0;
        }
        if (round % 2) {
            Put(record->title, "\xFF\xFE");
            Put(record->album, "\xFE\xFF");
        }
        record->title_encoding = record->album_encoding = record->genre_encoding = static_cast<uint32_t>(round);
        MediaInfoValid(record.get());
        ASSERT_TRUE(IsCleanUtf8(record->title, sizeof record->title)) << round;
        ASSERT_TRUE(IsCleanUtf8(record->album, sizeof record->album)) << round;
        ASSERT_TRUE(IsCleanUtf8(record->artist, sizeof record->artist)) << round;
        ASSERT_TRUE(IsCleanUtf8(record->camera_make, sizeof record->camera_make)) << round;
        ASSERT_TRUE(IsCleanUtf8(record->date_taken, sizeof record->date_taken)) << round;
        auto once = std::make_unique<MediaInfoRecord>(*record);
        MediaInfoValid(record.get());
        ASSERT_EQ(memcmp(once.get(), record.get(), sizeof *record), 0) << round;
    }
}
