#include "document.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "author/lint/reader.h"
#include "common/failure.h"
#include "common/files.h"
#include "foundation/CConfigFileMngr.h"
#include "foundation/dom.h"

namespace tools::pack {

namespace {

constexpr std::array<BYTE, 3> kByteOrderMark = {0xEF, 0xBB, 0xBF};

Failure Unusable(const std::wstring& file, const std::wstring& reason) {
    return {ERROR_INSTALL_FAILURE, L"cannot use the document \"" + file + L"\": " + reason};
}

std::wstring Decode(const std::wstring& file, const Bytes& bytes) {
    if (std::find(bytes.begin(), bytes.end(), BYTE{0}) != bytes.end()) {
        throw Unusable(file, L"it holds a zero byte, so it is not UTF-8 text (UTF-16, perhaps)");
    }
    try {
        return DecodeUtf8(bytes.data(), bytes.size());
    } catch (const std::range_error&) {
        throw Unusable(file, L"it is not UTF-8 text");
    }
}

// Where and why, in the words of the engine's other reader: the one that the library uses has none on some systems.
std::wstring ParserWords(const Bytes& bytes) {
    const lint::Parsed parsed = lint::Parse(bytes);
    if (parsed.wellFormed) {
        return {};
    }
    return L": line " + std::to_wstring(parsed.error.position.line) + L", column " +
           std::to_wstring(parsed.error.position.column) + L": " + parsed.error.message;
}

void CheckWellFormed(const std::wstring& file, const Bytes& bytes) {
    const std::wstring text = Decode(file, bytes);
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = dom::CreateDocument(document);
    if (FAILED(hr)) {
        throw SystemFailure(L"no XML engine to check", file, static_cast<DWORD>(hr));
    }
    if (!dom::LoadText(document.Get(), text.c_str(), hr)) {
        throw Unusable(file, L"it is not well-formed XML" + ParserWords(bytes));
    }
}

}  // namespace

Bytes ReadDocument(const std::wstring& file) {
    Bytes bytes = ReadWholeFile(L"document", file);
    if (bytes.size() >= kByteOrderMark.size() &&
        std::equal(kByteOrderMark.begin(), kByteOrderMark.end(), bytes.begin())) {
        bytes.erase(bytes.begin(), bytes.begin() + kByteOrderMark.size());
    }
    CheckWellFormed(file, bytes);
    bytes.push_back(0);
    return bytes;
}

}  // namespace tools::pack
