#pragma once

#include <prodrm.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "items.h"

// What a removal will do on this machine, found by looking alone.
namespace preview {

enum class RecordState {
    Runs,
    Covered,     // left out: another record names the same, or what holds it
    NotCarried,  // not carried out at all, for the reason told
};

// One operation element of the document.
struct Record {
    std::size_t product = 0;  // index
    std::wstring operation;   // of the section: its op_code
    std::wstring version;     // where it stands: the name of its version,
    unsigned section = 0;     // the number of its section among those of the version,
    unsigned element = 0;     // and its own number in the section; all from 0
    std::wstring text;        // its attributes, as the log shows them
    RecordState state = RecordState::Runs;
    RecordId coveredBy = kNoRecord;
    std::wstring reason;
};

struct PlannedProduct {
    std::wstring name;
    std::wstring script;  // full path
    UninstallType type = UNINSTALL_TYPE_FAMILY;
    bool installed = false;
    bool named = false;  // else it goes along with others
};

// A program that holds a file open.
struct Holder {
    std::uint32_t process = 0;
    std::wstring name;
};

enum class Severity { Note, Warn, Stop };

struct Finding {
    std::string code;
    Severity severity = Severity::Note;
    NodeId item = kNoNode;
    RecordId record = kNoRecord;
    std::wstring evidence;  // one sentence
};

// Where the document came from.
struct DocumentSource {
    std::wstring file;   // the library's, or the document's own
    std::string sha256;  // of the text, in hexadecimal digits
};

struct Plan {
    DocumentSource document;
    std::vector<PlannedProduct> products;
    std::vector<Record> records;
    ItemTree items;
    std::map<NodeId, std::vector<Holder>> holders;
    std::vector<Finding> findings;
    bool restartAsked = false;  // by an element, whatever becomes of the files
};

}  // namespace preview
