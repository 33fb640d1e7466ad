// Every fixed path of the daemon. Tests link their own values, in a scratch folder.
#pragma once

extern const char *const INDEX_QUEUE_PATH;       // producers append requests here
extern const char *const INDEX_QUEUE_WORK_PATH;  // the queue after it was taken over
extern const char *const DAEMON_PID_PATH;
extern const char *const WATCH_STATE_PATH;       // what the watcher says about itself
extern const char *const MUSIC_SERVER_PID_PATH;  // signalled when the music or video table changed
extern const char *const MEDIA_SERVER_PID_PATH;  // signalled after every batch
extern const char *const DEFAULT_SETTINGS_PATH;  // feature switches
extern const char *const SETTINGS_PATH;          // the box's own settings: default of new albums

extern const char *const MUSIC_SHARE_LINK;
extern const char *const VIDEO_SHARE_LINK;
extern const char *const PHOTO_SHARE_LINK;

extern const char *const THUMB_QUEUE_PATH;
extern const char *const THUMB_DAEMON_PID_PATH;
extern const char *const FLV_QUEUE_PATH;
extern const char *const FLV_DAEMON_PID_PATH;

extern const char *const VIDEO_CONVERTER_PROGRAM;
extern const char *const AAC_DECODER_PROGRAM;

extern const char *const MEMINFO_PATH;
