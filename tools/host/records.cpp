#include "records.h"

#include "common/failure.h"
#include "preview/findings_places.h"
#include "receipt.h"
#include "report.h"

namespace tools::host {

Records::Records(const Options& options) {
    ::GetSystemTime(&m_began);
    if (!options.receipt.empty()) {
        m_receipt.emplace(options.receipt);
    }
    if (!options.report.empty()) {
        m_report.emplace(options.report);
    }
}

void Records::RequireThatTheyStay(const preview::Plan& plan) const {
    if (!m_receipt && !m_report) {
        return;
    }
    const preview::Effects effects(plan.items);
    for (const std::optional<KeptFile>* file : {&m_receipt, &m_report}) {
        if (*file && effects.File((*file)->Path()) != preview::kNoNode) {
            throw Failure(ERROR_INSTALL_FAILURE, (*file)->Path() + L" lies in what is removed: nothing was removed");
        }
    }
}

void Records::Write(const preview::Plan& plan, const PlanSummary& summary, const RemovalResult* result) {
    if (!m_report && (!m_receipt || result == nullptr)) {
        return;
    }
    const Json whole = WholeJson(plan, summary, result, m_began);
    if (m_receipt && result != nullptr) {
        m_receipt->Write(whole.dump(1, ' ', false, Json::error_handler_t::replace));
    }
    if (m_report) {
        m_report->Write(ReportPage(whole));
    }
}

}  // namespace tools::host
