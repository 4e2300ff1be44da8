#include "plan_text.h"

#include <windows.h>

#include <algorithm>
#include <vector>

#include "common/text.h"
#include "common/utf8.h"
#include "library.h"
#include "machine.h"

namespace tools::host {

using preview::Item;
using preview::ItemKind;
using preview::ItemState;
using preview::kNoNode;
using preview::NodeId;

namespace {

constexpr std::size_t kShown = 10;  // of a long list

std::wstring Counted(std::size_t count, const ItemKindName& name) {
    return std::to_wstring(count) + L" " + (count == 1 ? name.one : name.many);
}

std::wstring Megabytes(std::uint64_t bytes) {
    const std::uint64_t tenths = (bytes * 10 + 0x80000) / 0x100000;
    return std::to_wstring(tenths / 10) + L"." + std::to_wstring(tenths % 10) + L" MB";
}

const wchar_t* StateText(const Item& item) {
    switch (item.state) {
        case ItemState::Missing:
            return L"  (not there)";
        case ItemState::Waiting:
            return L"  (waits for the restart)";
        case ItemState::Kept:
            return L"  (stays)";
        default:
            return item.isPending ? L"  (would go at the next restart as well)" : L"";
    }
}

class Writer {
public:
    Writer(const preview::Plan& plan, const PlanSummary& summary, bool all, Output& out)
        : m_plan(plan), m_summary(summary), m_all(all), m_out(out) {}

    void WriteHead() {
        WriteProducts();
        WriteSummary();
        WriteFindings();
        WriteRecords();
    }

    void WriteAll() {
        WriteProducts();
        WriteSummary();
        WriteFindings();
        LinkChildren();
        WriteTree();
        WriteRecords();
    }

private:
    void Line(unsigned level, const std::wstring& text) {
        m_out.WriteLine(std::wstring(std::size_t{2} * level, L' ') + Printable(text));
    }

    // Calls write(index) for the entries that are shown, then tells how many are not.
    template <typename Write>
    void List(unsigned level, std::size_t count, const Write& write) {
        const std::size_t shown = m_all || count <= kShown + 1 ? count : kShown;
        for (std::size_t index = 0; index < shown; ++index) {
            write(index);
        }
        if (shown != count) {
            Line(level, L"... and " + std::to_wstring(count - shown) + L" more (--all shows them)");
        }
    }

    void WriteProducts() {
        if (m_plan.products.empty()) {
            Line(0, L"Nothing is to be removed.");
        }
        for (const preview::PlannedProduct& product : m_plan.products) {
            Line(0, Quoted(product.name) + L" (" + CatalogueName(product.type) + L")" +
                        (product.installed ? L"" : L", not installed") +
                        (product.named ? L"" : L", goes along: nothing of its catalogue stays"));
        }
    }

    void WriteSummary() {
        std::wstring text;
        for (std::size_t kind = static_cast<std::size_t>(ItemKind::File); kind < m_summary.present.size(); ++kind) {
            const std::size_t count = m_summary.present[kind];
            if (count != 0) {
                text += (text.empty() ? L"" : L", ") + Counted(count, NameOf(static_cast<ItemKind>(kind)));
            }
            if (count != 0 && static_cast<ItemKind>(kind) == ItemKind::File) {
                text += L" (" + Megabytes(m_summary.bytes) + L")";
            }
        }
        Line(0, L"Goes: " + (text.empty() ? L"nothing" : text) + L".");
        Line(0, L"Not there: " + std::to_wstring(m_summary.missing) + L". Waits for the restart: " +
                    std::to_wstring(m_summary.waiting) + L". Stays: " + std::to_wstring(m_summary.kept) + L".");
        if (m_summary.restart) {
            Line(0, L"A restart will be asked for.");
        }
        if (m_summary.pending != 0) {
            Line(0, L"Waiting for the restart already, since an earlier removal: " +
                        std::to_wstring(m_summary.pending) + L". A product installed before it would lose them then.");
        }
        const Machine machine = ThisMachine();
        Line(0, L"The document's app_data, desktop_folder and HKCU are those of the account " + machine.account +
                    L" (" + machine.profile + L")" +
                    (machine.isSystemAccount ? L": the system's own account, and nobody else's." : L"."));
    }

    void WriteFindings() {
        for (const preview::Finding& finding : m_plan.findings) {
            Line(0, FromUtf8(NameOf(finding.severity)) + L": " + FromUtf8(finding.code) + L": " + finding.evidence);
        }
    }

