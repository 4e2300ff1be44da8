#include "removal_view.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <utility>

#include "common/json.h"
#include "common/text.h"

namespace tools::host {

namespace {

// A lack of memory costs the picture.
template <typename Act>
void Guarded(const Act& act) noexcept {
    try {
        act();
    } catch (const std::exception&) {
    }
}

class NoView : public RemovalView {
public:
    void ProductBegins(const std::wstring&) noexcept override {}
    void OperationsEnded(const OperationName&, bool) noexcept override {}
    void Progress(LONG) noexcept override {}
    void Ends() noexcept override {}
};

class LineView : public RemovalView {
public:
    explicit LineView(Output& out) : m_out(out) {}

    void ProductBegins(const std::wstring& name) noexcept override {
        m_out.Write(L"Removing ");
        Guarded([&] { m_out.WriteLine(Printable(name)); });
    }
    void OperationsEnded(const OperationName& operations, bool succeeded) noexcept override {
        m_out.Write(L"  ");
        m_out.Write(operations.text);
        m_out.WriteLine(succeeded ? L": done" : L": failed");
    }
    void Progress(LONG) noexcept override {}
    void Ends() noexcept override {}

private:
    Output& m_out;
};

class JsonView : public RemovalView {
public:
    explicit JsonView(Output& out) : m_out(out) {}

    void ProductBegins(const std::wstring& name) noexcept override {
        m_percent = -1;
        Write([&]() -> Json { return {{"event", "product"}, {"name", ToUtf8(name)}}; });
    }
    void OperationsEnded(const OperationName& operations, bool succeeded) noexcept override {
        Write([&]() -> Json {
            return {{"event", "operations"}, {"kind", ToUtf8(operations.element)}, {"succeeded", succeeded}};
        });
    }
    void Progress(LONG percent) noexcept override {
        if (percent != m_percent) {
            m_percent = percent;
            Write([&]() -> Json { return {{"event", "progress"}, {"percent", percent}}; });
        }
    }
    void Ends() noexcept override {}

private:
    template <typename Make>
    void Write(const Make& make) noexcept {
        Guarded([&] { m_out.WriteLine(ToText(make(), -1)); });
    }

    Output& m_out;
    LONG m_percent = -1;
};

// One line per product, drawn over and over.
class BarView : public RemovalView {
public:
    explicit BarView(Output& out) : m_out(out) {}

    void ProductBegins(const std::wstring& name) noexcept override {
        Ends();
        m_isOpen = true;
        m_percent = 0;
        m_last = L"";
        Guarded([&] { m_name = Printable(name); });
        Guarded([&] { Draw(); });
    }
    void OperationsEnded(const OperationName& operations, bool) noexcept override {
        m_last = operations.text;
        Guarded([&] { Draw(); });
    }
    void Progress(LONG percent) noexcept override {
        const LONG shown = std::exchange(m_percent, percent);
        if (m_isOpen && shown != percent) {
            Guarded([&] { Draw(); });
        }
    }
    void Ends() noexcept override {
        if (m_isOpen) {
            m_out.WriteLine(L"");
            m_isOpen = false;
        }
    }

private:
    static constexpr std::size_t kBarWidth = 20;

    void Draw() {
        const std::size_t full = kBarWidth * static_cast<std::size_t>(m_percent) / 100;
        const std::wstring percent = std::to_wstring(m_percent);
        std::wstring line = L"\r[" + std::wstring(full, L'#') + std::wstring(kBarWidth - full, L'.') + L"] " +
                            std::wstring(3 - percent.size(), L' ') + percent + L"% " + m_name;
        if (*m_last != L'\0') {
            line += std::wstring(L" - ") + m_last + L": done";
        }
        // The last column stays free: a character there would move the cursor on.
        const std::size_t columns = ConsoleColumns() - 1;
        while (DisplayWidth(line) > columns + 1) {
            line.pop_back();
        }
        line.append(columns + 1 - DisplayWidth(line), L' ');
        m_out.Write(line);
    }

    Output& m_out;
    std::wstring m_name;
    const wchar_t* m_last = L"";
    LONG m_percent = 0;
    bool m_isOpen = false;
};

}  // namespace

std::unique_ptr<RemovalView> MakeView(ViewForm form, Output& out) {
    switch (form) {
        case ViewForm::JsonLines:
            return std::make_unique<JsonView>(out);
        case ViewForm::None:
            return std::make_unique<NoView>();
        case ViewForm::Text:
            break;
    }
    if (out.IsConsole()) {
        return std::make_unique<BarView>(out);
    }
    return std::make_unique<LineView>(out);
}

}  // namespace tools::host
