#include "watch/pending_tree.h"

#include <algorithm>

// Cuts the first name off a path; empty at its end.
static std::string_view NameNext(std::string_view &path)
{
    while (path.starts_with('/'))
        path.remove_prefix(1);
    std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(name.size());
    return name;
}

PendingNode *PendingFind(PendingNode &root, std::string_view path)
{
    PendingNode *node = &root;
    for (std::string_view name = NameNext(path); !name.empty(); name = NameNext(path)) {
        auto child = node->children.find(name);
        if (child == node->children.end())
            return nullptr;
        node = child->second.get();
    }
    return node;
}

PendingNode &PendingMake(PendingNode &root, std::string_view path, double now, size_t &made)
{
    PendingNode *node = &root;
    for (std::string_view name = NameNext(path); !name.empty(); name = NameNext(path)) {
        auto child = node->children.find(name);
        if (child == node->children.end()) {
            child = node->children.emplace(name, std::make_unique<PendingNode>()).first;
            child->second->first = child->second->last = now;
            made++;
        }
        node = child->second.get();
    }
    return *node;
}

bool PendingIsBelowMark(const PendingNode &root, std::string_view path, unsigned mark)
{
    const PendingNode *node = &root;
    for (std::string_view name = NameNext(path); !name.empty(); name = NameNext(path)) {
        auto child = node->children.find(name);
        if (child == node->children.end())
            return false;
        node = child->second.get();
        if (node->marks & mark)
            return true;
    }
    return false;
}

std::unique_ptr<PendingNode> PendingTake(PendingNode &root, std::string_view path)
{
    std::string_view name = NameNext(path);
    auto child = root.children.find(name);
    if (name.empty() || child == root.children.end())
        return nullptr;
    std::unique_ptr<PendingNode> taken;
    if (path.empty())
        taken = std::move(child->second);
    else
        taken = PendingTake(*child->second, path);
    if (!child->second || (taken && child->second->children.empty() && !child->second->marks))
        root.children.erase(child);
    return taken;
}

size_t PendingCount(const PendingNode &node)
{
    size_t count = 1;
    for (const auto &child : node.children)
        count += PendingCount(*child.second);
    return count;
}

void PendingMerge(PendingNode &into, std::unique_ptr<PendingNode> from)
{
    into.marks |= from->marks;
    into.first = std::min(into.first, from->first);
    into.last = std::max(into.last, from->last);
    for (auto &[name, child] : from->children) {
        auto [place, is_new] = into.children.try_emplace(name, nullptr);
        if (is_new)
            place->second = std::move(child);
        else
            PendingMerge(*place->second, std::move(child));
    }
}

void PendingSum(PendingNode &node)
{
    node.marked = node.marks != 0;
    node.tree_first = node.first;
    node.tree_last = node.marks ? node.last : 0;
    node.has_open = node.marks & MARK_OPEN;
    bool is_first = !node.marks;
    for (auto &[name, child] : node.children) {
        PendingSum(*child);
        node.marked += child->marked;
        node.tree_first = is_first ? child->tree_first : std::min(node.tree_first, child->tree_first);
        node.tree_last = std::max(node.tree_last, child->tree_last);
        node.has_open |= child->has_open;
        is_first = false;
    }
}

void PendingPrune(PendingNode &node)
{
    for (auto child = node.children.begin(); child != node.children.end();) {
        PendingPrune(*child->second);
        bool is_empty = child->second->children.empty() && !child->second->marks;
        child = is_empty ? node.children.erase(child) : std::next(child);
    }
}
