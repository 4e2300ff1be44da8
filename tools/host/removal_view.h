#pragma once

#include <prodrm.h>

#include <memory>
#include <string>

#include "common/output.h"

namespace tools::host {

// A kind of operations: its event, its name in scripts, and its name for people.
struct OperationName {
    OperationKind kind;
    const wchar_t* element;
    const wchar_t* text;
};

constexpr OperationName kOperationNames[] = {
    {OPERATION_DISABLEANDSTOP_DRIVER, L"disableandstop_driver", L"stopping services"},
    {OPERATION_DISABLE_DRIVER, L"disable_driver", L"disabling services"},
    {OPERATION_EXEC_TOOL, L"exec_tool", L"running tools"},
    {OPERATION_KILL_PROCESS, L"kill_process", L"ending processes"},
    {OPERATION_DEL_FOLDER, L"del_folder", L"folders"},
    {OPERATION_DEL_FILE, L"del_file", L"files"},
    {OPERATION_DEL_SHORTCUT, L"del_shortcut", L"shortcuts"},
    {OPERATION_DEL_REGKEY, L"del_regkey", L"registry keys"},
    {OPERATION_DEL_REGVALUE, L"del_regvalue", L"registry values"},
};

// Shows a running removal. The calls come from two threads, one at a time. Nothing here throws: the calls are made
// from within the library.
class RemovalView {
public:
    virtual ~RemovalView() = default;
    virtual void ProductBegins(const std::wstring& name) noexcept = 0;
    virtual void OperationsEnded(const OperationName& operations, bool succeeded) noexcept = 0;
    virtual void Progress(LONG percent) noexcept = 0;  // 0 to 100
    virtual void Ends() noexcept = 0;
};

enum class ViewForm { Text, JsonLines, None };

// Text is a bar on a console, else plain lines.
std::unique_ptr<RemovalView> MakeView(ViewForm form, Output& out);

}  // namespace tools::host
