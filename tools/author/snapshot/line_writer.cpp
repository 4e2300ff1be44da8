#include "author/snapshot/line_writer.h"

#include "common/failure.h"

namespace tools::author {

namespace {

constexpr std::size_t kPieceBytes = 256 * 1024;

}  // namespace

LineWriter::LineWriter(const std::wstring& file)
    : m_file(file),
      m_handle(::CreateFileW(file.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                             CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (!m_handle) {
        throw SystemFailure(L"cannot write", file);
    }
    m_pending.reserve(kPieceBytes + kPieceBytes / 4);
}

LineWriter::~LineWriter() {
    if (m_handle) {
        m_handle.Reset();
        ::DeleteFileW(m_file.c_str());
    }
}

void LineWriter::Write(std::string_view line) {
    m_pending += line;
    m_pending += '\n';
    ++m_lines;
    if (m_pending.size() >= kPieceBytes) {
        Flush();
    }
}

void LineWriter::Flush() {
    DWORD written = 0;
    if (!::WriteFile(m_handle.Get(), m_pending.data(), static_cast<DWORD>(m_pending.size()), &written, nullptr) ||
        written != m_pending.size()) {
        throw SystemFailure(L"cannot write", m_file);
    }
    m_pending.clear();
}

void LineWriter::Close() {
    Flush();
    m_handle.Reset();
}

}  // namespace tools::author
