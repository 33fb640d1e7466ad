// The paths of the appliance. None of them can be configured.
#include "common/paths.h"

const char *const INDEX_QUEUE_PATH = "/var/spool/nubo_indexing_queue";
const char *const INDEX_QUEUE_WORK_PATH = "/var/spool/nubo_indexing_queue.tmp";
const char *const DAEMON_PID_PATH = "/var/run/nuboindexd.pid";
const char *const WATCH_STATE_PATH = "/var/run/nuboindex-watch.state";
const char *const MUSIC_SERVER_PID_PATH = "/var/run/mt-daapd.pid";
const char *const MEDIA_SERVER_PID_PATH = "/var/run/dms.pid";
const char *const DEFAULT_SETTINGS_PATH = "/etc.defaults/nuboinfo.conf";
const char *const SETTINGS_PATH = "/etc/nuboinfo.conf";

const char *const MUSIC_SHARE_LINK = "/var/services/music";
const char *const VIDEO_SHARE_LINK = "/var/services/video";
const char *const PHOTO_SHARE_LINK = "/var/services/photo";

const char *const THUMB_QUEUE_PATH = "/var/spool/thumb_create.queue";
const char *const THUMB_DAEMON_PID_PATH = "/var/run/nubomkthumbd.pid";
const char *const FLV_QUEUE_PATH = "/var/spool/flv_create.queue";
const char *const FLV_DAEMON_PID_PATH = "/var/run/nubomkflvd.pid";

const char *const VIDEO_CONVERTER_PROGRAM = "/usr/nubo/bin/nuboflvconv";
const char *const AAC_DECODER_PROGRAM = "/usr/bin/faad";

const char *const MEMINFO_PATH = "/proc/meminfo";
