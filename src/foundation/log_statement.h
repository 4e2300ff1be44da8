#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <type_traits>

#include "foundation/CLogDLL.h"

// The log statement. Behind a closed gate it evaluates none of its arguments; its format is checked against them at
// compile time.
//
//     LOG(kError, L"RegOpenKeyEx \"%s\" failed 0x%x", path.c_str(), error);
//
// LOG names the enclosing function; LOG_AS serves helpers that log in their caller's name.

constexpr DWORD kError = 4;      // an operation failed
constexpr DWORD kWarning = 8;    // a failure the library goes on from, and refused input
constexpr DWORD kInfo = 0x10;    // trace of entry, arguments and results
constexpr DWORD kNotice = 0x20;  // a step skipped on purpose

namespace logging {

enum class ArgumentKind { Text, Number, Unsupported };

template <typename Argument>
consteval ArgumentKind KindOf() {
    if constexpr (std::is_convertible_v<Argument, const wchar_t*> && std::is_pointer_v<std::decay_t<Argument>>) {
        return ArgumentKind::Text;
    } else if constexpr ((std::is_integral_v<Argument> || std::is_enum_v<Argument>)&&sizeof(Argument) == 4) {
        return ArgumentKind::Number;
    } else {
        return ArgumentKind::Unsupported;
    }
}

// Calls of these two in the constant evaluation below are the compiler's error messages.
void PlaceholderUnknown();
void PlaceholdersDoNotFitArguments();

// A format text whose placeholders were compared with the types of the arguments: "%s" takes wide text, "%d" and "%x"
// take 32-bit whole numbers.
template <typename... Arguments>
class LogFormat {
public:
    consteval LogFormat(const wchar_t* text) : m_text(text) {
        constexpr std::array<ArgumentKind, sizeof...(Arguments) + 1> kinds = {KindOf<Arguments>()...};
        std::size_t used = 0;
        for (const wchar_t* at = text; *at != L'\0'; ++at) {
            if (*at != L'%') {
                continue;
            }
            ++at;
            if (*at != L's' && *at != L'd' && *at != L'x') {
                PlaceholderUnknown();
            }
            const ArgumentKind wanted = *at == L's' ? ArgumentKind::Text : ArgumentKind::Number;
            if (used == sizeof...(Arguments) || kinds[used] != wanted) {
                PlaceholdersDoNotFitArguments();
            }
            ++used;
        }
        if (used != sizeof...(Arguments)) {
            PlaceholdersDoNotFitArguments();
        }
    }

    const wchar_t* Text() const { return m_text; }

private:
    const wchar_t* m_text;
};

template <typename... Arguments>
void WriteChecked(const wchar_t* caller, DWORD level, LogFormat<std::type_identity_t<Arguments>...> format,
                  Arguments... arguments) {
    WriteStatement(caller, level, format.Text(), arguments...);
}

constexpr std::size_t kFunctionNameRoom = 96;

struct FunctionName {
    wchar_t text[kFunctionNameRoom];
};

// Cuts what the compiler says of a function down to Class::Method.
consteval FunctionName CallerName(std::string_view pretty) {
    pretty = pretty.substr(0, pretty.find("::<lambda"));
    pretty = pretty.substr(0, pretty.find(" [with "));
    std::size_t end = pretty.rfind(')');
    for (int depth = 0; end != std::string_view::npos; --end) {
        depth += pretty[end] == ')' ? 1 : pretty[end] == '(' ? -1 : 0;
        if (depth == 0) {
            break;
        }
    }
    pretty = pretty.substr(0, end);
    // Backwards to the blank in front of the name; template arguments are left out.
    char reversed[kFunctionNameRoom - 1] = {};
    std::size_t length = 0;
    int depth = 0;
    for (std::size_t at = pretty.size(); at > 0 && (depth > 0 || pretty[at - 1] != ' '); --at) {
        const char unit = pretty[at - 1];
        depth += unit == '>' ? 1 : 0;
        if (depth == 0) {
            reversed[length++] = unit;
        }
        depth -= unit == '<' ? 1 : 0;
    }
    while (length > 0 && (reversed[length - 1] == '*' || reversed[length - 1] == '&')) {
        --length;
    }
    // The name of an unnamed namespace, as it stands reversed.
    constexpr std::string_view kUnnamed = "::}suomynona{";
    length = std::min(length, std::string_view(reversed, length).find(kUnnamed));
    FunctionName name = {};
    for (std::size_t i = 0; i < length; ++i) {
        name.text[i] = static_cast<wchar_t>(reversed[length - 1 - i]);
    }
    return name;
}

}  // namespace logging

// The enclosing function as Class::Method, wide text with static lifetime.
#define CALLER                                                                         \
    ([] {                                                                              \
        static constexpr auto callerName = ::logging::CallerName(__PRETTY_FUNCTION__); \
        return &callerName.text[0];                                                    \
    }())

#define LOG_AS(caller, level, ...)                                   \
    do {                                                             \
        if (::logging::CLogDLL::IsOpen()) {                          \
            ::logging::WriteChecked((caller), (level), __VA_ARGS__); \
        }                                                            \
    } while (0)

#define LOG(level, ...) LOG_AS(CALLER, level, __VA_ARGS__)
