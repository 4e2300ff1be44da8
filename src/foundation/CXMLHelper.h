#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>

// Reader of XML attributes. A missing attribute is logged at the error level, also where the caller treats it as
// optional. The output keeps what it held whenever the answer is false.
class CXMLHelper {
public:
    static bool GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, std::wstring& value);

    // Decimal text; text that is no number gives 0.
    static bool GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, int& value);
};
