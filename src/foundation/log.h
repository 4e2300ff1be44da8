#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <string>
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

struct FunctionName {
    wchar_t text[96];
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
    std::string cut;
    int depth = 0;
    for (auto at = pretty.rbegin(); at != pretty.rend() && (depth > 0 || *at != ' '); ++at) {
        depth += *at == '>' ? 1 : 0;
        if (depth == 0) {
            cut.insert(cut.begin(), *at);
        }
        depth -= *at == '<' ? 1 : 0;
    }
    cut.erase(0, cut.find_first_not_of("*&"));
    constexpr std::string_view kUnnamed = "{anonymous}::";
    if (const std::size_t at = cut.rfind(kUnnamed); at != std::string::npos) {
        cut.erase(0, at + kUnnamed.size());
    }
    FunctionName name = {};
    for (std::size_t i = 0; i < cut.size(); ++i) {
        name.text[i] = static_cast<wchar_t>(cut[i]);
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
