#pragma once

#include <windows.h>

#include <string>
#include <utility>

namespace tools {

// Ends the run: the exit code of the program, and what to tell the user.
class Failure {
public:
    Failure(int code, std::wstring message) : m_code(code), m_message(std::move(message)) {}

    int Code() const { return m_code; }
    const std::wstring& Message() const { return m_message; }

private:
    int m_code;
    std::wstring m_message;
};

// A step that the system refused: `step "file": message of the system (error)`.
Failure SystemFailure(const std::wstring& step, const std::wstring& file, DWORD error = ::GetLastError());

}  // namespace tools
