// From single findings to what a person, or a request, says about them.
#include <algorithm>
#include <tuple>

#include "paths_below.h"
#include "sync/compare.h"

// A request for a tree adds the albums of that folder and of those inside it, but of none deeper: the folders from
// the photo share upwards are taken apart.
static bool IsFoldable(const Comparison &comparison, const std::string &folder)
{
    return !comparison.gallery.is_used || !IsAtOrBelow(comparison.gallery.root, WithoutSlash(folder));
}

static std::string NewTop(const std::unordered_set<std::string> &new_folders, const std::string &path)
{
    std::string top;
    for (std::string folder = path; !new_folders.empty() && !folder.empty(); folder = ParentOf(folder)) {
        if (new_folders.contains(folder))
            top = folder;
    }
    return top;
}

static void NewFoldersFold(Comparison &comparison)
{
    std::unordered_set<std::string> new_folders;
    for (const SyncFinding &finding : comparison.findings) {
        if (finding.sign == '+' && finding.is_folder && IsFoldable(comparison, finding.path) &&
            !HasRows(comparison.rows, finding.path))
            new_folders.insert(finding.path);
    }
    for (SyncFinding &finding : comparison.findings) {
        std::string top = finding.sign == '+' ? NewTop(new_folders, finding.path) : "";
        if (top.empty())
            continue;
        finding.top = top;
        finding.cures = (finding.cures & ~CURE_SINGLE) | CURE_TREE;
    }
}

// A folder is followed by what is in it, which the order of bytes would part: "A", "A-B", "A/c".
static bool PathComesBefore(const std::string &a, const std::string &b)
{
    auto rank = [](char byte) {
        return byte == '/' ? 0 : static_cast<int>(static_cast<unsigned char>(byte)) + 1;
    };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [rank](char x, char y) { return rank(x) < rank(y); });
}

static bool IsSameTrouble(const SyncFinding &a, const SyncFinding &b)
{
    return a.path == b.path && (a.sign == '-') == (b.sign == '-') && a.top == b.top;
}

void FindingsFold(Comparison &comparison)
{
    NewFoldersFold(comparison);
    auto &findings = comparison.findings;
    std::sort(findings.begin(), findings.end(), [](const SyncFinding &a, const SyncFinding &b) {
        if (a.path != b.path)
            return PathComesBefore(a.path, b.path);
        return std::tie(a.sign, a.top) < std::tie(b.sign, b.top);
    });
    size_t kept = 0;
    for (size_t i = 0; i < findings.size(); i++) {
        if (kept > 0 && IsSameTrouble(findings[kept - 1], findings[i])) {
            SyncFinding &first = findings[kept - 1];
            first.cures |= findings[i].cures;
            first.is_folder = first.is_folder || findings[i].is_folder;
            if (first.sign != findings[i].sign)
                first.sign = '~';
            continue;
        }
        if (kept != i)
            findings[kept] = std::move(findings[i]);
        kept++;
    }
    findings.resize(kept);
}
