#include "receipt.h"

#include <cstdio>
#include <utility>

#include "library.h"
#include "plan_json.h"

namespace tools::host {

namespace {

constexpr TargetStateName kStateNames[] = {
    {"removed", L"removed"},
    {"after_restart", L"goes with the restart"},
    {"present", L"not removed"},
};

Json ItemJson(const preview::Plan& plan, preview::NodeId node, const RemovalResult* result) {
    Json item = ToJson(plan, node);
    if (result != nullptr && result->evidence) {
        item["outcome"] = kOutcomeNames[static_cast<std::size_t>(result->evidence->Of(node))];
        if (const std::wstring reason = result->evidence->Reason(node); !reason.empty()) {
            item["reason"] = ToUtf8(reason);
        }
    }
    return item;
}

Json Times(const SYSTEMTIME& began) {
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    return {{"began", TimeText(began)}, {"ended", TimeText(now)}};
}

}  // namespace

const TargetStateName& NameOf(TargetState state) {
    return kStateNames[static_cast<std::size_t>(state)];
}

std::string TimeText(const SYSTEMTIME& time) {
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02uZ", time.wYear, time.wMonth, time.wDay, time.wHour,
                  time.wMinute, time.wSecond);
    return text;
}

Json OutcomeJson(const Evidence& evidence) {
    Json counts = Json::object();
    for (std::size_t outcome = 0; outcome < kOutcomes; ++outcome) {
        counts[kOutcomeNames[outcome]] = evidence.Count(static_cast<Outcome>(outcome));
    }
    return counts;
}

Json ProductsJson(const preview::Plan& plan, const RemovalResult* result) {
    Json products = Json::array();
    for (std::size_t index = 0; index < plan.products.size(); ++index) {
        const preview::PlannedProduct& product = plan.products[index];
        Json& json = products.emplace_back(Json{{"name", ToUtf8(product.name)},
                                                {"catalogue", ToUtf8(CatalogueName(product.type))},
                                                {"installed", product.installed},
                                                {"named", product.named}});
        if (result != nullptr) {
            json["state"] = NameOf(result->states[index]).json;
        }
    }
    return products;
}

Json WholeJson(const preview::Plan& plan, const PlanSummary& summary, const RemovalResult* result,
               const SYSTEMTIME& began) {
    Json whole = {{"format", 1},
                  {"version", {{"prodrm", PRODRM_VERSION}}},
                  {"times", Times(began)},
                  {"machine", MachineJson()},
                  {"document", {{"source", ToUtf8(plan.document.file)}, {"sha256", plan.document.sha256}}},
                  {"products", ProductsJson(plan, result)}};
    Json& records = whole["records"] = Json::array();
    for (const preview::Record& record : plan.records) {
        records.push_back(ToJson(plan, record));
    }
    Json& items = whole["items"] = Json::array();
    for (preview::NodeId node = 0; node < plan.items.Size(); ++node) {
        if (plan.items[node].IsItem()) {
            items.push_back(ItemJson(plan, node, result));
        }
    }
    Json& findings = whole["findings"] = Json::array();
    for (const preview::Finding& finding : plan.findings) {
        findings.push_back(ToJson(plan, finding));
    }
    Json& notes = whole["notes"] = Json::array();
    for (const std::wstring& note : plan.notes) {
        notes.push_back(ToUtf8(note));
    }
    whole["summary"] = ToJson(summary);
    if (result != nullptr && result->evidence) {
        whole["outcome"] = OutcomeJson(*result->evidence);
        whole["restart_required"] = result->ExitCode() == ERROR_SUCCESS_REBOOT_REQUIRED || result->restartRequired;
    }
    whole["exit_code"] = result != nullptr ? result->ExitCode() : summary.ExitCode();
    return whole;
}

}  // namespace tools::host
