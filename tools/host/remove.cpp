#include "remove.h"

#include <windows.h>

#include <cstddef>
#include <cwctype>
#include <iterator>
#include <memory>
#include <utility>

#include "common/json.h"
#include "common/table.h"
#include "common/text.h"
#include "removal.h"
#include "removal_guard.h"
#include "remove_plan.h"

namespace tools::host {

namespace {

struct StateName {
    TargetState state;
    const char* json;
    const wchar_t* text;
};

constexpr StateName kStateNames[] = {
    {TargetState::Removed, "removed", L"removed"},
    {TargetState::AfterRestart, "after_restart", L"goes with the restart"},
    {TargetState::Present, "present", L"still installed"},
};

const StateName& NameOf(TargetState state) {
    return kStateNames[static_cast<std::size_t>(state)];
}

std::wstring PlanText(const RemovalPlan& plan) {
    if (plan.targets.empty()) {
        return L"Nothing is installed, nothing to remove.\n";
    }
    Table table({L"To remove", L"Catalogue", L"Installed"});
    for (const RemovalTarget& target : plan.targets) {
        table.Add({target.product.name, CatalogueName(target.product.type), target.installed ? L"yes" : L"no"});
    }
    std::wstring text = table.Text();
    for (const std::wstring& note : plan.notes) {
        text += Printable(note) + L"\n";
    }
    return text;
}

Json PlanJson(const RemovalPlan& plan) {
    Json products = Json::array();
    for (const RemovalTarget& target : plan.targets) {
        products.push_back({{"name", ToUtf8(target.product.name)},
                            {"catalogue", ToUtf8(CatalogueName(target.product.type))},
                            {"installed", target.installed}});
    }
    Json notes = Json::array();
    for (const std::wstring& note : plan.notes) {
        notes.push_back(ToUtf8(note));
    }
    return {{"event", "plan"}, {"products", std::move(products)}, {"notes", std::move(notes)}};
}

std::wstring OperationsText(const RemovalCounts& counts) {
    Table table({L"Operations", L"Done", L"Failed"});
    bool any = false;
    for (std::size_t row = 0; row < counts.size(); ++row) {
        if (counts[row].succeeded + counts[row].failed != 0) {
            any = true;
            table.Add({kOperationNames[row].text, std::to_wstring(counts[row].succeeded),
                       std::to_wstring(counts[row].failed)});
        }
    }
    return any ? table.Text() : L"There was nothing to carry out.\n";
}

std::wstring ResultText(const RemovalPlan& plan, const RemovalResult& result) {
    if (plan.targets.empty()) {
        return {};
    }
    Table targets({L"Product", L"Result"});
    for (std::size_t target = 0; target < plan.targets.size(); ++target) {
        targets.Add({plan.targets[target].product.name, NameOf(result.states[target]).text});
    }
    std::wstring text = L"\n" + OperationsText(result.counts) + L"\n" + targets.Text();
    if (result.libraryFailed) {
        text += L"A removal could not be carried out in full; --log tells more.\n";
    }
    if (result.restartRequired) {
        text += L"A restart is required to finish.\n";
    }
    for (const std::wstring& path : result.pending) {
        text += L"  waits for it: " + Printable(path) + L"\n";
    }
    return text;
}

Json ResultJson(const RemovalPlan& plan, const RemovalResult& result) {
    Json products = Json::array();
    for (std::size_t target = 0; target < plan.targets.size(); ++target) {
        const Product& product = plan.targets[target].product;
        products.push_back({{"name", ToUtf8(product.name)},
                            {"catalogue", ToUtf8(CatalogueName(product.type))},
                            {"state", NameOf(result.states[target]).json}});
    }
    Json operations = Json::object();
    for (std::size_t row = 0; row < result.counts.size(); ++row) {
        const OperationCounts& counts = result.counts[row];
        if (counts.succeeded + counts.failed != 0) {
            operations[ToUtf8(kOperationNames[row].element)] = {{"succeeded", counts.succeeded},
                                                                {"failed", counts.failed}};
        }
    }
    Json pending = Json::array();
    for (const std::wstring& path : result.pending) {
        pending.push_back(ToUtf8(path));
    }
    return {{"event", "result"},
            {"products", std::move(products)},
            {"operations", std::move(operations)},
            {"restart_required", result.restartRequired},
            {"pending_deletions", std::move(pending)},
            {"exit_code", result.ExitCode()}};
}

// Only a person at a console can say yes.
bool Confirmed(Output& out) {
    const HANDLE console = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (!::GetConsoleMode(console, &mode)) {
        out.WriteLine(L"Not confirmed: without a console use --yes.");
        return false;
    }
    out.Write(L"Go on? [y/N] ");
    wchar_t answer[80] = {};
    DWORD read = 0;
    return ::ReadConsoleW(console, answer, static_cast<DWORD>(std::size(answer)), &read, nullptr) && read > 0 &&
           std::towlower(answer[0]) == L'y';
}

ViewForm FormOf(const Options& options) {
    if (options.quiet) {
        return ViewForm::None;
    }
    return options.json ? ViewForm::JsonLines : ViewForm::Text;
}

// The plan or the result, in the form asked for.
template <typename TextOf, typename JsonOf>
void Write(ViewForm form, Output& out, const TextOf& textOf, const JsonOf& jsonOf) {
    if (form == ViewForm::Text) {
        out.Write(textOf());
    } else if (form == ViewForm::JsonLines) {
        out.WriteLine(ToText(jsonOf(), -1));
    }
}

}  // namespace

int RunRemove(const Options& options, const Library& library, Output& out) {
    const RemovalExports exports = library.Removal();
    const SingleRemoval single;
    const RemovalPlan plan = MakePlan(options, library);
    const ViewForm form = FormOf(options);
    Write(
        form, out, [&] { return PlanText(plan); }, [&] { return PlanJson(plan); });
    if (!plan.steps.empty() && !options.yes && !Confirmed(out)) {
        return ERROR_INSTALL_USEREXIT;
    }
    const std::unique_ptr<RemovalView> view = MakeView(form, out);
    const RemovalResult result = CarryOut(plan, library, exports, *view);
    Write(
        form, out, [&] { return ResultText(plan, result); }, [&] { return ResultJson(plan, result); });
    return result.ExitCode();
}

}  // namespace tools::host
