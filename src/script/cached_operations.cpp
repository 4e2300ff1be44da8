#include "script/cached_operations.h"

#include <algorithm>
#include <functional>
#include <set>
#include <tuple>

namespace {

// The orders in which the lists of records are thinned.

bool Before(const DelRegOp& left, const DelRegOp& right) {
    return std::tie(left.x32view, left.keyPath, left.isValue) < std::tie(right.x32view, right.keyPath, right.isValue);
}

bool Before(const DelRegKeyDataOp& left, const DelRegKeyDataOp& right) {
    return std::tie(left.x32view, left.completeStr, left.keyPath) <
           std::tie(right.x32view, right.completeStr, right.keyPath);
}

bool Before(const DeferredOp& left, const DeferredOp& right) {
    return left.text < right.text;
}

// Keeps the first entry, and each further one that the last that stayed does not cover.
template <typename Entry, typename Covers>
void ThinNeighbours(std::vector<Entry>& list, const Covers& covers) {
    std::size_t stayed = 0;
    for (std::size_t index = 1; index < list.size(); ++index) {
        if (!covers(list[stayed], list[index]) && ++stayed != index) {
            list[stayed] = std::move(list[index]);
        }
    }
    list.resize(std::min(list.size(), stayed + 1));
}

template <typename Entry>
void SortRecords(std::vector<Entry>& list) {
    std::stable_sort(list.begin(), list.end(),
                     [](const Entry& left, const Entry& right) { return Before(left, right); });
}

void SortAndThinTexts(std::vector<std::wstring>& list) {
    std::sort(list.begin(), list.end());
    ThinNeighbours(list, std::equal_to<>());
}

template <typename Entry>
void SortAndThinEqual(std::vector<Entry>& list) {
    SortRecords(list);
    ThinNeighbours(list, std::equal_to<>());
}

// Removes each entry that equals an earlier one, wherever it stands; the order stays.
void RemoveRepeats(std::vector<ExecToolOp>& list) {
    std::set<ExecToolOp> seen;
    std::erase_if(list, [&](const ExecToolOp& tool) { return !seen.insert(tool).second; });
}

}  // namespace

bool Covers(const std::wstring& upper, const std::wstring& path) {
    return path.starts_with(upper) &&
           (path.size() == upper.size() || path[upper.size()] == L'/' || path[upper.size()] == L'\\');
}

void CachedOperations::SortAndThin() {
    SortRecords(delReg);
    // Neighbours are compared across the border of the two views as well.
    ThinNeighbours(delReg, [](const DelRegOp& stayed, const DelRegOp& entry) {
        return !stayed.isValue && Covers(stayed.keyPath, entry.keyPath);
    });
    SortAndThinTexts(delFiles);
    std::sort(delFolders.begin(), delFolders.end());
    ThinNeighbours(delFolders, &Covers);
    SortAndThinEqual(delRegKeyData);
    SortAndThinTexts(killProcesses);
    RemoveRepeats(execTools);
    SortAndThinEqual(execDllMethods);
    SortAndThinTexts(disableDrivers);
    SortAndThinEqual(disableAndStopDrivers);
}
