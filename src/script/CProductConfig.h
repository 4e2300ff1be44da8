#pragma once

#include <windows.h>
#include <msxml2.h>

#include <prodrm.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/com.h"
#include "foundation/dom.h"
#include "foundation/result.h"
#include "script/OperationAttributes.h"

// Where a walk stands in its document. Positions count every child node, comments included, and are -1 outside.
struct ScriptPlace {
    std::wstring version;  // name of the version element
    long section = -1;     // among the children of win_nt
    std::wstring opCode;   // of the section, as it is written
    long element = -1;     // among the children of the section
};

// The walker of a product script: from the document through the listed versions and their sections down to one handler
// call per operation element. The handlers here do nothing; subclasses give the script its meaning. A handler's false
// is logged and never stops the walk. An object is made, walked once and then read or dropped.
class CProductConfig {
public:
    explicit CProductConfig(std::wstring scriptName, NotifyCallback notify = nullptr)
        : m_scriptName(std::move(scriptName)), m_notify(notify) {}
    virtual ~CProductConfig() = default;

    std::wstring GetScriptName() const { return m_scriptName; }

    // The names of the operations that a section may have as its op_code, and which of them a text means.
    static std::vector<std::wstring> OperationNames();
    static std::optional<OperationKind> OperationOf(const std::wstring& opCode);

    // Walks the whole script. True whenever its list of versions could be read: a version that failed does not fail
    // the script.
    virtual bool Process();

protected:
    CProductConfig(const CProductConfig&) = default;

    virtual bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath);
    virtual bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath);
    virtual bool ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath);

    virtual bool ProcessDelFile(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDelFolder(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDelShortcut(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDelRegKey(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDelRegVal(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessKillProcess(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessExecTool(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessSleep(int) { return true; }
    virtual bool ProcessDisableDriver(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDisableService(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDisableAndStopDriver(const OperationAttributes&, const std::wstring&) { return true; }
    virtual bool ProcessDisableAndStopService(const OperationAttributes&, const std::wstring&) { return true; }

    // Reads the value that holds a version's application path, as CRegKeyHelper::GetValue does.
    virtual OperationResult ReadAppPath(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                        wchar_t* buffer) const;

    // The place of the version, section or element that is being processed.
    const ScriptPlace& Place() const { return m_place; }

    // Steps that the processors share. Each logs, and reports to the callback, in its caller's name.

    struct Script {
        ComPtr<IXMLDOMDocument> document;
        ComPtr<IXMLDOMNode> root;  // null if the document lacks its top element
        std::vector<std::wstring> versions;
    };

    enum class Loading { Loaded, NotLoaded, NoText };  // without a text there is no report

    // Loads the document. `hr` comes in with the result of its creation; the report of a failure prints what it holds
    // then.
    using Loader = std::function<Loading(IXMLDOMDocument* document, HRESULT& hr)>;

    // Creates and loads the document and reads the list of versions.
    bool OpenScript(const wchar_t* caller, const Loader& load, Script& script) const;
    // False if the document has no node interface. A missing root element is reported and leaves `root` null.
    bool SelectRoot(const wchar_t* caller, IXMLDOMDocument* document, ComPtr<IXMLDOMNode>& root) const;
    // A null root counts as one without the list. On failure the list keeps what it had.
    bool ReadVersions(IXMLDOMNode* root, std::vector<std::wstring>& versions) const;
    // One listed version; false if it is not there or its walk gave false.
    bool WalkListedVersion(const wchar_t* caller, IXMLDOMNode* root, const std::wstring& name);
    bool ProcessVersion(IXMLDOMNode* version);

    // What one step asks of the loop that it stands in: go on, decide by what was seen so far, or fail at once.
    enum class Next { GoOn, Decide, Fail };
    using Visit = std::function<Next(IXMLDOMNode* node)>;

    // Hand over each section of a version, or each element of a section, as long as the visits ask to go on. The answer
    // is what ended the loop; a list that cannot be had is Fail. A section that cannot be read is Fail, an element
    // Decide.
    Next ForEachSection(const wchar_t* caller, IXMLDOMNode* version, const Visit& visit);
    Next ForEachElement(const wchar_t* caller, IXMLDOMNode* section, const std::wstring& opCode, const Visit& visit);

    enum class SectionReports { None, ToCallback };

    // Every section, whatever became of those before it; false only if the sections cannot be read.
    bool ProcessSections(const wchar_t* caller, IXMLDOMNode* version, const std::wstring& appPath,
                         SectionReports reports);

    using AttributeList = std::vector<std::pair<std::wstring, std::wstring>>;
    static bool ReadAttributes(const wchar_t* caller, IXMLDOMNamedNodeMap* map, AttributeList& attributes);

    NotifyCallback Callback() const { return m_notify; }

private:
    struct Operation;
    static const Operation kOperations[];
    static const Operation* FindOperation(const std::wstring& opCode);

    bool GetAppPath(IXMLDOMNode* version, std::wstring& appPath) const;
    bool GetInstallFolder(IXMLDOMNode* version, std::wstring& appPath) const;
    void ReportSection(IXMLDOMNode* section, bool succeeded) const;
    // A failed operation clears `succeeded`.
    Next ProcessElement(const wchar_t* caller, IXMLDOMNode* node, const std::wstring& opCode,
                        const std::wstring& appPath, bool& succeeded);

    std::wstring m_scriptName;
    NotifyCallback m_notify;
    ScriptPlace m_place;
};
