#pragma once

#include "foundation/CLogDLL.h"
#include "support/log_recorder.h"
#include "support/show_text.h"

// Opens the gate of the log statement for a scope and keeps what is written. For programs that link the product's
// code; a test of the built library needs LogRecorder alone.
class RecordedLog : public LogRecorder {
public:
    RecordedLog() {
        logging::CLogDLL::AddReference();
        Clear();
    }
    ~RecordedLog() { logging::CLogDLL::Release(); }

    std::wstring Told(const std::wstring& function) const { return Joined(Of(function)); }
};
