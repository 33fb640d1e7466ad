// Copies of videos that every web browser plays: H.264 and AAC in MP4, 640 pixels wide at most.
#pragma once

#include <string>

enum WebVideoResult {
    WEB_VIDEO_MADE,
    WEB_VIDEO_UP_TO_DATE,
    WEB_VIDEO_FAILED,  // told to the system log, unless the file is gone or the end is announced
};

// Makes the copy beside a video, in its @eaDir, through ffmpeg in a child process with limits.
WebVideoResult WebVideoMake(const std::string &video);

// A request is a video, or a folder whose videos are meant.
void WebVideoRequestServe(const std::string &path);

// Whether a path names an existing file that by its name is a video.
bool IsVideoFile(const std::string &path);
