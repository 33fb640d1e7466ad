// What the doctor finds on a real box. Every fault is made, found, mended as it says, and gone.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "system/box.h"
#include "system/rows.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

static constexpr char MEDIA_DATABASE[] = "/var/lib/nubo/media.db";

struct Diagnosis {
    int status;     // the exit status
    Json findings;  // faults and notes
};

static Diagnosis DiagnosisOf(const Finished &finished)
{
    EXPECT_TRUE(WIFEXITED(finished.status));
    // A failed look at a database is in the log, not on the error stream.
    Json findings = Json::parse(finished.output, nullptr, false);
    EXPECT_TRUE(findings.is_array()) << finished.output;
    return {WEXITSTATUS(finished.status), findings.is_array() ? findings : Json::array()};
}

static Diagnosis Doctor()
{
    return DiagnosisOf(ProgramRun({"nuboindex", "doctor", "--json"}));
}

static std::string TextOf(const Diagnosis &diagnosis)
{
    return diagnosis.findings.dump(1);
}

// The finding whose text holds the words; null without one.
static Json Found(const Diagnosis &diagnosis, const std::string &words)
{
    for (const Json &finding : diagnosis.findings) {
        if (finding.at("text").get<std::string>().find(words) != std::string::npos)
            return finding;
    }
    return nullptr;
}

static ::testing::AssertionResult IsSound()
{
    Diagnosis diagnosis = Doctor();
    if (diagnosis.status == 0 && diagnosis.findings.empty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << TextOf(diagnosis);
}

// One fault, and nothing else; its mend.
static std::string OnlyFault(const std::string &words)
{
    Diagnosis diagnosis = Doctor();
    EXPECT_EQ(diagnosis.status, 1);
    Json finding = Found(diagnosis, words);
    EXPECT_TRUE(finding.is_object() && diagnosis.findings.size() == 1) << words << TextOf(diagnosis);
    return finding.is_object() ? finding.value("mend", "") : "";
}

static void ShellRun(const std::string &command)
{
    Finished finished = ProgramRun({"sh", "-c", command});
    EXPECT_EQ(finished.status, 0) << command << finished.output;
}

struct DoctorCommand : testing::Test {
    pid_t daemon = 0;

    void SetUp() override
    {
        daemon = DaemonStart();
        DaemonSettle(daemon);
        ASSERT_TRUE(IsSound());
    }
};

// The same tests, where the engine is a matter of files.
struct SqliteDoctorCommand : DoctorCommand {
};

// A busy machine takes its time to halt a process.
static void Halt(pid_t daemon)
{
    kill(daemon, SIGSTOP);
    std::string stat = "/proc/" + std::to_string(daemon) + "/stat";
    for (double end = Clock() + 30; FileRead(stat).find(") T ") == std::string::npos && Clock() < end;)
        usleep(1000);
}

TEST_F(DoctorCommand, ASoundBoxIsSaidToBeSound)
{
    Finished finished = ProgramRun({"nuboindex", "doctor"});
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.output, "Nothing keeps the daemon from indexing.\n");
}

TEST_F(DoctorCommand, TellsForPeopleWhatToDo)
{
    Halt(daemon);
    Finished finished = ProgramRun({"nuboindex", "doctor"});
    EXPECT_EQ(WEXITSTATUS(finished.status), 1);
    EXPECT_EQ(finished.output, "daemon    the daemon was halted\n"
                               "          -> kill -CONT " +
                                   std::to_string(daemon) + "\n");
    kill(daemon, SIGCONT);
}

