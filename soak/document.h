#pragma once

#include <string>
#include <utility>
#include <vector>

// A removal document, in parts that a reduction can leave out one by one. Texts may hold folders' names in braces.

struct Element {
    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    bool isComment = false;
};

struct Section {
    std::wstring operation;
    std::vector<Element> elements;
};

struct Version {
    std::wstring name;
    bool isListed = true;
    std::vector<Element> paths;  // app_path, install_folder
    std::vector<Section> sections;
};

using Document = std::vector<Version>;

// As XML in UTF-8, with the names in braces still in place.
std::string ToXml(const Document& document);
