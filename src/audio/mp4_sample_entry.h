// What the first sample entry of a track says about its coding.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct Mp4SampleEntry {
    int channels;  // -1: the entry does not say
    uint16_t width;
    uint16_t height;
    uint32_t bitrate;  // bit/s, the average of the elementary-stream descriptor; 0 without one
};

// `bytes` is the entry as it stands in the sample description, its own header included; it may be cut anywhere.
Mp4SampleEntry Mp4SampleEntryRead(const uint8_t *bytes, size_t size, const char *handler_type);