TEST_F(DoctorCommand, ADeadDaemon)
{
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    std::string mend = OnlyFault("the daemon is not running");
    EXPECT_TRUE(mend.starts_with("start nuboindexd")) << mend;

    FileAppend(QUEUE, "a:/volume1/music/a.mp3\n");
    (void)OnlyFault("the daemon is not running; 1 request waits for it");
    FileWrite(PID_FILE, "999999");
    FileWrite(WORK_FILE, "a:/volume1/music/a.mp3\n");
    (void)OnlyFault("the daemon is not running and has not ended in good order; its batch was interrupted; 1 ");

    daemon = DaemonLaunch();
    EXPECT_TRUE(BatchesWait());
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, AHaltedDaemon)
{
    Halt(daemon);
    ShellRun(OnlyFault("the daemon was halted"));
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, RequestsOfWhichNobodyHasTold)
{
    FileAppend(QUEUE, "a:/volume1/music/a.mp3\n");
    EXPECT_TRUE(IsSound());  // whoever wrote it may be about to
    utimbuf long_ago = {time(nullptr) - 7200, time(nullptr) - 7200};
    utime(QUEUE, &long_ago);
    std::string mend = OnlyFault("requests have waited for 2:00:0");
    ShellRun(mend);
    EXPECT_TRUE(BatchesWait());
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, AMissingLink)
{
    fs::remove("/var/services/video");
    EXPECT_EQ(OnlyFault("the link /var/services/video is missing, so the video share is not indexed"),
              "ln -s FOLDER /var/services/video (an empty folder will do)");
    ShellRun("ln -s /volume1/video /var/services/video");
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, AFolderInPlaceOfALink)
{
    fs::remove("/var/services/music");
    fs::create_directory("/var/services/music");
    (void)OnlyFault("/var/services/music is no link, so the music share is not indexed");
    ShellRun("mv /var/services/music /tmp; ln -s /volume1/music /var/services/music");
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, ALinkThatLeadsNowhere)
{
    ShellRun("ln -sfn /volume1/gone /var/services/music");
    EXPECT_NE(OnlyFault("the music share is not there: /volume1/gone: No such file").find("ln -sfn FOLDER"),
              std::string::npos);
    ShellRun("ln -sfn volume1/music /var/services/music");
    (void)OnlyFault("the music share is not there: /var/services/music holds no absolute path");
    ShellRun("ln -sfn /volume1/music /var/services/music");
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, APhotoShareThatTheDaemonDoesNotKnowAsOne)
{
    ShellRun("mkdir /tmp/pictures; ln -sfn /tmp/pictures /var/services/photo");
    (void)OnlyFault("the photo share /tmp/pictures has no place by which its photos are known");
    ShellRun("ln -sfn /volume1/photo /var/services/photo");
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, AShareWhoseDiskIsNotMounted)
{
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    FileCopy(Sample("music/favourites.m3u"), "/volume1/music/a.m3u");
    Index({"a:/volume1/music/a.m3u"});
    fs::rename("/volume1/music/a.m3u", "/volume1/a.m3u");
    daemon = DaemonStart();
    DaemonSettle(daemon);
    std::string mend =
        OnlyFault("the music share /volume1/music is empty, but there are files of it in the index");
    EXPECT_EQ(mend, "mount its disk; or, if all of it was deleted: nuboindex sync --allow-empty music");
    fs::rename("/volume1/a.m3u", "/volume1/music/a.m3u");
    EXPECT_TRUE(IsSound());

    fs::remove("/volume1/music/a.m3u");
    ShellRun(mend.substr(mend.rfind(": ") + 2));
    EXPECT_TRUE(BatchesWait());
    EXPECT_TRUE(IsSound());
}

// Runs the doctor without the right to read what others keep closed.
static Diagnosis DoctorWithoutOverride()
{
    int output = open("/tmp/diagnosis", O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    pid_t child = fork();
    if (child == 0) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2] = {};
        syscall(SYS_capset, &header, data);
        dup2(output, STDOUT_FILENO);
        execlp("nuboindex", "nuboindex", "doctor", "--json", nullptr);
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    close(output);
    return DiagnosisOf({status, FileRead("/tmp/diagnosis")});
}

