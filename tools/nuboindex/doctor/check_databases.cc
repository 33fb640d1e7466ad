// The databases. One fault often concerns both of them, and is told once.
#include "doctor/checks.h"
#include "nlib/config.h"
#include "nubodb/database.h"
#include "nubodb/missed.h"

static constexpr char SUBJECT[] = "databases";

static bool IsOnServer()
{
    return std::string(PlatformSetting("database")) != "sqlite";
}

static std::string MendFor(DbFault fault)
{
    std::string settings = PlatformSettingsFile();
    std::string folder = PlatformSetting("state_dir");
    switch (fault) {
    case DB_SOUND:
        break;
    case DB_MISCONFIGURED:
        return "put the line right in " + settings;
    case DB_UNREACHABLE:
        return "start the server, or put the line \"database\" right in " + settings +
               "; if only the database is missing: nuboindex setup";
    case DB_TOO_NEW:
        return "install the version of nuboindexd that was here before, or a newer one";
    case DB_UNOPENABLE:
        return IsOnServer()
                   ? "put the line \"database\" right in " + settings + ", or the server's rights"
                   : "make " + folder + " and the files in it readable and writable for the daemon; a " +
                         "damaged file may be moved away, and after a restart of the daemon: nuboindex rebuild";
    case DB_UNWRITABLE:
        return IsOnServer()
                   ? "let the role that " + settings + " names change the tables"
                   : "make " + folder + " and the files in it writable; is its disk mounted read-only?";
    }
    return "";
}

static std::string TextFor(DbFault fault, const std::string &which, const std::string &reason)
{
    return which + (fault == DB_UNWRITABLE ? " cannot be written: " : " cannot be opened: ") + reason;
}

static void MissedCheck(Findings &findings)
{
    size_t missed = MissedCount();
    if (missed > 0)
        findings.push_back({SUBJECT, FINDING_FAULT,
                            std::to_string(missed) + (missed == 1 ? " change has" : " changes have") +
                                " not reached a database yet",
                            "once the databases can be written: nuboindex retry"});
}

void DatabasesCheck(Findings &findings)
{
    std::string reasons[DB_COUNT];
    DbFault faults[DB_COUNT];
    for (DbName name : {DB_MEDIA, DB_PHOTO})
        faults[name] = DbExamine(name, &reasons[name]);
    bool is_shared = faults[DB_MEDIA] == faults[DB_PHOTO] && reasons[DB_MEDIA] == reasons[DB_PHOTO];
    if (faults[DB_MEDIA] != DB_SOUND)
        findings.push_back(
            {SUBJECT, FINDING_FAULT,
             TextFor(faults[DB_MEDIA], is_shared ? "the databases" : "the media database", reasons[DB_MEDIA]),
             MendFor(faults[DB_MEDIA])});
    if (faults[DB_PHOTO] != DB_SOUND && !is_shared)
        findings.push_back({SUBJECT, FINDING_FAULT,
                            TextFor(faults[DB_PHOTO], "the photo database", reasons[DB_PHOTO]),
                            MendFor(faults[DB_PHOTO])});
    MissedCheck(findings);
}
