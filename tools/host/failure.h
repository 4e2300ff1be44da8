#pragma once

#include <string>
#include <utility>

namespace host {

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

}  // namespace host
