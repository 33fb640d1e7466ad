// The programs at the other ends of the daemon's pipes and queues.
#include <errno.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/paths.h"
#include "doctor/checks.h"
#include "platform/sdk.h"

static constexpr char SUBJECT[] = "programs";
static constexpr char PACKAGE[] = "nuboindex-siblings";

static void ProgramCheck(const char *program, const char *consequence, const std::string &mend,
                         Findings &findings)
{
    struct stat status;
    bool is_there = stat(program, &status) == 0;
    if (is_there && S_ISREG(status.st_mode) && access(program, X_OK) == 0)
        return;
    findings.push_back(
        {SUBJECT, FINDING_FAULT,
         std::string(program) + (is_there ? " is no program" : " is missing") + ": " + consequence, mend});
}

// A sibling that never ran has no queue; one whose queue grows old has died.
static void SiblingCheck(const char *name, const char *queue, const char *pid_file, const char *consequence,
                         Findings &findings)
{
    int pid = NLIBReadPidFile(pid_file);
    bool is_running = pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
    if (is_running || access(queue, F_OK) != 0)
        return;
    findings.push_back({SUBJECT, FINDING_FAULT, std::string(name) + " is not running: " + consequence,
                        std::string("start ") + name + " (package " + PACKAGE + ")"});
}

void ProgramsCheck(Findings &findings)
{
    std::string install = std::string("install the package ") + PACKAGE;
    ProgramCheck(AAC_DECODER_PROGRAM, "AAC files are listed without their play time",
                 install + ", or link its program aac-info to that place", findings);
    ProgramCheck(VIDEO_CONVERTER_PROGRAM, "videos of the photo share get no copy for browsers", install,
                 findings);
    SiblingCheck("nubomkthumbd", THUMB_QUEUE_PATH, THUMB_DAEMON_PID_PATH, "photos wait for their thumbnails",
                 findings);
    SiblingCheck("nubomkflvd", FLV_QUEUE_PATH, FLV_DAEMON_PID_PATH, "videos wait for their web copies",
                 findings);
}
