#include "image.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

#include "common/failure.h"

namespace tools::pack {

namespace {

constexpr wchar_t kNoProgram[] = L"it is no program file";
constexpr wchar_t kCutOff[] = L"it is cut off";
constexpr wchar_t kHeaders[] = L"its headers are damaged";
constexpr wchar_t kSections[] = L"its sections are damaged";
constexpr wchar_t kResources[] = L"its resources are damaged";

constexpr DWORD kLeastAlignment = 512;  // bytes, of sections in a file
constexpr DWORD kHighBit = 0x80000000;  // of an entry of a resource directory: a name, or a directory below

// What the file is refused for.
struct Refusal {
    const wchar_t* reason;
};

void Require(bool condition, const wchar_t* reason) {
    if (!condition) {
        throw Refusal{reason};
    }
}

// A part of the file, whose records are copied out: nothing in a damaged file is aligned for certain.
struct Part {
    const BYTE* data;
    ULONGLONG size;

    template <typename Record>
    Record At(ULONGLONG offset, const wchar_t* reason) const {
        Require(offset + sizeof(Record) <= size, reason);
        Record record;
        std::memcpy(&record, data + offset, sizeof record);
        return record;
    }
};

bool IsPowerOfTwo(DWORD value) {
    return value != 0 && (value & (value - 1)) == 0;
}

ULONGLONG RoundUp(ULONGLONG value, DWORD alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

const IMAGE_DATA_DIRECTORY& Directory(const IMAGE_NT_HEADERS32& headers, unsigned index) {
    return headers.OptionalHeader.DataDirectory[index];
}

// The headers at `offset`, which are those of a library that may be changed.
IMAGE_NT_HEADERS32 ReadHeaders(const Part& file, DWORD offset) {
    Require(file.At<DWORD>(offset, kNoProgram) == IMAGE_NT_SIGNATURE, kNoProgram);
    const auto fileHeader = file.At<IMAGE_FILE_HEADER>(ULONGLONG{offset} + sizeof(DWORD), kCutOff);
    Require(fileHeader.Machine != IMAGE_FILE_MACHINE_AMD64 && fileHeader.Machine != IMAGE_FILE_MACHINE_ARM64,
            L"it is a 64-bit file; the library is a 32-bit one");
    Require(fileHeader.Machine == IMAGE_FILE_MACHINE_I386, L"it is made for another processor");
    const auto headers = file.At<IMAGE_NT_HEADERS32>(offset, kCutOff);
    const IMAGE_OPTIONAL_HEADER32& optional = headers.OptionalHeader;
    Require(fileHeader.SizeOfOptionalHeader == sizeof optional && optional.Magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC &&
                optional.NumberOfRvaAndSizes == std::size(optional.DataDirectory) &&
                IsPowerOfTwo(optional.FileAlignment) && IsPowerOfTwo(optional.SectionAlignment) &&
                optional.FileAlignment >= kLeastAlignment && optional.FileAlignment <= optional.SectionAlignment,
            kHeaders);
    Require((fileHeader.Characteristics & IMAGE_FILE_DLL) != 0, L"it is a program, not a library");
    Require(Directory(headers, IMAGE_DIRECTORY_ENTRY_SECURITY).VirtualAddress == 0,
            L"it is signed: a change would break the signature; sign it after packing");
    Require(Directory(headers, IMAGE_DIRECTORY_ENTRY_RESOURCE).VirtualAddress != 0,
            L"it has no resources, so it is no build of the library");
    return headers;
}

using Sections = std::vector<IMAGE_SECTION_HEADER>;

// The sections follow each other without a gap in memory, and in the same order without an overlap in the file.
void CheckLayout(const Part& file, const IMAGE_OPTIONAL_HEADER32& optional, const Sections& sections) {
    ULONGLONG memory = RoundUp(optional.SizeOfHeaders, optional.SectionAlignment);
    ULONGLONG place = optional.SizeOfHeaders;
    for (const IMAGE_SECTION_HEADER& section : sections) {
        Require(section.VirtualAddress == memory && (section.Misc.VirtualSize | section.SizeOfRawData) != 0, kSections);
        const DWORD size = section.Misc.VirtualSize != 0 ? section.Misc.VirtualSize : section.SizeOfRawData;
        memory = RoundUp(memory + size, optional.SectionAlignment);
        if (section.SizeOfRawData != 0 && section.PointerToRawData != 0) {
            Require(section.PointerToRawData >= place && section.PointerToRawData % optional.FileAlignment == 0,
                    kSections);
            place = ULONGLONG{section.PointerToRawData} + section.SizeOfRawData;
            Require(place <= file.size, kCutOff);
        }
    }
    Require(memory == optional.SizeOfImage, kSections);
}

Sections ReadSections(const Part& file, const IMAGE_NT_HEADERS32& headers, DWORD offset) {
    Sections sections;
    for (unsigned index = 0; index < headers.FileHeader.NumberOfSections; ++index) {
        offset += static_cast<DWORD>(index == 0 ? sizeof headers : sizeof(IMAGE_SECTION_HEADER));
        sections.push_back(file.At<IMAGE_SECTION_HEADER>(offset, kCutOff));
    }
    Require(!sections.empty() && offset + sizeof(IMAGE_SECTION_HEADER) <= headers.OptionalHeader.SizeOfHeaders,
            kHeaders);
    CheckLayout(file, headers.OptionalHeader, sections);
    for (unsigned index = 0; index < std::size(headers.OptionalHeader.DataDirectory); ++index) {
        const IMAGE_DATA_DIRECTORY& directory = Directory(headers, index);
        Require(ULONGLONG{directory.VirtualAddress} + directory.Size <= headers.OptionalHeader.SizeOfImage, kHeaders);
    }
    return sections;
}

// The tree of the resources: types, names, languages, and below them the data.
class Tree {
public:
    Tree(const Part& section, DWORD address) : m_section(section), m_address(address) {}

    void Check() { CheckDirectory(0, 0); }

private:
    static constexpr unsigned kLanguages = 2;

    void CheckDirectory(DWORD offset, unsigned level) {
        const auto directory = m_section.At<IMAGE_RESOURCE_DIRECTORY>(offset, kResources);
        const unsigned count = 0U + directory.NumberOfNamedEntries + directory.NumberOfIdEntries;
        ULONGLONG at = ULONGLONG{offset} + sizeof directory;
        for (unsigned index = 0; index < count; ++index, at += sizeof(IMAGE_RESOURCE_DIRECTORY_ENTRY)) {
            // Each entry takes room of its own, unless directories share their entries, without end perhaps.
            Require(++m_entries <= m_section.size / sizeof(IMAGE_RESOURCE_DIRECTORY_ENTRY), kResources);
            const auto entry = m_section.At<IMAGE_RESOURCE_DIRECTORY_ENTRY>(at, kResources);
            CheckName(entry.Name, index < directory.NumberOfNamedEntries, level);
            Require(((entry.OffsetToData & kHighBit) != 0) == (level < kLanguages), kResources);
            if (level < kLanguages) {
                CheckDirectory(entry.OffsetToData & ~kHighBit, level + 1);
            } else {
                CheckData(entry.OffsetToData);
            }
        }
    }

    void CheckName(DWORD name, bool isText, unsigned level) const {
        if (!isText) {
            Require(name <= 0xFFFF, kResources);
            return;
        }
        Require((name & kHighBit) != 0 && level < kLanguages, kResources);
        const ULONGLONG offset = name & ~kHighBit;
        const auto length = m_section.At<WORD>(offset, kResources);
        Require(length != 0 && offset + sizeof(WORD) + length * sizeof(WCHAR) <= m_section.size, kResources);
    }

    void CheckData(DWORD offset) const {
        const auto data = m_section.At<IMAGE_RESOURCE_DATA_ENTRY>(offset, kResources);
        Require(
            data.OffsetToData >= m_address && ULONGLONG{data.OffsetToData} - m_address + data.Size <= m_section.size,
            kResources);
    }

    Part m_section;
    DWORD m_address;
    ULONGLONG m_entries = 0;
};

void Check(const Part& file) {
    const auto start = file.At<IMAGE_DOS_HEADER>(0, kNoProgram);
    Require(start.e_magic == IMAGE_DOS_SIGNATURE && start.e_lfanew > 0, kNoProgram);
    const DWORD offset = static_cast<DWORD>(start.e_lfanew);
    const IMAGE_NT_HEADERS32 headers = ReadHeaders(file, offset);
    const Sections sections = ReadSections(file, headers, offset);
    const DWORD address = Directory(headers, IMAGE_DIRECTORY_ENTRY_RESOURCE).VirtualAddress;
    const auto section = std::find_if(sections.begin(), sections.end(),
                                      [&](const IMAGE_SECTION_HEADER& each) { return each.VirtualAddress == address; });
    Require(section != sections.end() && section->PointerToRawData != 0, kResources);
    Tree({file.data + section->PointerToRawData, section->SizeOfRawData}, address).Check();
}

}  // namespace

void CheckImage(const std::wstring& file, const Bytes& bytes) {
    try {
        Check({bytes.data(), bytes.size()});
    } catch (const Refusal& refusal) {
        throw Failure(ERROR_INSTALL_FAILURE, L"cannot use the library \"" + file + L"\": " + refusal.reason);
    }
}

void MendSymbolTable(const Bytes& before, Bytes& after) {
    const auto headerOf = [](const Bytes& bytes) {
        return reinterpret_cast<const IMAGE_DOS_HEADER*>(bytes.data())->e_lfanew + sizeof(DWORD);
    };
    IMAGE_FILE_HEADER header;
    std::memcpy(&header, before.data() + headerOf(before), sizeof header);
    const std::size_t place = header.PointerToSymbolTable;
    if (place == 0 || place > before.size()) {
        return;
    }
    // The table is the last thing in a file of this kind.
    const std::size_t length = before.size() - place;
    const bool found =
        length <= after.size() && std::equal(before.end() - static_cast<std::ptrdiff_t>(length), before.end(),
                                             after.end() - static_cast<std::ptrdiff_t>(length));
    const std::size_t offset = headerOf(after);
    std::memcpy(&header, after.data() + offset, sizeof header);
    header.PointerToSymbolTable = found ? static_cast<DWORD>(after.size() - length) : 0;
    header.NumberOfSymbols = found ? header.NumberOfSymbols : 0;
    std::memcpy(after.data() + offset, &header, sizeof header);
}

}  // namespace tools::pack
