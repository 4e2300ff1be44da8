#pragma once

#include <prodrm.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "items.h"
#include "script/CProductConfig.h"

// What a removal will do on this machine, found by looking alone.
namespace preview {

enum class RecordState {
    Runs,
    Covered,     // left out: another record names the same, or what holds it
    NotCarried,  // not carried out at all, for the reason told
};

// One operation element of the document, or a place from which on a section or version is not read.
struct Record {
    std::size_t product = 0;  // index
    ScriptPlace place;
    std::wstring text;  // its attributes
    RecordState state = RecordState::Runs;
    RecordId coveredBy = kNoRecord;
    std::wstring reason;
};

// A product that goes.
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
    std::vector<std::wstring> notes;  // what the engine had to say about the document as a whole
    bool restartAsked = false;        // by an element, whatever becomes of the files
};

// One call of the library.
struct RemovalCall {
    enum class Scope { Product, AllInstalled, ForceAll };

    Scope scope = Scope::Product;
    UninstallType type = UNINSTALL_TYPE_FAMILY;
    std::wstring name;   // of a single product
    bool force = false;  // of a single product: installed or not
};

// Plans the calls one after the other, each as if those before it had been carried out. `library` is the one that
// would be called: its embedded document and its folder count. Raises std::runtime_error if the document cannot be
// read or a catalogue cannot be loaded.
Plan MakePlan(const std::vector<RemovalCall>& calls, HMODULE library);

}  // namespace preview
