#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <iterator>
#include <string_view>
#include <utility>

#include "judgement.h"

namespace tools::host {

namespace {

constexpr wchar_t kTabSign = 0x2409;  // as the log shows a tab

// What stands between the two texts, if the whole is made so.
std::optional<std::wstring> Between(const std::wstring& text, std::wstring_view before, std::wstring_view after) {
    if (text.size() < before.size() + after.size() || !text.starts_with(before) || !text.ends_with(after)) {
        return std::nullopt;
    }
    return text.substr(before.size(), text.size() - before.size() - after.size());
}

// Parts of `Label "NAME" = NUMBER`.
std::optional<std::pair<std::wstring, long>> NameAndNumber(const std::wstring& text, std::wstring_view label) {
    constexpr std::wstring_view kEqual = L"\" = ";
    const std::size_t equal = text.rfind(kEqual);
    if (!text.starts_with(label) || equal == std::wstring::npos || equal < label.size()) {
        return std::nullopt;
    }
    return std::pair(text.substr(label.size(), equal - label.size()),
                     std::wcstol(text.c_str() + equal + kEqual.size(), nullptr, 10));
}

bool IsRegistryTest(const std::wstring& function) {
    return function == L"CProductVersion::IsInstalled" || function == L"CProductVersion::IsInstalled2";
}

// Goes through the lines of one product, whose judgement is nested as they are.
class Reader {
public:
    void Take(const LogLine& line) {
        if (IsRegistryTest(line.function)) {
            TakeRegistryTest(line.text);
        } else if (line.function == L"CProductInstalled::Process") {
            TakeProcess(line);
        } else if (line.function == L"CProductInstalled::ProcessSection") {
            TakeSection(line);
        } else if (m_element != nullptr) {
            TakeElement(line);
        } else if (m_version != nullptr) {
            TakeVersion(line);
        } else if (IsFailure(line)) {
            AddMessage(line.text);
        }
    }

    Judgement& Result() { return m_judgement; }

private:
    // A message for the report. Each absent attribute is logged, also where it is optional: that says nothing.
    static bool IsFailure(const LogLine& line) {
        return (line.level == L"ERROR" || line.level == L"WARNING") && !line.function.starts_with(L"CXMLHelper::");
    }

    void TakeRegistryTest(const std::wstring& text) {
        // failed CALL "NAME" error 0x2
        const std::size_t open = text.find(L'"');
        const std::size_t close = text.rfind(L"\" error ");
        if (open == std::wstring::npos || close == std::wstring::npos || close <= open) {
            return;
        }
        MissingMark mark = {text.substr(open + 1, close - open - 1), text.substr(close + 8)};
        if (std::find(m_judgement.missing.begin(), m_judgement.missing.end(), mark) == m_judgement.missing.end()) {
            m_judgement.missing.push_back(std::move(mark));
        }
    }

    void TakeProcess(const LogLine& line) {
        m_section = nullptr;
        m_element = nullptr;
        if (const auto name = Between(line.text, L"->ProcessVersion ", L"")) {
            m_version = &m_judgement.versions.emplace_back();
            m_version->name = *name;
        } else if (line.text.starts_with(L"<-ProcessVersion ") && m_version != nullptr) {
            m_version->installed = line.text.ends_with(L"result = true");
            m_version = nullptr;
        } else if (const auto script = Between(line.text, L"->\"", L"\"")) {
            m_judgement.script = *script;
        } else if (IsFailure(line)) {
            AddMessage(line.text);
        }
    }

    // The registry is asked twice, and complains twice.
    void AddMessage(const std::wstring& text) {
        auto& messages = m_judgement.messages;
        if (std::find(messages.begin(), messages.end(), text) == messages.end()) {
            messages.push_back(text);
        }
    }

    void TakeVersion(const LogLine& line) {
        const auto path = Between(line.text, L"app_path = \"", L"\"");
        if (path && line.function == L"CProductConfig::ProcessVersion") {
            m_version->appPath = *path;
        } else if (IsFailure(line)) {
            m_version->messages.push_back(line.text);
        }
    }

    void TakeSection(const LogLine& line) {
        if (m_version == nullptr) {
            return;
        }
        if (const auto minimum = NameAndNumber(line.text, L"Minimum Score \"")) {
            m_section = &m_version->sections.emplace_back();
            m_section->operation = minimum->first;
            m_section->minimum = minimum->second;
            m_element = nullptr;
        } else if (m_section == nullptr) {
            m_version->messages.push_back(line.text);
        } else if (const auto score = NameAndNumber(line.text, L"Score \"")) {
            m_section->score = score->second;
            m_section = nullptr;
            m_element = nullptr;
        } else if (line.text.starts_with(L"->node \"")) {
            m_element = &m_section->elements.emplace_back();
        } else if (line.text.starts_with(L"<-node \"")) {
            m_element = nullptr;
        } else if (line.text == L"The mandatory failed" && m_element != nullptr) {
            m_section->mandatoryFailed = true;
            m_element->presence = Presence::NotFound;
            m_element = nullptr;
        } else if (line.text.front() != kTabSign) {
            m_section->messages.push_back(line.text);
        }
    }

    void TakeElement(const LogLine& line) {
        if (line.function == L"CProductConfig::ExecOperation") {
            if (const auto attributes = Between(line.text, L"-> ", L"; ")) {
                m_element->attributes = *attributes;
                m_element->presence = AtFirst();
                return;
            }
        }
        const std::size_t result = line.text.rfind(L", err = ");
        if (line.function == L"CRegKeyHelper::CheckKeySearch" && result != std::wstring::npos) {
            // What was said below the key does not count: this line has the last word.
            m_element->presence = line.text.ends_with(L"_ERROR_SUCCESS") ? Presence::Found : Presence::NotFound;
        } else if (line.level == L"ERROR") {
            m_element->reasons.push_back(line.text);
            // A walk over shortcuts goes on after a failure.
            if (m_section->operation != L"del_shortcut") {
                m_element->presence = Presence::NotFound;
            }
        }
    }

    // These can be missing without a word in the log; all others tell.
    Presence AtFirst() const {
        constexpr std::wstring_view kSilent[] = {L"del_folder", L"del_shortcut", L"del_regvalue"};
        const bool silent =
            std::find(std::begin(kSilent), std::end(kSilent), m_section->operation) != std::end(kSilent);
        return silent ? Presence::Unclear : Presence::Found;
    }

    Judgement m_judgement;
    JudgedVersion* m_version = nullptr;
    JudgedSection* m_section = nullptr;
    JudgedElement* m_element = nullptr;
};

}  // namespace

std::optional<Judgement> ReadJudgement(const std::vector<LogLine>& lines, const std::wstring& name) {
    const std::wstring verdict = L"\"" + name + L"\" is installed : ";
    Reader reader;
    for (const LogLine& line : lines) {
        const bool loaded = line.function == L"CProducts::Load";
        if (line.function == L"CProduct::IsInstalled" && line.text.starts_with(verdict)) {
            reader.Result().installed = line.text.ends_with(L"true");
            return std::move(reader.Result());
        }
        if (loaded || line.function == L"CProduct::IsInstalled") {
            reader = Reader();  // what was said so far is of another product
        } else {
            reader.Take(line);
        }
    }
    return std::nullopt;
}

}  // namespace tools::host
