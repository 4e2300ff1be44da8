#include "remove.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <iterator>
#include <memory>
#include <set>
#include <utility>

#include "common/com_scope.h"
#include "common/failure.h"
#include "common/json.h"
#include "common/table.h"
#include "common/text.h"
#include "document.h"
#include "log_control.h"
#include "plan.h"
#include "plan_json.h"
#include "plan_text.h"
#include "preview/findings_places.h"
#include "receipt.h"
#include "records.h"
#include "removal.h"
#include "removal_guard.h"

namespace tools::host {

namespace {

constexpr std::size_t kShownItems = 20;  // of those that are left or wait

Json PlanJson(const preview::Plan& plan, const PlanSummary& summary) {
    Json findings = Json::array();
    for (const preview::Finding& finding : plan.findings) {
        findings.push_back(ToJson(plan, finding));
    }
    Json notCarriedOut = Json::array();
    for (const preview::Record& record : plan.records) {
        if (record.state == preview::RecordState::NotCarried) {
            notCarriedOut.push_back(ToJson(plan, record));
        }
    }
    return {{"event", "plan"},
            {"products", ProductsJson(plan, nullptr)},
            {"summary", ToJson(summary)},
            {"findings", std::move(findings)},
            {"not_carried_out", std::move(notCarriedOut)}};
}

std::wstring ItemText(const preview::Plan& plan, preview::NodeId node) {
    std::wstring text = NameOf(plan.items[node].kind).one + (L" " + plan.items.Path(node));
    if (plan.items[node].kind == preview::ItemKind::Value) {
        const std::wstring name = plan.items.ValueName(node);
        text += L" : " + (name.empty() ? L"(default)" : name);
    }
    return text + preview::ViewText(plan.items[node].view);
}

std::vector<preview::NodeId> ItemsThatCameTo(const preview::Plan& plan, const Evidence& evidence, Outcome outcome) {
    std::vector<preview::NodeId> nodes;
    for (preview::NodeId node = 0; node < plan.items.Size(); ++node) {
        if (plan.items[node].IsItem() && evidence.Of(node) == outcome) {
            nodes.push_back(node);
        }
    }
    return nodes;
}

std::wstring CountsText(const Evidence& evidence) {
    Table table({L"Items", L"Number"});
    for (std::size_t outcome = 0; outcome < kOutcomes; ++outcome) {
        const std::size_t count = evidence.Count(static_cast<Outcome>(outcome));
        if (count != 0) {
            table.Add({kOutcomeTexts[outcome], std::to_wstring(count)});
        }
    }
    return table.Text();
}

std::wstring ItemsText(const preview::Plan& plan, const Evidence& evidence, Outcome outcome, const wchar_t* what) {
    std::wstring text;
    const std::vector<preview::NodeId> nodes = ItemsThatCameTo(plan, evidence, outcome);
    for (std::size_t index = 0; index < std::min(nodes.size(), kShownItems); ++index) {
        const std::wstring reason = evidence.Reason(nodes[index]);
        text += what + Printable(ItemText(plan, nodes[index]) + (reason.empty() ? L"" : L": " + reason)) + L"\n";
    }
    if (nodes.size() > kShownItems) {
        text += L"  ... and " + std::to_wstring(nodes.size() - kShownItems) + L" more\n";
    }
    return text;
}

std::wstring ResultText(const preview::Plan& plan, const RemovalResult& result) {
    Table products({L"Product", L"Result"});
    for (std::size_t index = 0; index < plan.products.size(); ++index) {
        products.Add({plan.products[index].name, NameOf(result.states[index]).text});
    }
    std::wstring text = L"\n" + CountsText(*result.evidence);
    text += ItemsText(plan, *result.evidence, Outcome::Left, L"  left: ");
    text += L"\n" + products.Text();
    if (result.libraryFailed) {
        text += L"A removal could not be carried out in full; --log tells more.\n";
    }
    if (result.restartRequired) {
        text += L"A restart is required to finish.\n";
    }
    return text + ItemsText(plan, *result.evidence, Outcome::Waits, L"  waits for it: ");
}

Json OperationsJson(const RemovalCounts& counts) {
    Json operations = Json::object();
    for (std::size_t row = 0; row < counts.size(); ++row) {
        if (counts[row].succeeded + counts[row].failed != 0) {
            operations[ToUtf8(kOperationNames[row].element)] = {{"succeeded", counts[row].succeeded},
                                                                {"failed", counts[row].failed}};
        }
    }
    return operations;
}

Json ResultJson(const preview::Plan& plan, const RemovalResult& result) {
    Json left = Json::array();
    for (const preview::NodeId node : ItemsThatCameTo(plan, *result.evidence, Outcome::Left)) {
        Json& item = left.emplace_back(ToJson(plan, node));
        item["reason"] = ToUtf8(result.evidence->Reason(node));
    }
    Json pending = Json::array();
    std::transform(result.pending.begin(), result.pending.end(), std::back_inserter(pending), ToUtf8);
    return {{"event", "result"},
            {"products", ProductsJson(plan, &result)},
            {"items", OutcomeJson(*result.evidence)},
            {"left", std::move(left)},
            {"operations", OperationsJson(result.counts)},
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

// The findings that forbid the removal.
std::vector<preview::Finding> Refusals(const preview::Plan& plan, const Options& options) {
    std::vector<preview::Finding> refusals;
    std::copy_if(
        plan.findings.begin(), plan.findings.end(), std::back_inserter(refusals), [&](const preview::Finding& finding) {
            return finding.severity == preview::Severity::Stop &&
                   std::find(options.accepted.begin(), options.accepted.end(), finding.code) == options.accepted.end();
        });
    return refusals;
}

std::wstring CodesOf(const std::vector<preview::Finding>& findings) {
    std::set<std::string> codes;
    for (const preview::Finding& finding : findings) {
        codes.insert(finding.code);
    }
    std::wstring text;
    for (const std::string& code : codes) {
        text += (text.empty() ? L"" : L", ") + FromUtf8(code);
    }
    return text;
}

class Removal {
public:
    Removal(const Options& options, const Library& library, const RemovalLog& log, Output& out)
        : m_options(options), m_library(library), m_log(log), m_out(out), m_form(FormOf(options)) {}

    int Run() {
        const RemovalExports exports = m_library.Removal();
        const SingleRemoval single;
        Records records(m_options);
        const RemovalPlan removal = MakePlan(m_options, m_library);
        const preview::Plan plan = MakePreview(m_options, removal, m_library);
        const PlanSummary summary = Summarize(plan);
        records.RequireThatTheyStay(plan);
        ShowPlan(plan, summary);
        if (const auto refusals = Refusals(plan, m_options); !refusals.empty()) {
            records.Write(plan, summary, nullptr);
            Refuse(refusals);
        }
        if (!removal.steps.empty() && !m_options.yes && !Confirmed(m_out)) {
            return ERROR_INSTALL_USEREXIT;
        }
        const RemovalResult result = CarryOut(removal, plan, m_library, exports, m_log, *MakeView(m_form, m_out));
        ShowResult(plan, result);
        records.Write(plan, summary, &result);
        return result.ExitCode();
    }

private:
    // What the output has not told by now goes to the standard error.
    [[noreturn]] void Refuse(const std::vector<preview::Finding>& refusals) const {
        Output err(STD_ERROR_HANDLE);
        for (const preview::Finding& finding : refusals) {
            if (m_form == ViewForm::None) {
                err.WriteLine(L"stop: " + FromUtf8(finding.code) + L": " + Printable(finding.evidence));
            }
        }
        throw Failure(ERROR_INSTALL_PACKAGE_REJECTED, L"nothing was removed, for the findings " + CodesOf(refusals) +
                                                          L"; --accept CODE lets one kind pass");
    }

    void ShowPlan(const preview::Plan& plan, const PlanSummary& summary) {
        if (m_form == ViewForm::Text) {
            WritePlanHead(plan, summary, m_out);
        } else if (m_form == ViewForm::JsonLines) {
            m_out.WriteLine(ToText(PlanJson(plan, summary), -1));
        }
    }

    void ShowResult(const preview::Plan& plan, const RemovalResult& result) {
        if (m_form == ViewForm::Text && !plan.products.empty()) {
            m_out.Write(ResultText(plan, result));
        } else if (m_form == ViewForm::JsonLines) {
            m_out.WriteLine(ToText(ResultJson(plan, result), -1));
        }
    }

    const Options& m_options;
    const Library& m_library;
    const RemovalLog& m_log;
    Output& m_out;
    ViewForm m_form;
};

}  // namespace

int RunRemove(const Options& given, Output& out) {
    Options options = given;
    const RemovalLog log(options);
    const LogControl control(options.log);
    const ComScope com;
    const PlannedLibrary library(options);
    return Removal(options, library.Get(), log, out).Run();
}

}  // namespace tools::host
