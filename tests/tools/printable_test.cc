// Names as text that is safe to show.
#include "printable.h"

#include <gtest/gtest.h>

TEST(Printable, HarmlessTextStays)
{
    for (const char *text : {"", "plain name.mp3", "Dvořák — Größe", "日本語", "back\\slash", "quote\"'"})
        EXPECT_EQ(PrintableText(text), text);
}

TEST(Printable, WhatSteersATerminalIsEscaped)
{
    static constexpr struct {
        const char *text;
        const char *printable;
    } cases[] = {
        {"a\x1b[2Jb", "a\\x1b[2Jb"},            // clears the screen
        {"a\nb\tc\rd", "a\\x0ab\\x09c\\x0dd"},  // breaks lines and columns
        {"\x7f", "\\x7f"},                      // delete
        {"\xc2\x9b", "\\xc2\\x9b"},             // the one-character form of ESC [
        {"\xe2\x80\xae", "\\xe2\\x80\\xae"},    // turns the rest of the line round
        {"\xe2\x80\xa8", "\\xe2\\x80\\xa8"},    // line separator
        {"gr\xf6\xdf"
         "e",
         "gr\\xf6\\xdfe"},                    // Latin-1
        {"\xe2\x82", "\\xe2\\x82"},           // cut character
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},  // half of a surrogate pair
        {"\\x41", "\\x5cx41"},                // would read as an escape
    };
    for (const auto &c : cases)
        EXPECT_EQ(PrintableText(c.text), c.printable);
}

TEST(Printable, NulBytesAreEscapedToo)
{
    EXPECT_EQ(PrintableText(std::string_view("a\0b", 3)), "a\\x00b");
}

TEST(Printable, Utf8IsRecognised)
{
    for (const char *text : {"", "abc", "\x01", "\xc3\xbc", "\xf0\x9f\x8e\xb5"})
        EXPECT_TRUE(IsUtf8(text)) << text;
    for (const char *text : {"\xff", "a\xc3", "\xc0\x80", "\xf4\x90\x80\x80", "\xed\xa0\x80"})
        EXPECT_FALSE(IsUtf8(text)) << PrintableText(text);
}

TEST(Printable, PercentTextHoldsEveryByte)
{
    EXPECT_EQ(PercentText("/volume1/a b%\xff\x01.mp3"), "/volume1/a%20b%25%ff%01.mp3");
    EXPECT_EQ(PercentText(std::string_view("\0", 1)), "%00");
}
