#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tools::logwriter {

class Clock;

// Room for `Size` elements on the stack, and on the heap for more.
template <typename Element, std::size_t Size>
class Buffer {
public:
    Element* Data() { return m_heap ? m_heap.get() : m_stack; }
    const Element* Data() const { return m_heap ? m_heap.get() : m_stack; }
    std::size_t Capacity() const { return m_capacity; }

    // Makes room for `capacity` elements, of which the first `used` are kept.
    void Reserve(std::size_t capacity, std::size_t used) {
        if (capacity <= m_capacity) {
            return;
        }
        auto larger = std::make_unique_for_overwrite<Element[]>(capacity);
        std::char_traits<Element>::copy(larger.get(), Data(), used);
        m_heap = std::move(larger);
        m_capacity = capacity;
    }

private:
    Element m_stack[Size];
    std::unique_ptr<Element[]> m_heap;
    std::size_t m_capacity = Size;
};

// One line of the log in UTF-8: time, process and thread, level, module, function, text. A tab stands between the
// fields and nowhere else: control characters and line breaks inside a field are replaced by visible signs.
class Line {
public:
    // All fields up to the text; the time is left open.
    Line(std::string_view level, std::wstring_view module, std::wstring_view function);
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void Text(std::wstring_view text);

    // False: the C runtime refuses the format.
    bool FormattedText(const wchar_t* format, va_list arguments);

    // Fills the time in. Called last, in the order in which the lines go out.
    void Stamp(Clock& clock);

    // The line with its line break.
    std::string_view View() const { return {m_bytes.Data(), m_size}; }

private:
    void Put(std::string_view bytes);
    void PutText(std::wstring_view text);
    void PutNumber(DWORD value);

    Buffer<char, 2048> m_bytes;
    std::size_t m_size = 0;
};

}  // namespace tools::logwriter
