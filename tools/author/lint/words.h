#pragma once

#include <prodrm.h>

#include <string>
#include <string_view>
#include <vector>

namespace tools::lint {

// The attributes that an operation reads.
struct OperationWords {
    OperationKind kind;
    bool callsLibrary;  // the form of exec_tool that names a module
    std::vector<std::wstring_view> required;
    std::vector<std::wstring_view> optional;

    bool Reads(std::wstring_view attribute) const;
};

const OperationWords& WordsOf(OperationKind kind, bool callsLibrary);

// True for the attributes that an element of any operation may have.
bool IsReadAnywhere(std::wstring_view attribute);
// True if some operation reads it.
bool IsKnownAttribute(std::wstring_view attribute);

// What to write instead of an unknown word: the nearest known one, or all of them where none is near.
std::wstring Suggest(std::wstring_view word, const std::vector<std::wstring>& known);
std::wstring Suggest(std::wstring_view word, const OperationWords& words);

bool IsOneOf(std::wstring_view text, std::initializer_list<std::wstring_view> words);
bool IsOneOfBlind(std::wstring_view text, std::initializer_list<std::wstring_view> words);

}  // namespace tools::lint
