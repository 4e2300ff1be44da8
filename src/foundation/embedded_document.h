#pragma once

#include <windows.h>

#include <cstddef>
#include <vector>

// How the library carries its document: as this resource, enciphered. The library reads it so and the packer stores it
// so.
inline constexpr wchar_t kDocumentType[] = L"XMLBIN";
inline constexpr WORD kDocumentId = 101;

// What a cipher may add to a document's length. A provider may also touch so much of the buffer before it refuses a
// length that is no multiple of it.
inline constexpr std::size_t kCipherBlockBytes = 16;

// Deciphers the bytes in place and cuts them to the document. False leaves their length as it was.
bool DecipherDocument(std::vector<BYTE>& bytes);
