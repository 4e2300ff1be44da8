#include "document.h"

#include "text.h"

namespace {

std::string Escaped(const std::wstring& text) {
    std::string result;
    for (const char unit : ToUtf8(text)) {
        switch (unit) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += unit;
        }
    }
    return result;
}

std::string ToXml(const Element& element) {
    if (element.isComment) {
        return "<!-- " + ToUtf8(element.name) + " -->";
    }
    std::string xml = '<' + ToUtf8(element.name);
    for (const auto& [name, value] : element.attributes) {
        xml += ' ' + ToUtf8(name) + "=\"" + Escaped(value) + '"';
    }
    return xml + "/>";
}

std::string ToXml(const Version& version) {
    const std::string name = ToUtf8(version.name);
    std::string xml = "    <" + name + ">\n";
    for (const Element& path : version.paths) {
        xml += "        " + ToXml(path) + '\n';
    }
    xml += "        <win_nt>\n";
    for (const Section& section : version.sections) {
        xml += "            <s op_code=\"" + ToUtf8(section.operation) + "\">\n";
        for (const Element& element : section.elements) {
            xml += "                " + ToXml(element) + '\n';
        }
        xml += "            </s>\n";
    }
    return xml + "        </win_nt>\n    </" + name + ">\n";
}

}  // namespace

std::string ToXml(const Document& document) {
    std::string list;
    std::string versions;
    for (const Version& version : document) {
        if (version.isListed) {
            list += '<' + ToUtf8(version.name) + "/>";
        }
        versions += ToXml(version);
    }
    return "<uninstall_information>\n    <version_list>" + list + "</version_list>\n" + versions +
           "</uninstall_information>\n";
}
