#include "support/log_recorder.h"

#include <stdexcept>

std::wstring LogRecorder::ModulePath() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    const std::wstring folder = program.substr(0, program.rfind(L'\\'));
    return folder.substr(0, folder.rfind(L'\\')) + L"\\support\\log.dll";
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

void LogRecorder::Clear() {
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

std::vector<std::wstring> LogRecorder::Of(const std::wstring& function) const {
    std::vector<std::wstring> texts;
    for (const LogLine& line : Lines()) {
        if (line.function == function) {
            texts.push_back(std::to_wstring(line.level) + L' ' + line.text);
        }
    }
    return texts;
}

int LogRecorder::Count(DWORD level, const std::wstring& function, const std::wstring& text) const {
    int count = 0;
    for (const LogLine& line : Lines()) {
        count += line == LogLine{level, function, text} ? 1 : 0;
    }
    return count;
}

std::wstring LogRecorder::Dump() const {
    std::wstring dump;
    for (const LogLine& line : Lines()) {
        dump += std::to_wstring(line.level) + L' ' + line.function + L": " + line.text + L'\n';
    }
    return dump;
}
