#include "reader.h"

#include <msxml2.h>
#include <objbase.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <utility>

#include "common/failure.h"
#include "foundation/com.h"

namespace tools::lint {

namespace {

constexpr CLSID kSaxReader30 = {0x3124C396, 0xFB13, 0x4836, {0xA6, 0xAD, 0x13, 0x17, 0xF1, 0x71, 0x36, 0x88}};
constexpr IID kReader = {0xA4F96ED0, 0xF829, 0x476E, {0x81, 0xC0, 0xCD, 0xC7, 0xBD, 0x2A, 0x08, 0x02}};
constexpr IID kContentHandler = {0x1545CDFA, 0x9E4E, 0x4497, {0xA8, 0xA4, 0x2B, 0xF7, 0xD0, 0x11, 0x2C, 0x44}};
constexpr IID kErrorHandler = {0xA60511C4, 0xCCF5, 0x479E, {0x98, 0xA3, 0xDC, 0x8D, 0xC5, 0x45, 0xB7, 0xD0}};
constexpr IID kLexicalHandler = {0x7F85D5F5, 0x47A8, 0x4497, {0xBD, 0xA5, 0x84, 0xBA, 0x04, 0x81, 0x9E, 0xA6}};
constexpr wchar_t kLexicalProperty[] = L"http://xml.org/sax/properties/lexical-handler";

std::wstring Text(const wchar_t* text, int length) {
    return std::wstring(text, static_cast<std::size_t>(length));
}

bool IsBlank(const std::wstring& text) {
    return std::all_of(text.begin(), text.end(), [](wchar_t unit) { return std::iswspace(unit) != 0; });
}

// The words of the engine without the line breaks and dots at their end.
std::wstring OneLine(std::wstring words) {
    words.erase(words.find_last_not_of(L" .\r\n") + 1);
    std::replace_if(
        words.begin(), words.end(), [](wchar_t unit) { return unit == L'\r' || unit == L'\n'; }, L' ');
    return words;
}

Position At(ISAXLocator* locator) {
    int line = 0;
    int column = 0;
    if (locator == nullptr || FAILED(locator->getLineNumber(&line)) || FAILED(locator->getColumnNumber(&column))) {
        return {};
    }
    return {static_cast<unsigned>(std::max(line, 1)), static_cast<unsigned>(std::max(column, 1))};
}

// Builds the tree from what the reader reports. Lives on the stack of the parse, which ends before it does: references
// are not counted.
class Builder : public ISAXContentHandler, public ISAXErrorHandler, public ISAXLexicalHandler {
public:
    explicit Builder(Parsed& parsed) : m_parsed(parsed) { m_open.push_back(&parsed.document); }

    HRESULT WINAPI QueryInterface(REFIID id, void** object) override {
        if (id == IID_IUnknown || id == kContentHandler) {
            *object = static_cast<ISAXContentHandler*>(this);
        } else if (id == kErrorHandler) {
            *object = static_cast<ISAXErrorHandler*>(this);
        } else if (id == kLexicalHandler) {
            *object = static_cast<ISAXLexicalHandler*>(this);
        } else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return 1; }
    ULONG WINAPI Release() override { return 1; }

