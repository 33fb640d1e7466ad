// The fields of a media record in order.
#include "support/record_text.h"

#include <stdio.h>

std::string RecordText(const MediaInfoRecord &record)
{
    std::string out;
    auto text = [&out](const char *name, const char *value) {
        if (*value)
            out += std::string(name) + "=" + value + "\n";
    };
    auto number = [&out](const char *name, auto value) {
        char digits[64];
        snprintf(digits, sizeof digits, "%.9g", static_cast<double>(value));
        if (value != 0)
            out += std::string(name) + "=" + digits + "\n";
    };
    number("reserved", record.reserved);
    text("path", record.path);
    number("track", record.track);
    number("disc", record.disc);
    number("year", record.year);
    text("title", record.title);
    text("album", record.album);
    text("artist", record.artist);
    text("genre", record.genre);
    text("composer", record.composer);
    text("comment", record.comment);
    text("camera_make", record.camera_make);
    text("camera_model", record.camera_model);
    text("exposure_time", record.exposure_time);
    text("aperture", record.aperture);
    text("date_taken", record.date_taken);
    text("create_time", record.create_time);
    text("modify_time", record.modify_time);
    number("reserved3", record.reserved3[0] | record.reserved3[1]);
    number("duration", record.duration);
    number("bitrate", record.bitrate);
    number("container_bitrate", record.container_bitrate);
    number("frequency", record.frequency);
    number("channels", record.channels);
    number("resolution_x", record.resolution_x);
    number("resolution_y", record.resolution_y);
    number("filesize", record.filesize);
    number("reserved4", record.reserved4);
    number("title_encoding", record.title_encoding);
    number("artist_encoding", record.artist_encoding);
    number("album_encoding", record.album_encoding);
    number("genre_encoding", record.genre_encoding);
    number("composer_encoding", record.composer_encoding);
    number("comment_encoding", record.comment_encoding);
    number("cover_count", record.cover_count);
    number("iso", record.iso);
    number("reserved5", record.reserved5);
    return out;
}
