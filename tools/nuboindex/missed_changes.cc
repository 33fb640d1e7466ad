// Says nothing where there is nothing to say: most boxes never miss a change.
#include "missed_changes.h"

#include "nubodb/missed.h"

void MissedChangesPrint(const Output &output)
{
    size_t missed = MissedCount();
    if (missed > 0)
        output.out << "missed           " << missed << (missed == 1 ? " change" : " changes")
                   << ", made again by the next batch\n";
}

Json MissedChangesJson()
{
    return {{"changes", MissedCount()}};
}
