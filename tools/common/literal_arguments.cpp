#include "common/literal_arguments.h"

#include <algorithm>

#include "common/utf8.h"

namespace tools {

namespace {

// Around the number of a text; the parser gives the character no meaning.
constexpr char kMark = '\x01';

// What the parser gets as it is. A mark in it could pass for a token.
std::string AsItIs(std::wstring text) {
    std::replace(text.begin(), text.end(), static_cast<wchar_t>(kMark), L'?');
    return ToUtf8(text);
}

}  // namespace

LiteralArguments::LiteralArguments(const std::vector<std::wstring>& arguments) {
    bool hasCommand = false;
    bool operandsOnly = false;
    for (const std::wstring& argument : arguments) {
        if (!operandsOnly && argument.starts_with(L'-')) {
            operandsOnly = argument == L"--";
            AddOption(argument);
        } else if (!hasCommand) {
            hasCommand = true;
            m_forParser.push_back(AsItIs(argument));
        } else {
            m_forParser.push_back(Token(argument));
        }
    }
}

void LiteralArguments::AddOption(const std::wstring& argument) {
    const std::size_t end = std::min(argument.find(L'='), argument.size());
    std::string option = AsItIs(argument.substr(0, end));
    if (end < argument.size()) {
        option += "=" + Token(argument.substr(end + 1));
    }
    m_forParser.push_back(std::move(option));
}

std::string LiteralArguments::Token(const std::wstring& text) {
    m_texts.push_back(text);
    return kMark + std::to_string(m_texts.size() - 1) + kMark;
}

std::wstring LiteralArguments::Restored(std::string_view text) const {
    std::wstring restored;
    for (;;) {
        const std::size_t open = text.find(kMark);
        const std::size_t close = open == std::string_view::npos ? open : text.find(kMark, open + 1);
        if (close == std::string_view::npos) {
            return restored + FromUtf8(text);
        }
        restored += FromUtf8(text.substr(0, open));
        restored += m_texts.at(std::stoul(std::string(text.substr(open + 1, close - open - 1))));
        text.remove_prefix(close + 1);
    }
}

}  // namespace tools
