// The debounce. A caught signal cuts the sleep short, so the loop looks at its flags after every signal and
// only an undisturbed sleep finds them "pending, not recent".
#include "daemon/main_loop.h"

#include "common/log.h"
#include "daemon/index_queue.h"
#include "platform/media_index.h"
#include "platform/photo_db.h"

static constexpr char LOG_MODULE[] = "main_loop";

static constexpr unsigned QUIET_SECONDS = 10;
static constexpr int FORCED_BATCH_SIGNALS = 9999;  // a batch is forced by more than these
static constexpr double VACUUM_HOURS = 12.0;

volatile sig_atomic_t dirty_pending = 0;
volatile sig_atomic_t dirty_recent = 0;
volatile sig_atomic_t dirty_signal_count = 0;

static time_t last_vacuum_time = 0;

void SetDirty(int)
{
    dirty_pending = 1;
    dirty_recent = 1;
    dirty_signal_count = dirty_signal_count + 1;
}

static void DatabasesVacuum(void)
{
    if (MediaDBVacuum() < 0)
        LogParen(LOG_HERE, "vaccuum mediaserver failed.");
    if (PhotoDBVacuum() < 0)
        LogParen(LOG_HERE, "vaccuum photodb failed.");
}

void MainLoopStart(const MainLoopClock *clock)
{
    last_vacuum_time = clock->time(nullptr);
    DatabasesVacuum();
}

static void BatchStart(void)
{
    dirty_pending = 0;
    dirty_recent = 0;
    IndexQueueProcess();
}

void MainLoopPass(const MainLoopClock *clock)
{
    (void)clock->sleep(QUIET_SECONDS);

    if (dirty_signal_count > FORCED_BATCH_SIGNALS) {
        dirty_signal_count = 0;
        DatabasesVacuum();
        last_vacuum_time = clock->time(nullptr);
        BatchStart();
    }

    if (dirty_pending == dirty_recent) {
        if (dirty_recent == 1)
            dirty_recent = 0;  // a signal came during the sleep: wait one more quiet period
        return;
    }
    if (dirty_pending == 0) {  // a signal landed between the two stores that clear the flags
        dirty_pending = 1;
        return;
    }

    dirty_signal_count = 0;
    if (static_cast<double>(clock->time(nullptr) - last_vacuum_time) / 3600.0 > VACUUM_HOURS) {
        DatabasesVacuum();
        last_vacuum_time = clock->time(nullptr);
    }
    BatchStart();
}
