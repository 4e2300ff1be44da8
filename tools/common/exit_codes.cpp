#include "common/exit_codes.h"

#include <algorithm>

#include "common/table.h"

namespace tools {

namespace {

template <typename IsWanted>
std::wstring Help(const IsWanted& isWanted) {
    Table table({L"Exit code", L"Name", L"Meaning"});
    for (const ExitCode& code : kExitCodes) {
        if (isWanted(code.number)) {
            table.Add({L"  " + std::to_wstring(code.number), code.name, code.sentence});
        }
    }
    return table.Text();
}

}  // namespace

std::wstring ExitCodesHelp(std::initializer_list<int> numbers) {
    return Help([&](int number) { return std::find(numbers.begin(), numbers.end(), number) != numbers.end(); });
}

std::wstring ExitCodesHelp() {
    return Help([](int) { return true; });
}

}  // namespace tools
