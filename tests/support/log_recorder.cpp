#include "support/log_recorder.h"

#include <algorithm>
#include <stdexcept>

#include "support/programs.h"

namespace {

std::wstring Letter(DWORD level) {
    constexpr std::pair<DWORD, wchar_t> kLetters[] = {{0, 'C'}, {4, 'E'}, {8, 'W'}, {16, 'I'}, {32, 'N'}};
    for (const auto& [known, letter] : kLetters) {
        if (level == known) {
            return {letter, L' '};
        }
    }
    return std::to_wstring(level) + L' ';
}

}  // namespace

std::wstring LogRecorder::ModulePath() {
    return BesideTest(L"..\\support\\log.dll");
}

LogRecorder::LogRecorder() : m_module(::LoadLibraryW(ModulePath().c_str())) {
    if (m_module == nullptr) {
        throw std::runtime_error("the recording log.dll is missing");
    }
    Clear();
}

LogRecorder::~LogRecorder() {
    ::FreeLibrary(m_module);
}

template <typename Function>
Function LogRecorder::Bind(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
}

void LogRecorder::Clear() const {
    Bind<void(__cdecl*)()>("RecorderClear")();
}

std::vector<LogLine> LogRecorder::Lines() const {
    const auto read = Bind<void(__cdecl*)(ULONG, RecordedLineView*)>("RecorderLine");
    std::vector<LogLine> lines(Bind<ULONG(__cdecl*)()>("RecorderCount")());
    for (ULONG index = 0; index < lines.size(); ++index) {
        RecordedLineView view = {};
        read(index, &view);
        lines[index] = {view.level, view.function, view.text};
    }
    return lines;
}

std::vector<std::wstring> LogRecorder::Texts() const {
    std::vector<std::wstring> texts;
    for (const LogLine& line : Lines()) {
        texts.push_back(Letter(line.level) + line.function + L": " + line.text);
    }
    return texts;
}

std::vector<std::wstring> LogRecorder::Of(const std::wstring& function) const {
    std::vector<std::wstring> texts;
    for (const LogLine& line : Lines()) {
        if (line.function == function) {
            texts.push_back(Letter(line.level) + line.text);
        }
    }
    return texts;
}

int LogRecorder::Count(const std::wstring& line) const {
    const std::vector<std::wstring> texts = Texts();
    return static_cast<int>(std::count(texts.begin(), texts.end(), line));
}
