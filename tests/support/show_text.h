#pragma once

#include <windows.h>
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "support/log_recorder.h"

// Lets a failing check show wide text and log lines.

namespace doctest {

template <>
struct StringMaker<std::wstring> {
    static String convert(const std::wstring& text) {
        const int length = static_cast<int>(text.size());
        std::string bytes(text.size() * 3, '\0');
        bytes.resize(static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(),
                                                                    static_cast<int>(bytes.size()), nullptr, nullptr)));
        return {("\"" + bytes + "\"").c_str()};
    }
};

template <>
struct StringMaker<LogLine> {
    static String convert(const LogLine& line) {
        return StringMaker<std::wstring>::convert(std::to_wstring(line.level) + L' ' + line.function + L": " +
                                                  line.text);
    }
};

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
