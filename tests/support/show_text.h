#pragma once

#include <doctest/doctest.h>

#include "support/text.h"

// Lets a failing check show wide text and lists of it.

namespace doctest {

template <>
struct StringMaker<std::wstring> {
    static String convert(const std::wstring& text) { return ("\"" + Utf8(text) + "\"").c_str(); }
};

template <std::size_t size>
struct StringMaker<wchar_t[size]> : StringMaker<std::wstring> {};

template <typename Item>
struct StringMaker<std::vector<Item>> {
    static String convert(const std::vector<Item>& items) {
        String text = "{";
        for (const Item& item : items) {
            text += "\n    ";
            text += StringMaker<Item>::convert(item);
        }
        return text + "}";
    }
};

}  // namespace doctest
