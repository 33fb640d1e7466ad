// Handlers of the formats without a reader of their own.
#pragma once

// Add: 0 saved with metadata, 1 saved with defaults only (the probe failed), -1 nothing saved.
int MediaAudioAdd(const char *path);      // probed, music
int MediaVideoAdd(const char *path);      // probed, video
int MediaPcmAdd(const char *path);        // listed, music
int MediaVideoFileAdd(const char *path);  // listed, video: disc images, DVD structure files, subtitles

// Delete: 0 removed, -1 not removed. A file that still exists is never forgotten.
int MediaAudioDelete(const char *path);
int MediaVideoDelete(const char *path);
