#include "watch/unfinished.h"

#include "paths_below.h"

// Takes the entries at and below the path for which `wanted` holds.
template <typename Wanted, typename Found>
static void EntriesTake(UnfinishedList &list, const std::string &path, Wanted wanted, Found found)
{
    auto entry = list.lower_bound(path);
    while (entry != list.end() && entry->first.starts_with(path)) {
        bool is_taken = IsAtOrBelow(entry->first, path) && wanted(entry->second);
        if (is_taken)
            found(entry->first, entry->second);
        entry = is_taken ? list.erase(entry) : std::next(entry);
    }
}

std::vector<std::string> UnfinishedDeletes(UnfinishedList &list, const std::string &path)
{
    std::vector<std::string> paths;
    EntriesTake(
        list, path, [](const Unfinished &entry) { return entry.old_path.empty(); },
        [&](const std::string &found, const Unfinished &) { paths.push_back(found); });
    return paths;
}

std::vector<std::pair<std::string, std::string>> UnfinishedRenames(UnfinishedList &list,
                                                                   const std::string &path)
{
    std::vector<std::pair<std::string, std::string>> renames;
    EntriesTake(
        list, path, [](const Unfinished &entry) { return !entry.old_path.empty(); },
        [&](const std::string &found, const Unfinished &entry) {
            renames.emplace_back(found, entry.old_path);
        });
    return renames;
}

void UnfinishedForget(UnfinishedList &list, uint64_t batch)
{
    std::erase_if(list, [batch](const auto &entry) { return entry.second.batch <= batch; });
}