    HRESULT WINAPI putDocumentLocator(ISAXLocator* locator) override {
        m_locator = locator;
        return S_OK;
    }
    HRESULT WINAPI startDocument() override { return S_OK; }
    HRESULT WINAPI endDocument() override { return S_OK; }
    HRESULT WINAPI startPrefixMapping(const wchar_t*, int, const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI endPrefixMapping(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI startElement(const wchar_t*, int, const wchar_t*, int, const wchar_t* name, int nameLength,
                                ISAXAttributes* attributes) override;
    HRESULT WINAPI endElement(const wchar_t*, int, const wchar_t*, int, const wchar_t*, int) override;
    HRESULT WINAPI characters(const wchar_t* text, int length) override;
    HRESULT WINAPI ignorableWhitespace(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI processingInstruction(const wchar_t* target, int length, const wchar_t*, int) override;
    HRESULT WINAPI skippedEntity(const wchar_t*, int) override { return S_OK; }

    HRESULT WINAPI error(ISAXLocator*, const wchar_t*, HRESULT) override { return S_OK; }
    HRESULT WINAPI fatalError(ISAXLocator* locator, const wchar_t* message, HRESULT code) override;
    HRESULT WINAPI ignorableWarning(ISAXLocator*, const wchar_t*, HRESULT) override { return S_OK; }

    HRESULT WINAPI startDTD(const wchar_t*, int, const wchar_t*, int, const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI endDTD() override { return S_OK; }
    HRESULT WINAPI startEntity(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI endEntity(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI startCDATA() override { return S_OK; }
    HRESULT WINAPI endCDATA() override { return S_OK; }
    HRESULT WINAPI comment(const wchar_t* text, int length) override;

private:
    Node& Append(NodeKind kind);
    // The reader hands a text out in pieces; what other nodes part stays parted.
    void CloseText();

    Parsed& m_parsed;
    ISAXLocator* m_locator = nullptr;
    std::vector<Node*> m_open;
    std::size_t m_marks = 0;
    std::wstring m_text;
    Position m_textAt;
};

Node& Builder::Append(NodeKind kind) {
    CloseText();
    Node& node = m_open.back()->children.emplace_back();
    node.kind = kind;
    node.marks = m_marks;
    node.seen = At(m_locator);
    return node;
}

void Builder::CloseText() {
    if (!m_text.empty() && !IsBlank(m_text)) {
        Node& node = m_open.back()->children.emplace_back();
        node.kind = NodeKind::Text;
        node.marks = m_marks;
        node.seen = m_textAt;
        node.text = m_text;
    }
    m_text.clear();
}

HRESULT Builder::startElement(const wchar_t*, int, const wchar_t*, int, const wchar_t* name, int nameLength,
                              ISAXAttributes* attributes) {
    Node& node = Append(NodeKind::Element);
    node.name = Text(name, nameLength);
    int count = 0;
    attributes->getLength(&count);
    node.attributes.resize(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        const wchar_t* text = nullptr;
        int length = 0;
        Attribute& attribute = node.attributes[static_cast<std::size_t>(index)];
        if (SUCCEEDED(attributes->getQName(index, &text, &length))) {
            attribute.name = Text(text, length);
        }
        if (SUCCEEDED(attributes->getValue(index, &text, &length))) {
            attribute.value = Text(text, length);
        }
    }
    m_open.push_back(&node);
    ++m_marks;
    return S_OK;
}

HRESULT Builder::endElement(const wchar_t*, int, const wchar_t*, int, const wchar_t*, int) {
    CloseText();
    m_open.pop_back();
    ++m_marks;
    return S_OK;
}

HRESULT Builder::characters(const wchar_t* text, int length) {
    if (m_text.empty()) {
        m_textAt = At(m_locator);
    }
    m_text.append(text, static_cast<std::size_t>(length));
    return S_OK;
}

HRESULT Builder::processingInstruction(const wchar_t* target, int length, const wchar_t*, int) {
    Append(NodeKind::Instruction).name = Text(target, length);
    return S_OK;
}

HRESULT Builder::comment(const wchar_t* text, int length) {
    Append(NodeKind::Comment).text = Text(text, length);
    ++m_marks;
    return S_OK;
}

HRESULT Builder::fatalError(ISAXLocator* locator, const wchar_t* message, HRESULT) {
    m_parsed.error.position = At(locator);
    if (message != nullptr) {
        m_parsed.error.message = OneLine(message);
    }
    return S_OK;
}

// The document as the stream of bytes that the reader takes; it finds the encoding out by itself.
Variant AsStream(const Bytes& document) {
    ComPtr<IStream> stream;
    const auto size = static_cast<ULONG>(document.size());
    if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, stream.Put())) ||
        FAILED(stream->Write(document.data(), size, nullptr)) || FAILED(stream->Seek({}, STREAM_SEEK_SET, nullptr))) {
        RaiseComError(E_OUTOFMEMORY);
    }
    Variant source;
    VARIANT* const value = source.Put();
    value->vt = VT_UNKNOWN;
    value->punkVal = stream.Get();
    stream->AddRef();
    return source;
}

}  // namespace

Parsed Parse(const Bytes& document) {
    ComPtr<ISAXXMLReader> reader;
    const HRESULT created = ::CoCreateInstance(kSaxReader30, nullptr, CLSCTX_INPROC_SERVER, kReader,
                                               reinterpret_cast<void**>(reader.Put()));
    if (FAILED(created)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the XML engine of the system cannot be used");
    }
    Parsed parsed;
    Builder builder(parsed);
    VARIANT lexical;
    lexical.vt = VT_UNKNOWN;
    lexical.punkVal = static_cast<ISAXLexicalHandler*>(&builder);
    reader->putContentHandler(&builder);
    reader->putErrorHandler(&builder);
    reader->putProperty(kLexicalProperty, lexical);
    parsed.wellFormed = SUCCEEDED(reader->parse(AsStream(document).Get()));
    if (document.empty()) {
        parsed.error = {{}, L"it is empty"};
    } else if (!parsed.wellFormed && parsed.error.message.empty()) {
        parsed.error.message = L"it is no XML";
    }
    return parsed;
}

}  // namespace tools::lint
