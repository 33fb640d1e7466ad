#include "fuzz_file.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

FILE *FuzzFile(std::string_view content)
{
    static FILE *file = nullptr;
    if (!file)
        file = fdopen(memfd_create("fuzz", MFD_CLOEXEC), "rb");
    if (ftruncate(fileno(file), 0) < 0 ||
        pwrite(fileno(file), content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
        abort();
    return file;
}

const char *FuzzPath(std::string_view content)
{
    static char path[64];
    snprintf(path, sizeof path, "/proc/self/fd/%d", fileno(FuzzFile(content)));
    return path;
}

void FuzzLimitFileSize(unsigned long bytes)
{
    signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = {bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}
