// A folder's thumbnails. The child that decodes a photo gets two open files and, where this program may give it away,
// no power beyond them.
#include <errno.h>
#include <grp.h>
#include <string.h>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

#include "common/child.h"
#include "common/derived_file.h"
#include "common/stop_signals.h"
#include "platform/media_index.h"
#include "thumbs/thumbnail.h"

static constexpr char THUMBNAIL_KEY[] = "NUBOPHOTO:THUMB.jpg";
static constexpr ChildLimits LIMITS = {30, 1u << 30, 16u << 20};
static constexpr off_t PHOTO_SIZE_MAX = 256 << 20;
static constexpr unsigned NOBODY = 65534;

static void PowersDrop()
{
    if (geteuid() != 0)
        return;
    bool dropped = setgroups(0, nullptr) == 0 && setgid(NOBODY) == 0 && setuid(NOBODY) == 0;
    (void)dropped;  // in a container without the right to do so, the limits remain
}

static int OutputWrite(int output, const std::vector<unsigned char> &jpeg)
{
    for (size_t done = 0; done < jpeg.size();) {
        ssize_t length = write(output, jpeg.data() + done, jpeg.size() - done);
        if (length <= 0)
            return 1;
        done += static_cast<size_t>(length);
    }
    return 0;
}

// A file that shrinks while it is read ends the child, which counts as a failure.
static int ChildWork(const DerivedFile &file)
{
    PowersDrop();
    auto size = static_cast<size_t>(file.source_status.st_size);
    const void *photo = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.source, 0);
    std::vector<unsigned char> jpeg;
    if (photo == MAP_FAILED || !ThumbnailMake(photo, size, jpeg))
        return 1;
    return OutputWrite(file.output, jpeg);
}

static bool PhotoThumbnail(const std::string &photo, DerivedFile &file)
{
    if (file.source_status.st_size > PHOTO_SIZE_MAX) {
        syslog(LOG_ERR, "No thumbnail of %s: too large", photo.c_str());
        return false;
    }
    ChildResult result = ChildRun(LIMITS, [&file] { return ChildWork(file); });
    if (result == CHILD_DONE && DerivedFileFinish(file) == 0)
        return true;
    if (result != CHILD_STOPPED)
        syslog(LOG_ERR, "No thumbnail of %s: %s", photo.c_str(),
               result == CHILD_DONE ? strerror(errno) : "no picture that can be read");
    return false;
}

static void PhotoServe(const std::string &photo, ThumbnailCount &count)
{
    DerivedFile file;
    switch (DerivedFileOpen(photo, THUMBNAIL_KEY, file)) {
    case DERIVED_WANTED:
        (PhotoThumbnail(photo, file) ? count.made : count.failed)++;
        DerivedFileClose(file);
        break;
    case DERIVED_UP_TO_DATE:
        count.up_to_date++;
        break;
    case DERIVED_IMPOSSIBLE:
        syslog(LOG_ERR, "No thumbnail of %s: %m", photo.c_str());
        count.failed++;
        break;
    }
}

ThumbnailCount FolderThumbnailsMake(const std::string &folder)
{
    ThumbnailCount count = {};
    std::vector<std::string> photos;
    if (FolderFiles(folder, BlNUBOIndexIsPhotoOnWebFile, photos) < 0) {
        if (errno != ENOENT)  // it may be gone by now
            syslog(LOG_ERR, "Failed to read %s: %m", folder.c_str());
        return count;
    }
    for (const std::string &photo : photos) {
        if (IsStopWanted())
            break;
        PhotoServe(photo, count);
    }
    return count;
}
