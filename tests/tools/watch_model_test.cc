// Random work on a tree that exists in memory only, a daemon of a few lines, and the real folding in between. When
// everything is quiet, the rows must be the tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "paths_below.h"
#include "watch/pending.h"

struct ModelEntry {
    bool is_folder;
    int version;  // of a file's content
    bool operator==(const ModelEntry &) const = default;
};

using ModelTree = std::map<std::string, ModelEntry>;

static constexpr char SHARE[] = "/volume1/music";

struct Model {
    std::mt19937 random;
    ModelTree tree = {{SHARE, {true, 0}}};
    ModelTree rows = {{SHARE, {true, 0}}};
    ModelTree outside;  // what was moved out, relative to its own top
    Pending pending;
    std::vector<WatchRequest> queue;
    std::vector<std::string> compare;
    double now = 0;
    double executed_at = 0;
    int last_version = 0;
    std::vector<std::string> history;
};

static size_t Below(Model &model, size_t end)
{
    return model.random() % end;
}

static bool OneIn(Model &model, size_t n)
{
    return Below(model, n) == 0;
}

static void SubtreeErase(ModelTree &tree, const std::string &path)
{
    std::erase_if(tree, [&](const auto &entry) { return IsAtOrBelow(entry.first, path); });
}

static ModelTree SubtreeOf(const ModelTree &tree, const std::string &path)
{
    ModelTree subtree;
    for (const auto &[name, entry] : tree) {
        if (IsAtOrBelow(name, path))
            subtree[name.substr(path.size())] = entry;
    }
    return subtree;
}

static void SubtreePut(ModelTree &tree, const std::string &path, const ModelTree &subtree)
{
    for (const auto &[name, entry] : subtree)
        tree[path + name] = entry;
}

// What the daemon does with a request, as far as the media database shows it.
static void Execute(Model &model, const WatchRequest &request)
{
    auto entry = model.tree.find(request.path);
    bool exists = entry != model.tree.end();
    bool is_folder = exists && entry->second.is_folder;
    switch (request.letter) {
    case 'a':
        if (exists)
            model.rows[request.path] = entry->second;
        break;
    case 'A':
        SubtreePut(model.rows, request.path, SubtreeOf(model.tree, request.path));
        break;
    case 'd':
        if (!exists && model.rows.count(request.path) && !model.rows[request.path].is_folder)
            model.rows.erase(request.path);
        break;
    case 'D':
        if (!exists)
            SubtreeErase(model.rows, request.path);
        break;
    case 'N':
        if (is_folder) {
            SubtreeErase(model.rows, request.old_path);
            SubtreePut(model.rows, request.path, SubtreeOf(model.tree, request.path));
            break;
        }
        if (!model.tree.count(request.old_path) && model.rows.count(request.old_path) &&
            !model.rows[request.old_path].is_folder)
            model.rows.erase(request.old_path);
        if (exists)
            model.rows[request.path] = entry->second;
        break;
    default:
        ADD_FAILURE() << request.letter;
    }
    model.history.push_back(std::string("  executed ") + request.letter + ' ' + request.path + ' ' +
                            request.old_path);
}

// The daemon takes a batch; afterwards what is to be compared is.
static void BatchExecute(Model &model)
{
    for (const WatchRequest &request : model.queue)
        Execute(model, request);
    model.queue.clear();
    model.executed_at = model.now;
    PendingExecuted(model.pending, model.pending.batch);
    for (const std::string &folder : model.compare) {
        model.history.push_back("  compared " + folder);
        SubtreeErase(model.rows, folder == "/" ? "" : folder);
        SubtreePut(model.rows, folder == "/" ? "" : folder, SubtreeOf(model.tree, folder == "/" ? "" : folder));
    }
    model.compare.clear();
}

static void Advance(Model &model, double seconds)
{
    model.now += seconds;
    PendingDue due = PendingTakeDue(model.pending, model.now);
    for (const WatchRequest &request : due.requests)
        model.history.push_back(std::string("  told ") + request.letter + ' ' + request.path + ' ' +
                                request.old_path);
    model.queue.insert(model.queue.end(), due.requests.begin(), due.requests.end());
    model.compare.insert(model.compare.end(), due.compare.begin(), due.compare.end());
    if (model.now - model.executed_at > 12 && OneIn(model, 3))
        BatchExecute(model);
}

static std::string AnyOf(Model &model, bool is_folder)
{
    std::vector<std::string> paths;
    for (const auto &[path, entry] : model.tree) {
        if (entry.is_folder == is_folder)
            paths.push_back(path);
    }
    return paths.empty() ? "" : paths[Below(model, paths.size())];
}

// Few names, so that they come back again and again, as files and as folders.
static std::string AnyName(Model &model)
{
    static constexpr const char *names[] = {"a.mp3", "b.mp3", "c.mp3", "d", "e", "x:y", "f.mp3"};
    return AnyOf(model, true) + '/' + names[Below(model, std::size(names))];
}

static void Note(Model &model, const std::string &what)
{
    model.history.push_back(std::to_string(model.now) + ' ' + what);
}

static void FileMake(Model &model)
{
    std::string path = AnyName(model);
    auto entry = model.tree.find(path);
    if (entry != model.tree.end() && entry->second.is_folder)
        return;
    bool is_new = entry == model.tree.end();
    Note(model, "write " + path);
    model.tree[path] = {false, ++model.last_version};
    if (is_new)
        PendingCreated(model.pending, path, false, false, model.now);
    if (OneIn(model, 4))
        Advance(model, 0.7);
    model.tree[path] = {false, ++model.last_version};
    PendingWritten(model.pending, path, model.now);
}

