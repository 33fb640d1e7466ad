// The one file that knows every handler. A format is added or moved by changing a row here.
#include "index/handler_table.h"

#include <strings.h>

#include <iterator>

#include "audio/aac.h"
#include "audio/aiff.h"
#include "audio/flac.h"
#include "audio/mp4.h"
#include "index/playlist.h"
#include "music/music.h"
#include "photo/photo_media.h"
#include "video/media_handlers.h"
#include "video/video.h"

// The first match wins. "mp4" is a video for the probe while its audio siblings go to the tag reader;
// disc images, DVD structure files and subtitles are listed as video without being read.
const IndexHandler IndexHandlerTable[] = {
    {"mp3", MusicIndexAdd, MusicIndexDelete},
    {"mp1", MediaAudioAdd, MediaAudioDelete},
    {"mp2", MediaAudioAdd, MediaAudioDelete},
    {"mpa", MediaAudioAdd, MediaAudioDelete},
    {"wma", MediaAudioAdd, MediaAudioDelete},
    {"wav", MediaAudioAdd, MediaAudioDelete},
    {"ogg", MediaAudioAdd, MediaAudioDelete},
    {"m4a", Mp4IndexAdd, Mp4IndexDelete},
    {"aac", AacIndexAdd, MediaAudioDelete},
    {"ac3", MediaAudioAdd, MediaAudioDelete},
    {"ram", MediaAudioAdd, MediaAudioDelete},
    {"ra", MediaAudioAdd, MediaAudioDelete},
    {"m4p", Mp4IndexAdd, Mp4IndexDelete},
    {"flac", FlacIndexAdd, MediaAudioDelete},
    {"aiff", AiffIndexAdd, AiffIndexDelete},
    {"aif", AiffIndexAdd, AiffIndexDelete},
    {"pcm", MediaPcmAdd, MediaAudioDelete},
    {"m4b", Mp4IndexAdd, Mp4IndexDelete},
    {"ape", MediaAudioAdd, MediaAudioDelete},
    {"m3u", PlaylistAdd, PlaylistDelete},
    {"wpl", PlaylistAdd, PlaylistDelete},
    {"avi", MediaVideoAdd, MediaVideoDelete},
    {"mpg", MediaVideoAdd, MediaVideoDelete},
    {"mpeg", MediaVideoAdd, MediaVideoDelete},
    {"dat", VideoIndexAdd, VideoIndexDelete},
    {"asf", MediaVideoAdd, MediaVideoDelete},
    {"wmv", MediaVideoAdd, MediaVideoDelete},
    {"vob", MediaVideoAdd, MediaVideoDelete},
    {"mov", MediaVideoAdd, MediaVideoDelete},
    {"rm", MediaVideoAdd, MediaVideoDelete},
    {"rmvb", MediaVideoAdd, MediaVideoDelete},
    {"mp4", MediaVideoAdd, MediaVideoDelete},
    {"divx", MediaVideoAdd, MediaVideoDelete},
    {"xvid", MediaVideoAdd, MediaVideoDelete},
    {"flv", MediaVideoAdd, MediaVideoDelete},
    {"mkv", MediaVideoAdd, MediaVideoDelete},
    {"ts", MediaVideoAdd, MediaVideoDelete},
    {"m2ts", MediaVideoAdd, MediaVideoDelete},
    {"m2t", MediaVideoAdd, MediaVideoDelete},
    {"mts", MediaVideoAdd, MediaVideoDelete},
    {"m4v", MediaVideoAdd, MediaVideoDelete},
    {"3gp", MediaVideoAdd, MediaVideoDelete},
    {"3g2", MediaVideoAdd, MediaVideoDelete},
    {"qt", MediaVideoAdd, MediaVideoDelete},
    {"swf", MediaVideoAdd, MediaVideoDelete},
    {"dvr-ms", MediaVideoAdd, MediaVideoDelete},
    {"iso", MediaVideoFileAdd, MediaVideoDelete},
    {"ifo", MediaVideoFileAdd, MediaVideoDelete},
    {"srt", MediaVideoFileAdd, MediaVideoDelete},
    {"ass", MediaVideoFileAdd, MediaVideoDelete},
    {"ssa", MediaVideoFileAdd, MediaVideoDelete},
    {"idx", MediaVideoFileAdd, MediaVideoDelete},
    {"sub", MediaVideoFileAdd, MediaVideoDelete},
    {"smi", MediaVideoFileAdd, MediaVideoDelete},
    {"psb", MediaVideoFileAdd, MediaVideoDelete},
    {"trp", MediaVideoAdd, MediaVideoDelete},
    {"tp", MediaVideoAdd, MediaVideoDelete},
    {"jpg", PhotoMediaAdd, PhotoMediaDelete},
    {"jpeg", PhotoMediaAdd, PhotoMediaDelete},
    {"jpe", PhotoMediaAdd, PhotoMediaDelete},
    {"bmp", PhotoMediaAdd, PhotoMediaDelete},
    {"gif", PhotoMediaAdd, PhotoMediaDelete},
    {"ico", PhotoMediaAdd, PhotoMediaDelete},
    {"png", PhotoMediaAdd, PhotoMediaDelete},
    {"psd", PhotoMediaAdd, PhotoMediaDelete},
    {"tif", PhotoMediaAdd, PhotoMediaDelete},
    {"tiff", PhotoMediaAdd, PhotoMediaDelete},
    {"ufo", PhotoMediaAdd, PhotoMediaDelete},
    {nullptr, nullptr, nullptr},
};

static_assert(std::size(IndexHandlerTable) == 68 + 1);

const IndexHandler *IndexHandlerFind(const char *ext)
{
    if (!ext)
        return nullptr;
    for (const IndexHandler *row = IndexHandlerTable; row->ext; row++)
        if (strcasecmp(row->ext, ext) == 0)
            return row;
    return nullptr;
}
