// The part of an AIFF reader that an index needs: the audio format from the common chunk. Sample data and text
// chunks are never read.
#pragma once

#include <stdint.h>
#include <stdio.h>

struct AiffAudioFormat {
    uint64_t frames;
    int channels;
    double rate;           // Hz, as the file says: zero, negative and infinite are possible
    int sample_size;       // bits; 14 for mu-law and 13 for A-law, their range and not their storage
    int bytes_per_sample;  // one sample of one channel, decoded
};

enum AiffMode { AIFF_CLOSED, AIFF_READ };

struct AiffFile {
    FILE *stream;
    AiffMode mode;
    AiffAudioFormat format;
};

// Opens a file and reads its common chunk. Null when there is no such file, when it is no AIFF or AIFF-C file,
// when it has no whole common chunk, and for any mode but AIFF_READ. Given back with AiffClose.
AiffFile *AiffOpen(const char *path, AiffMode mode);

// Fills the places that are not null. 1; -1 for a null handle or one that is not open for reading.
int AiffGetAudioFormat(const AiffFile *file, uint64_t *frames, int *channels, double *rate, int *sample_size,
                       int *bytes_per_sample);

// Null is allowed.
void AiffClose(AiffFile *file);