static void FolderMake(Model &model)
{
    std::string path = AnyName(model);
    if (model.tree.count(path))
        return;
    Note(model, "mkdir " + path);
    model.tree[path] = {true, 0};
    PendingCreated(model.pending, path, true, false, model.now);
}

static void FileRemove(Model &model)
{
    std::string path = AnyOf(model, false);
    if (path.empty())
        return;
    Note(model, "rm " + path);
    model.tree.erase(path);
    PendingGone(model.pending, path, false, model.now);
}

// From the bottom up, as rm does it.
static void TreeRemove(Model &model)
{
    std::string path = AnyOf(model, true);
    if (path == SHARE)
        return;
    Note(model, "rm -r " + path);
    ModelTree subtree = SubtreeOf(model.tree, path);
    for (auto entry = subtree.rbegin(); entry != subtree.rend(); entry++) {
        model.tree.erase(path + entry->first);
        PendingGone(model.pending, path + entry->first, entry->second.is_folder, model.now);
        if (OneIn(model, 10))
            Advance(model, 0.5);
    }
}

static bool CanReplace(const Model &model, const std::string &path, const ModelEntry &entry)
{
    auto target = model.tree.find(path);
    if (target == model.tree.end())
        return true;
    return target->second.is_folder == entry.is_folder &&
           (!entry.is_folder || SubtreeOf(model.tree, path).size() == 1);
}

static void Move(Model &model)
{
    std::string old_path = AnyOf(model, OneIn(model, 2));
    std::string new_path = AnyName(model);
    if (old_path.empty() || old_path == SHARE || IsAtOrBelow(new_path, old_path))
        return;
    ModelEntry entry = model.tree[old_path];
    if (!CanReplace(model, new_path, entry))
        return;
    Note(model, "mv " + old_path + ' ' + new_path);
    ModelTree subtree = SubtreeOf(model.tree, old_path);
    SubtreeErase(model.tree, old_path);
    SubtreePut(model.tree, new_path, subtree);
    PendingMoved(model.pending, {new_path, old_path, entry.is_folder}, model.now);
}

static void MoveOut(Model &model)
{
    std::string path = AnyOf(model, OneIn(model, 2));
    if (path.empty() || path == SHARE)
        return;
    Note(model, "mv out " + path);
    bool is_folder = model.tree[path].is_folder;
    model.outside = SubtreeOf(model.tree, path);
    SubtreeErase(model.tree, path);
    PendingGone(model.pending, path, is_folder, model.now);
}

static void MoveIn(Model &model)
{
    std::string path = AnyName(model);
    if (model.outside.empty() || model.tree.count(path))
        return;
    Note(model, "mv in " + path);
    SubtreePut(model.tree, path, model.outside);
    PendingCreated(model.pending, path, model.outside[""].is_folder, true, model.now);
    model.outside.clear();
}

static Look ModelLook(const Model &model, const std::string &path)
{
    auto entry = model.tree.find(path);
    if (entry == model.tree.end())
        return {LOOK_NOTHING, false, false, 0};
    return {entry->second.is_folder ? LOOK_FOLDER : LOOK_FILE, false, false, entry->second.version};
}

static void ModelStart(Model &model, unsigned seed)
{
    model.random.seed(seed);
    model.pending.world = {
        [&model](const std::string &path) { return ModelLook(model, path); },
        [&model](const std::string &path, size_t limit) {
            return SubtreeOf(model.tree, path).size() > limit + 1;
        },
        [](const std::string &) { return true; },
        [](const PendingRename &rename) {
            return (rename.new_path + rename.old_path).find(':') == std::string::npos;
        },
        [](const std::string &path) { return IsAtOrBelow(path, SHARE); },
    };
    if (seed % 3 == 0)
        model.pending.limits.nodes = 20;  // memory is short
    if (seed % 4 == 0)
        model.pending.limits.burst = 3;
}

static std::string TreeText(const ModelTree &tree)
{
    std::string text;
    for (const auto &[path, entry] : tree)
        text += path + (entry.is_folder ? "/" : " " + std::to_string(entry.version)) + '\n';
    return text;
}

static bool ModelRun(unsigned seed)
{
    static constexpr int OPERATIONS = 300;
    static void (*const operations[])(Model &) = {FileMake,   FileMake,   FileMake, FolderMake,
                                                  FolderMake, FileRemove, Move,     TreeRemove,
                                                  Move,       Move,       MoveOut,  MoveIn};
    Model model;
    ModelStart(model, seed);
    for (int i = 0; i < OPERATIONS; i++) {
        operations[Below(model, std::size(operations))](model);
        if (OneIn(model, 2))
            Advance(model, static_cast<double>(Below(model, 40)) / 10);
    }
    for (int i = 0; i < 100; i++)
        Advance(model, 1);
    BatchExecute(model);
    EXPECT_TRUE(PendingIsEmpty(model.pending)) << "seed " << seed;
    if (model.rows == model.tree)
        return true;
    std::string history;
    for (const std::string &line : model.history)
        history += line + '\n';
    ADD_FAILURE() << "seed " << seed << "\n"
                  << history << "\ntree\n"
                  << TreeText(model.tree) << "\nrows\n"
                  << TreeText(model.rows);
    return false;
}

TEST(WatchModel, WhenAllIsQuietTheRowsAreTheTree)
{
    for (unsigned seed = 1; seed <= 500; seed++)
        ASSERT_TRUE(ModelRun(seed));
}
