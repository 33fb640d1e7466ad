// A second list of the daemon's extensions, because its own one comes with every reader. A test compares the two.
#include "sync/file_kind.h"

#include <string.h>

#include <sstream>
#include <string>
#include <unordered_map>

#include "index/media_record.h"

static constexpr struct {
    int kind;
    const char *extensions;
} EXTENSIONS[] = {
    {MEDIA_KIND_MUSIC, "mp3 mp1 mp2 mpa wma wav ogg m4a aac ac3 ram ra m4p flac aiff aif pcm m4b ape"},
    {MEDIA_KIND_PLAYLIST, "m3u wpl"},
    {MEDIA_KIND_VIDEO,
     "avi mpg mpeg dat asf wmv vob mov rm rmvb mp4 divx xvid flv mkv ts m2ts m2t mts m4v 3gp 3g2 "
     "qt swf dvr-ms iso ifo srt ass ssa idx sub smi psb trp tp"},
    {MEDIA_KIND_PHOTO, "jpg jpeg jpe bmp gif ico png psd tif tiff ufo"},
};

static constexpr size_t EXTENSION_MAX = 6;  // "dvr-ms"

static std::unordered_map<std::string, int> KindsMake()
{
    std::unordered_map<std::string, int> kinds;
    for (const auto &list : EXTENSIONS) {
        std::istringstream words(list.extensions);
        for (std::string word; words >> word;)
            kinds[word] = list.kind;
    }
    return kinds;
}

static char Lower(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

int MediaKindOfName(std::string_view name)
{
    static const std::unordered_map<std::string, int> kinds = KindsMake();
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || name.size() - dot - 1 > EXTENSION_MAX || name.starts_with("._"))
        return -1;
    std::string extension(name.substr(dot + 1));
    for (char &byte : extension)
        byte = Lower(byte);
    auto found = kinds.find(extension);
    return found == kinds.end() ? -1 : found->second;
}
