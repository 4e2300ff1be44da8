#include "plan_json.h"

#include <windows.h>

#include "library.h"
#include "machine.h"

namespace tools::host {

using preview::Item;
using preview::ItemKind;

namespace {

// Text that goes out in blocks, so that no plan is ever held as a whole.
class Stream {
public:
    explicit Stream(Output& out) : m_out(out) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { m_out.Write(m_text); }

    void Add(std::wstring_view text) {
        constexpr std::size_t kBlock = 0x4000;
        m_text += text;
        if (m_text.size() >= kBlock) {
            m_out.Write(m_text);
            m_text.clear();
        }
    }

private:
    Output& m_out;
    std::wstring m_text;
};

// The elements of an array, one a line.
class Elements {
public:
    Elements(Stream& stream, const wchar_t* name) : m_stream(stream) {
        m_stream.Add(L",\n\"");
        m_stream.Add(name);
        m_stream.Add(L"\":[");
    }
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;
    ~Elements() { m_stream.Add(L"]"); }

    void Add(const Json& element) {
        m_stream.Add(m_first ? L"\n" : L",\n");
        m_stream.Add(ToText(element, -1));
        m_first = false;
    }

private:
    Stream& m_stream;
    bool m_first = true;
};

void AddMember(Stream& stream, const wchar_t* name, const Json& value) {
    stream.Add(L",\n\"");
    stream.Add(name);
    stream.Add(L"\":");
    stream.Add(ToText(value, -1));
}

Json Holders(const std::vector<preview::Holder>& holders) {
    Json list = Json::array();
    for (const preview::Holder& holder : holders) {
        list.push_back({{"process", holder.process}, {"name", ToUtf8(holder.name)}});
    }
    return list;
}

Json ToJson(const preview::PlannedProduct& product) {
    return {{"name", ToUtf8(product.name)},
            {"catalogue", ToUtf8(CatalogueName(product.type))},
            {"installed", product.installed},
            {"named", product.named}};
}

}  // namespace

Json MachineJson() {
    const Machine machine = ThisMachine();
    return {{"name", ToUtf8(machine.name)},
            {"system", ToUtf8(machine.system)},
            {"views", machine.views},
            {"account", ToUtf8(machine.account)},
            {"is_system_account", machine.isSystemAccount},
            {"profile", ToUtf8(machine.profile)}};
}

Json ToJson(const preview::Plan&, const preview::Record& record) {
    Json json = {{"product", record.product},
                 {"operation", ToUtf8(record.place.opCode)},
                 {"version", ToUtf8(record.place.version)},
                 {"section", record.place.section},
                 {"element", record.place.element},
                 {"text", ToUtf8(record.text)},
                 {"state", NameOf(record.state)}};
    if (record.coveredBy != preview::kNoRecord) {
        json["covered_by"] = record.coveredBy;
    }
    if (!record.reason.empty()) {
        json["reason"] = ToUtf8(record.reason);
    }
    return json;
}

Json ToJson(const preview::Plan& plan, preview::NodeId node) {
    const Item& item = plan.items[node];
    Json json = {{"record", item.record},
                 {"kind", NameOf(item.kind).json},
                 {"path", ToUtf8(plan.items.Path(node))},
                 {"state", NameOf(item.state)}};
    switch (item.kind) {
        case ItemKind::Value:
        case ItemKind::Tool:
        case ItemKind::LibraryMethod:
            json["name"] = ToUtf8(plan.items.ValueName(node));
            break;
        case ItemKind::Process:
            json["process"] = item.size;
            break;
        case ItemKind::Key:
            json["values"] = item.size;
            break;
        case ItemKind::File:
        case ItemKind::Shortcut:
            json["size"] = item.size;
            break;
        default:
            break;
    }
    if (item.view != preview::View::None) {
        json["view"] = item.view == preview::View::Bits32 ? 32 : 64;
    }
    if (item.isLink) {
        json["link"] = true;
    }
    if (item.isPending) {
        json["pending"] = true;
    }
    if (const auto holders = plan.holders.find(node); holders != plan.holders.end()) {
        json["holders"] = Holders(holders->second);
    }
    return json;
}

Json ToJson(const preview::Plan& plan, const preview::Finding& finding) {
    Json json = {{"code", finding.code}, {"severity", NameOf(finding.severity)}};
    if (finding.item != preview::kNoNode) {
        json["item"] = plan.items.Ordinal(finding.item);
    }
    if (finding.record != preview::kNoRecord) {
        json["record"] = finding.record;
    }
    json["evidence"] = ToUtf8(finding.evidence);
    return json;
}

Json ToJson(const PlanSummary& summary) {
    Json json = Json::object();
    for (std::size_t kind = static_cast<std::size_t>(ItemKind::File); kind < summary.present.size(); ++kind) {
        json[NameOf(static_cast<ItemKind>(kind)).json] = summary.present[kind];
    }
    json["bytes"] = summary.bytes;
    json["missing"] = summary.missing;
    json["waiting"] = summary.waiting;
    json["kept"] = summary.kept;
    json["restart"] = summary.restart;
    return json;
}

void WritePlanJson(const preview::Plan& plan, const PlanSummary& summary, Output& out) {
    Stream stream(out);
    stream.Add(L"{\"format\":1");
    AddMember(stream, L"machine", MachineJson());
    AddMember(stream, L"document", {{"source", ToUtf8(plan.document.file)}, {"sha256", plan.document.sha256}});
    {
        Elements products(stream, L"products");
        for (const preview::PlannedProduct& product : plan.products) {
            products.Add(ToJson(product));
        }
    }
    {
        Elements records(stream, L"records");
        for (const preview::Record& record : plan.records) {
            records.Add(ToJson(plan, record));
        }
    }
    {
        Elements items(stream, L"items");
        for (preview::NodeId node = 0; node < plan.items.Size(); ++node) {
            if (plan.items[node].IsItem()) {
                items.Add(ToJson(plan, node));
            }
        }
    }
    {
        Elements findings(stream, L"findings");
        for (const preview::Finding& finding : plan.findings) {
            findings.Add(ToJson(plan, finding));
        }
    }
    {
        Elements notes(stream, L"notes");
        for (const std::wstring& note : plan.notes) {
            notes.Add(ToUtf8(note));
        }
    }
    AddMember(stream, L"summary", ToJson(summary));
    AddMember(stream, L"exit_code", summary.ExitCode());
    stream.Add(L"}\n");
}

}  // namespace tools::host
