#include "author/snapshot/line_reader.h"

#include <cstring>

#include "common/failure.h"

namespace tools::author {

namespace {

constexpr std::size_t kPieceBytes = 256 * 1024;

}  // namespace

LineReader::LineReader(const std::wstring& file)
    : m_file(file),
      m_handle(::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_FLAG_SEQUENTIAL_SCAN, nullptr)),
      m_buffer(kPieceBytes) {
    if (!m_handle) {
        throw SystemFailure(L"cannot read", file);
    }
}

bool LineReader::Next() {
    for (std::size_t searched = 0;;) {
        const char* const begin = m_buffer.data() + m_begin;
        const std::size_t held = m_end - m_begin;
        if (const void* const end = std::memchr(begin + searched, '\n', held - searched)) {
            const std::size_t length = static_cast<std::size_t>(static_cast<const char*>(end) - begin);
            m_line = {begin, length};
            m_begin += length + 1;
            return true;
        }
        searched = held;
        if (!Fill()) {
            m_line = {m_buffer.data() + m_begin, held};
            m_begin = m_end;
            return held > 0;
        }
    }
}

// What is held moves to the front; a buffer full of one line grows.
bool LineReader::Fill() {
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    if (m_end == m_buffer.size()) {
        m_buffer.resize(m_buffer.size() * 2);
    }
    DWORD count = 0;
    if (!::ReadFile(m_handle.Get(), m_buffer.data() + m_end, static_cast<DWORD>(m_buffer.size() - m_end), &count,
                    nullptr)) {
        throw SystemFailure(L"cannot read", m_file);
    }
    m_end += count;
    return count > 0;
}

}  // namespace tools::author