    // Nodes are given in no order of the tree.
    void LinkChildren() {
        m_firstChild.assign(m_plan.items.Size(), kNoNode);
        m_nextSibling.assign(m_plan.items.Size(), kNoNode);
        for (NodeId node = m_plan.items.Size(); node-- > 0;) {
            const NodeId parent = m_plan.items[node].parent;
            if (parent != kNoNode) {
                m_nextSibling[node] = m_firstChild[parent];
                m_firstChild[parent] = node;
            }
        }
    }

    // Places are passed over: their items stand with their full paths.
    void WriteTree() {
        constexpr ItemKind kOrder[] = {
            ItemKind::Service, ItemKind::Tool,     ItemKind::LibraryMethod, ItemKind::Process, ItemKind::Folder,
            ItemKind::File,    ItemKind::Shortcut, ItemKind::RestartEntry,  ItemKind::Key,     ItemKind::Value};
        for (const ItemKind kind : kOrder) {
            std::vector<NodeId> tops;
            for (NodeId node = 0; node < m_plan.items.Size(); ++node) {
                const Item& item = m_plan.items[node];
                const bool isTop = item.parent == kNoNode || !IsAbove(item.parent);
                if (item.kind == kind && item.IsItem() && isTop) {
                    tops.push_back(node);
                }
            }
            if (!tops.empty()) {
                const std::wstring heading = NameOf(kind).many;
                m_out.WriteLine(L"");
                Line(0, static_cast<wchar_t>(::towupper(heading.front())) + heading.substr(1));
                List(1, tops.size(), [&](std::size_t index) { WriteItem(1, tops[index], true); });
            }
        }
    }

    // True of items below which others are shown.
    bool IsAbove(NodeId node) const {
        const Item& item = m_plan.items[node];
        return item.IsItem() && (item.kind == ItemKind::Folder || item.kind == ItemKind::Key);
    }

    void WriteItem(unsigned level, NodeId node, bool whole) {
        const Item& item = m_plan.items[node];
        std::wstring text = whole ? m_plan.items.Path(node) : item.name;
        if (const std::wstring name = m_plan.items.ValueName(node); !name.empty() && whole) {
            text += L"  " + name;
        }
        if (whole && item.view != preview::View::None) {
            text += item.view == preview::View::Bits32 ? L"  [32-bit view]" : L"  [64-bit view]";
        }
        if (item.kind == ItemKind::Folder) {
            text += item.isLink ? L"\\  (a link)" : L"\\";
        }
        text += StateText(item);
        if (const auto held = m_plan.holders.find(node); held != m_plan.holders.end()) {
            for (const preview::Holder& holder : held->second) {
                text += L"  (held by " + holder.name + L", " + std::to_wstring(holder.process) + L")";
            }
        }
        Line(level, text);
        std::vector<NodeId> children;
        if (IsAbove(node)) {
            for (NodeId child = m_firstChild[node]; child != kNoNode; child = m_nextSibling[child]) {
                if (m_plan.items[child].IsItem()) {
                    children.push_back(child);
                }
            }
        }
        List(level + 1, children.size(), [&](std::size_t index) { WriteItem(level + 1, children[index], false); });
    }

    void WriteRecords() {
        std::vector<const preview::Record*> records;
        for (const preview::Record& record : m_plan.records) {
            if (record.state != preview::RecordState::Runs) {
                records.push_back(&record);
            }
        }
        if (!records.empty()) {
            m_out.WriteLine(L"");
            Line(0, L"Elements of the document that do not run");
        }
        List(1, records.size(), [&](std::size_t index) { WriteRecord(*records[index]); });
        for (const std::wstring& note : m_plan.notes) {
            Line(0, L"The document: " + note);
        }
    }

    static std::wstring PlaceOf(const preview::Record& record) {
        return record.place.version + L", section " + std::to_wstring(record.place.section + 1) + L", element " +
               std::to_wstring(record.place.element + 1) + L": " + record.place.opCode + L" " + record.text;
    }

    void WriteRecord(const preview::Record& record) {
        Line(1, PlaceOf(record));
        if (record.coveredBy != preview::kNoRecord) {
            Line(2, L"covered by " + PlaceOf(m_plan.records[record.coveredBy]));
        }
        if (!record.reason.empty()) {
            Line(2, record.reason);
        }
    }

    const preview::Plan& m_plan;
    const PlanSummary& m_summary;
    bool m_all;
    Output& m_out;
    std::vector<NodeId> m_firstChild;
    std::vector<NodeId> m_nextSibling;
};

}  // namespace

void WritePlanHead(const preview::Plan& plan, const PlanSummary& summary, Output& out) {
    Writer(plan, summary, false, out).WriteHead();
}

void WritePlanText(const preview::Plan& plan, const PlanSummary& summary, bool all, Output& out) {
    Writer(plan, summary, all, out).WriteAll();
}

}  // namespace tools::host
