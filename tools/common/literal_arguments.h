#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// A command line for a parser that gives some texts a meaning of their own: a list in brackets, the name of a command
// among operands, a sign that ends one. The parser gets a token in place of each operand and of each value, so that it
// sees in them what they are, texts, and no unit of a name is lost on the way through UTF-8. The command itself and the
// names of options stay as they are; behind "--" everything is an operand.
class LiteralArguments {
public:
    explicit LiteralArguments(const std::vector<std::wstring>& arguments);

    const std::vector<std::string>& ForParser() const { return m_forParser; }

    // `text` with what each token in it stands for.
    std::wstring Restored(std::string_view text) const;

private:
    void AddOption(const std::wstring& argument);
    std::string Token(const std::wstring& text);

    std::vector<std::string> m_forParser;
    std::vector<std::wstring> m_texts;  // by the number in their token
};

}  // namespace tools
