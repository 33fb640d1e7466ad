// Lines, shell words and the banner.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include "nlib/exported.h"

static constexpr char BLANKS[] = " \t\r\n";

void StringTrim(char *text)
{
    if (!text)
        return;
    size_t start = strspn(text, BLANKS);
    size_t end = strlen(text);
    while (end > start && strchr(BLANKS, text[end - 1]))
        end--;
    memmove(text, text + start, end - start);
    text[end - start] = '\0';
}

// The next line without its line feed; its length, or -1 at the end. A last line needs no line feed.
static ssize_t LineRead(FILE *file, char **line, size_t *capacity)
{
    ssize_t length = getline(line, capacity, file);
    if (length > 0 && (*line)[length - 1] == '\n')
        length--;
    return length;
}

static int LineFind(FILE *file, const char *wanted, size_t wanted_length)
{
    char *line = nullptr;
    size_t capacity = 0;
    int found = 0;
    ssize_t length = 0;
    while (!found && (length = LineRead(file, &line, &capacity)) >= 0)
        found = static_cast<size_t>(length) == wanted_length && !memcmp(line, wanted, wanted_length);
    free(line);
    return !found && ferror(file) ? -1 : found;
}

int NLIBFileGetLine(const char *file, const char *wanted, char *buf, int size, int flags)
{
    (void)flags;
    if (!file || !wanted || !buf || size <= 0)
        return -1;
    buf[0] = '\0';
    FILE *stream = fopen(file, "re");
    if (!stream)
        return -1;
    int found = LineFind(stream, wanted, strlen(wanted));
    fclose(stream);
    if (found > 0)
        snprintf(buf, static_cast<size_t>(size), "%s", wanted);
    return found;
}

// Bytes that no shell gives a meaning, wherever they stand in a word.
static bool IsPlainShellByte(unsigned char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte >= 128 || strchr("/._-+,:@%", byte);
}

static int ShellWordWrite(const char *src, char *out, size_t size)
{
    size_t used = 0;
    for (; *src; src++) {
        bool plain = IsPlainShellByte(static_cast<unsigned char>(*src));
        if (*src == '\n' || size - used < (plain ? 2u : 3u))
            return -1;  // a shell drops a backslash together with the line feed behind it
        if (!plain)
            out[used++] = '\\';
        out[used++] = *src;
    }
    out[used] = '\0';
    return 0;
}

int NLIBEncShParam(const char *src, char *out, int size)
{
    if (!src || !out || size <= 0)
        return -1;
    out[0] = '\0';
    if (!src[0] && size > 2)
        memcpy(out, "''", 3);  // no backslash makes a word of nothing
    if (src[0] && ShellWordWrite(src, out, static_cast<size_t>(size)) < 0)
        out[0] = '\0';  // half a word must not reach a shell
    return out[0] ? 0 : -1;
}

void NLIBCopyright(void)
{
    puts("nuboindexd " NUBO_VERSION ", media and photo indexing daemon");
    puts("MIT licence; comes without any warranty");
    fflush(stdout);
}
