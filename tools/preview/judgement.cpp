#include "judgement.h"

#include <algorithm>
#include <utility>

#include "catalogues.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/registry_access.h"
#include "log_ear.h"
#include "script/CProductInstalled.h"
#include "script/vocabulary.h"

namespace preview {

namespace {

// A detection that remembers what everything came to.
class WatchedDetection : public CProductInstalled {
public:
    WatchedDetection(std::wstring script, Judgement& judgement)
        : CProductInstalled(std::move(script)), m_judgement(judgement) {}

    void Watch() {
        const LogEar ear(kError | kWarning, [this](const HeardLine& line) { Hear(line); });
        Process();
        m_judgement.messages.insert(m_judgement.messages.end(), m_heard.begin(), m_heard.end());
    }

protected:
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override {
        JudgedVersion& judged = m_judgement.versions.emplace_back();
        judged.name = Place().version;
        judged.appPath = appPath;
        judged.messages = std::exchange(m_heard, {});
        m_messages = &judged.messages;
        judged.installed = CProductInstalled::ProcessNTVersion(version, appPath);
        m_messages = &m_judgement.messages;
        return judged.installed;
    }

    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override {
        JudgedSection& judged = m_judgement.versions.back().sections.emplace_back();
        std::vector<std::wstring>* const outside = std::exchange(m_messages, &judged.messages);
        judged.passed = CProductInstalled::ProcessSection(section, appPath);
        m_messages = outside;
        m_mandatoryFailed = false;
        if (!judged.score) {
            AddUnread(section, judged);
        }
        return judged.passed;
    }

    bool ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) override {
        JudgedElement& judged = Section().elements.emplace_back();
        for (const auto& [name, value] : attributes) {
            judged.attributes.append(judged.attributes.empty() ? L"" : L"; ").append(name);
            judged.attributes.append(L" = \"").append(value).append(L"\"");
        }
        std::vector<std::wstring>* const outside = std::exchange(m_messages, &judged.reasons);
        const bool found = CProductInstalled::ExecOperation(attributes, appPath);
        m_messages = outside;
        return found;
    }

    void SectionsModeRead(const std::wstring& mode) override { m_judgement.versions.back().mandatorySections = mode; }

    void MinimumRead(const std::wstring& opCode, int minimum) override {
        Section().operation = opCode;
        Section().minimum = minimum;
    }

    void ElementJudged(const OperationAttributes&, int score, bool mandatory, bool found) override {
        JudgedElement& judged = Section().elements.back();
        judged.presence = found ? Presence::Found : Presence::NotFound;
        judged.score = score;
        judged.mandatory = mandatory;
        if (found) {
            judged.reasons.clear();
        } else if (mandatory) {
            Section().mandatoryFailed = true;
            m_mandatoryFailed = true;
        }
    }

    void SectionScored(int score) override { Section().score = score; }

private:
    JudgedSection& Section() { return m_judgement.versions.back().sections.back(); }

    void Hear(const HeardLine& line) {
        const std::wstring_view function = line.function;
        // Each absent attribute is logged, also where it is optional: that says nothing. And what a mandatory element
        // has to say at the end of its section, its section tells by itself.
        if (function.starts_with(L"CXMLHelper::") || m_mandatoryFailed) {
            return;
        }
        const bool ofNextVersion = m_messages == &m_judgement.messages && function.starts_with(L"CProductConfig::");
        (ofNextVersion ? m_heard : *m_messages).push_back(line.text);
    }

    // The nodes that a broken-off section did not come to, the one that broke it included.
    void AddUnread(IXMLDOMNode* section, JudgedSection& judged) const {
        dom::ChildList children;
        if (FAILED(children.ReadNodes(section)) || !children.HasNodes() || FAILED(children.ReadCount())) {
            return;
        }
        const long read = judged.mandatoryFailed ? Place().element + 1 : std::max(Place().element, 0L);
        for (long index = 0; index < children.Count(); ++index) {
            ComPtr<IXMLDOMNode> node;
            Bstr text;
            if (SUCCEEDED(children.Next(node)) && node && index >= read && SUCCEEDED(node->get_xml(text.Put()))) {
                judged.elements.emplace_back().attributes = text.Text();
            }
        }
    }

    Judgement& m_judgement;
    std::vector<std::wstring>* m_messages = &m_judgement.messages;
    std::vector<std::wstring> m_heard;  // of the version that is about to begin
    bool m_mandatoryFailed = false;     // in the section at hand
};

View ViewOf(REGSAM access) {
    return (access & KEY_WOW64_64KEY) != 0 && CWow64::Instance().IsWow64Process() ? View::Bits64 : View::Bits32;
}

void AddMarks(const CProductVersion& version, UninstallType type, std::vector<JudgedMark>& marks) {
    JudgedMark mark = {version.KeyPath(), version.KeyValue(), ViewOf(ReadNativeView()), version.IsInstalled()};
    marks.push_back(mark);
    REGSAM access = kReadDefaultView;
    if (type != UNINSTALL_TYPE_FOREIGN) {
        return;
    }
    const bool found = version.IsInstalled2(&access);
    if (const View view = ViewOf(kReadDefaultView); view != mark.view) {
        mark.view = view;
        mark.found = found && access == kReadDefaultView;
        marks.push_back(mark);
    }
}

}  // namespace

std::optional<Judgement> Judge(const std::wstring& name, UninstallType type, HMODULE library) {
    ActForModule(library);
    CProducts catalogue;
    if (!LoadCatalogue(type, catalogue)) {
        return std::nullopt;
    }
    const auto& products = catalogue.Products();
    const auto product =
        std::find_if(products.begin(), products.end(), [&](const CProduct& each) { return each.Name() == name; });
    if (product == products.end()) {
        return std::nullopt;
    }
    Judgement judgement;
    judgement.installed = product->IsInstalled(type);
    for (const CProductVersion& version : product->Versions()) {
        AddMarks(version, type, judgement.marks);
    }
    if (type == UNINSTALL_TYPE_FOREIGN) {
        judgement.script = product->File();
        WatchedDetection(product->File(), judgement).Watch();
    }
    return judgement;
}

}  // namespace preview