TEST_F(DoctorCommand, AFolderThatCannotBeRead)
{
    fs::create_directories("/volume1/video/Secret");
    chmod("/volume1/video/Secret", 0);
    Diagnosis diagnosis = DoctorWithoutOverride();
    Json finding = Found(diagnosis, "/volume1/video/Secret cannot be read: Permission denied");
    ASSERT_TRUE(finding.is_object()) << TextOf(diagnosis);
    EXPECT_EQ(diagnosis.status, 1);
    EXPECT_EQ(finding["mend"], "give the daemon's user the right to read it");
    chmod("/volume1/video/Secret", 0755);
    diagnosis = DoctorWithoutOverride();
    EXPECT_TRUE(Found(diagnosis, "cannot be read").is_null()) << TextOf(diagnosis);
}

static constexpr char WATCH_STATE[] = "/var/run/nuboindex-watch.state";

TEST_F(DoctorCommand, AWatcherThatHasDied)
{
    FileWrite(WATCH_STATE, "pid 999999\nsource inotify\nend\n");
    (void)OnlyFault("the watcher has died, so nobody tells of changes in the shares");
    fs::remove(WATCH_STATE);
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, AWatcherThatIsDegradedOrAtItsLimit)
{
    int file = open(WATCH_STATE, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(flock(file, LOCK_EX), 0);  // as a running watcher does
    FileAppend(WATCH_STATE, "pid 2\nsource inotify\ndegraded comparing, events were lost\nend\n");
    (void)OnlyFault("the index may differ from the shares: comparing, events were lost");

    static constexpr char LIMIT[] = "7 folders are not watched: fs.inotify.max_user_watches is too small";
    FileWrite(WATCH_STATE, std::string("pid 2\nsource inotify\nlimit ") + LIMIT + "\nend\n");
    EXPECT_TRUE(OnlyFault(LIMIT).starts_with("sysctl fs.inotify.max_user_watches="));

    FileWrite(WATCH_STATE, "pid 2\nsource inotify\nend\n");
    EXPECT_TRUE(IsSound());
    close(file);
}

TEST_F(DoctorCommand, PhotosThatAreSwitchedOffAreANote)
{
    std::string settings = FileRead("/etc.defaults/nuboinfo.conf");
    FileWrite("/etc.defaults/nuboinfo.conf", "supportcinehall=\"yes\"\n");
    Diagnosis diagnosis = Doctor();
    EXPECT_EQ(diagnosis.status, 0);
    EXPECT_EQ(Found(diagnosis, "photos are switched off")["fault"], false) << TextOf(diagnosis);
    FileWrite("/etc.defaults/nuboinfo.conf", settings);
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, MissingPrograms)
{
    fs::path converter = fs::read_symlink("/usr/nubo/bin/nuboflvconv");
    fs::remove("/usr/nubo/bin/nuboflvconv");
    EXPECT_EQ(
        OnlyFault("/usr/nubo/bin/nuboflvconv is missing: videos of the photo share get no copy for browsers"),
        "install the package nuboindex-siblings");
    fs::create_symlink(converter, "/usr/nubo/bin/nuboflvconv");
    EXPECT_TRUE(IsSound());

    fs::path decoder = fs::read_symlink("/usr/bin/faad");
    fs::remove("/usr/bin/faad");
    FileWrite("/usr/bin/faad", "no program");
    (void)OnlyFault("/usr/bin/faad is no program: AAC files are listed without their play time");
    fs::remove("/usr/bin/faad");
    fs::create_symlink(decoder, "/usr/bin/faad");
    EXPECT_TRUE(IsSound());
}

TEST_F(DoctorCommand, ASiblingThatDoesNotTakeItsRequests)
{
    FileWrite("/var/spool/thumb_create.queue", "/volume1/photo/a\n");
    (void)OnlyFault("nubomkthumbd is not running: photos wait for their thumbnails");
    FileWrite("/var/run/nubomkthumbd.pid", std::to_string(getpid()));
    EXPECT_TRUE(IsSound());
}

TEST_F(SqliteDoctorCommand, ADatabaseOfANewerVersion)
{
    ShellRun(std::string("sqlite3 ") + MEDIA_DATABASE + " 'pragma user_version = 99'");
    (void)OnlyFault("the media database cannot be opened: its schema has version 99, newer than ");
}

TEST_F(SqliteDoctorCommand, ADamagedDatabase)
{
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    ShellRun("rm -f /var/lib/nubo/photo.db*; head -c 8192 /dev/urandom >/var/lib/nubo/photo.db");
    daemon = DaemonLaunch();
    std::string mend = OnlyFault("the photo database cannot be opened: ");
    EXPECT_NE(mend.find("a damaged file may be moved away"), std::string::npos) << mend;
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    ShellRun("mv /var/lib/nubo/photo.db* /tmp");
    daemon = DaemonStart();
    EXPECT_TRUE(IsSound());
}

TEST_F(SqliteDoctorCommand, ADatabaseThatCannotBeWritten)
{
    chmod(MEDIA_DATABASE, 0444);
    Diagnosis diagnosis = DoctorWithoutOverride();
    Json finding = Found(diagnosis, "the media database cannot be ");
    ASSERT_TRUE(finding.is_object()) << TextOf(diagnosis);
    EXPECT_NE(finding["mend"].get<std::string>().find("/var/lib/nubo and the files in it"), std::string::npos);
    chmod(MEDIA_DATABASE, 0644);
    diagnosis = DoctorWithoutOverride();
    EXPECT_TRUE(Found(diagnosis, "database cannot be").is_null()) << TextOf(diagnosis);
}

TEST_F(DoctorCommand, SettingsThatNameNoEngineOrNoServer)
{
    static constexpr char SETTINGS[] = "/etc/nubo/platform.conf";
    std::string settings = FileRead(SETTINGS);
    FileWrite(SETTINGS, "database = abacus\n");
    EXPECT_EQ(OnlyFault("the databases cannot be opened: no such engine: abacus"),
              "put the line right in /etc/nubo/platform.conf");
    FileWrite(SETTINGS, "database = host=/nowhere dbname=postgres\n");
    EXPECT_NE(OnlyFault("the databases cannot be opened: no connection").find("start the server"),
              std::string::npos);
    FileWrite(SETTINGS, settings);
    EXPECT_TRUE(IsSound());
}

TEST_F(SqliteDoctorCommand, ChangesThatADatabaseMissed)
{
    EXPECT_EQ(DaemonEnd(daemon, SIGTERM), 0);
    FileCopy(Sample("music/favourites.m3u"), "/volume1/music/a.m3u");
    ShellRun(std::string("rm -f ") + MEDIA_DATABASE + "*; mkdir " + MEDIA_DATABASE);
    Index({"a:/volume1/music/a.m3u"});
    fs::remove(MEDIA_DATABASE);
    daemon = DaemonStart();
    DaemonSettle(daemon);
    std::string mend = OnlyFault("1 change has not reached a database yet");
    EXPECT_EQ(mend, "once the databases can be written: nuboindex retry");
    ShellRun("nuboindex retry --wait");
    EXPECT_TRUE(IsSound());
    EXPECT_EQ(Paths("playlist"), Texts{"/volume1/music/a.m3u"});
}

TEST_F(DoctorCommand, FilesThatCouldNotBeReadAreANote)
{
    FileWrite("/volume1/music/a.wma", "<html>not found</html>\n");
    FileAppend(QUEUE, "a:/volume1/music/a.wma\n");
    kill(daemon, SIGUSR1);
    EXPECT_TRUE(BatchesWait());
    Diagnosis diagnosis = Doctor();
    EXPECT_EQ(diagnosis.status, 0);
    EXPECT_EQ(Found(diagnosis, "1 file could not be read")["fault"], false) << TextOf(diagnosis);
    Finished failures = ProgramRun({"nuboindex", "failures"});
    EXPECT_NE(failures.output.find("\t/volume1/music/a.wma\tlooks like HTML document"), std::string::npos)
        << failures.output;
    FileWrite("/volume1/music/readme.txt", "");  // or the share would be empty
    fs::remove("/volume1/music/a.wma");
    EXPECT_TRUE(IsSound());
}
