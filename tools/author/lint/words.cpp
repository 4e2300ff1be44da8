#include "words.h"

#include <algorithm>
#include <numeric>

#include "foundation/text.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

// clang-format off
const std::vector<OperationWords> kOperationWords = {
    {OPERATION_DEL_FILE,               false, {kName},             {kPath}},
    {OPERATION_DEL_FOLDER,             false, {},                  {kPath, kName}},
    {OPERATION_DEL_SHORTCUT,           false, {kPath, kTargetName}, {kRelShortcut, kRelTarget}},
    {OPERATION_DEL_REGKEY,             false, {kName},             {kX32View, kDataStr, kCompleteStr}},
    {OPERATION_DEL_REGVALUE,           false, {kKeyPath, kName},   {kRelName, kX32View}},
    {OPERATION_KILL_PROCESS,           false, {kTargetName},       {}},
    {OPERATION_EXEC_TOOL,              false, {kToolName},
        {kPath, kCmdLine, kWait, kShowWindow, kDisableWow64Redir, kOs}},
    {OPERATION_EXEC_TOOL,              true,  {kModule, kMethodName},
        {kPath, kOs, kDisableWow64Redir, kSleepAfterExec}},
    {OPERATION_DISABLE_DRIVER,         false, {kName},             {}},
    {OPERATION_DISABLE_SERVICE,        false, {kName},             {}},
    {OPERATION_DISABLEANDSTOP_DRIVER,  false, {kName},             {}},
    {OPERATION_DISABLEANDSTOP_SERVICE, false, {kName},             {}},
};
// clang-format on

// Insertions, removals, replacements and exchanges of neighbours that lead from one word to the other.
std::size_t Distance(const std::wstring& from, const std::wstring& to) {
    std::vector<std::vector<std::size_t>> costs(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    std::iota(costs[0].begin(), costs[0].end(), std::size_t{0});
    for (std::size_t row = 1; row <= from.size(); ++row) {
        costs[row][0] = row;
        for (std::size_t column = 1; column <= to.size(); ++column) {
            const bool same = from[row - 1] == to[column - 1];
            std::size_t& cost = costs[row][column];
            cost = std::min(
                {costs[row - 1][column] + 1, costs[row][column - 1] + 1, costs[row - 1][column - 1] + (same ? 0 : 1)});
            if (row > 1 && column > 1 && from[row - 1] == to[column - 2] && from[row - 2] == to[column - 1]) {
                cost = std::min(cost, costs[row - 2][column - 2] + 1);
            }
        }
    }
    return costs[from.size()][to.size()];
}

}  // namespace

bool OperationWords::Reads(std::wstring_view attribute) const {
    return std::find(required.begin(), required.end(), attribute) != required.end() ||
           std::find(optional.begin(), optional.end(), attribute) != optional.end();
}

const OperationWords& WordsOf(OperationKind kind, bool callsLibrary) {
    return *std::find_if(kOperationWords.begin(), kOperationWords.end(), [&](const OperationWords& words) {
        return words.kind == kind && (kind != OPERATION_EXEC_TOOL || words.callsLibrary == callsLibrary);
    });
}

bool IsReadAnywhere(std::wstring_view attribute) {
    return attribute == kRestartRequired || EqualsBlind(attribute, kScore) || EqualsBlind(attribute, kMandatory);
}

bool IsKnownAttribute(std::wstring_view attribute) {
    return std::any_of(kOperationWords.begin(), kOperationWords.end(),
                       [attribute](const OperationWords& words) { return words.Reads(attribute); });
}

std::wstring Suggest(std::wstring_view word, const std::vector<std::wstring>& known) {
    const std::wstring wanted = LowerCase(std::wstring(word));
    const auto distance = [&wanted](const std::wstring& candidate) { return Distance(wanted, LowerCase(candidate)); };
    const auto nearest = std::min_element(
        known.begin(), known.end(),
        [&](const std::wstring& left, const std::wstring& right) { return distance(left) < distance(right); });
    if (nearest != known.end() && distance(*nearest) <= 1 + word.size() / 4) {
        return L"did you mean " + *nearest + L"?";
    }
    std::wstring all;
    for (const std::wstring& candidate : known) {
        all.append(all.empty() ? L"known are " : L", ").append(candidate);
    }
    return all;
}

std::wstring Suggest(std::wstring_view word, const OperationWords& words) {
    std::vector<std::wstring> known(words.required.begin(), words.required.end());
    known.insert(known.end(), words.optional.begin(), words.optional.end());
    known.insert(known.end(), {kScore, kMandatory, kRestartRequired});
    return Suggest(word, known);
}

bool IsOneOf(std::wstring_view text, std::initializer_list<std::wstring_view> words) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

bool IsOneOfBlind(std::wstring_view text, std::initializer_list<std::wstring_view> words) {
    return std::any_of(words.begin(), words.end(), [text](std::wstring_view word) { return EqualsBlind(text, word); });
}

}  // namespace tools::lint
