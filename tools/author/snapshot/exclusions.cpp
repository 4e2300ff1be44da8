#include "author/snapshot/exclusions.h"

#include <windows.h>

#include <algorithm>

#include "author/snapshot/names.h"
#include "common/failure.h"
#include "foundation/CSpecialFolder.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

bool Matches(std::wstring_view pattern, std::wstring_view name) {
    const std::size_t star = pattern.find(L'*');
    if (star == std::wstring_view::npos) {
        return pattern == name;
    }
    if (name.substr(0, star) != pattern.substr(0, star)) {
        return false;
    }
    const std::wstring_view rest = pattern.substr(star + 1);
    for (std::size_t from = star; from <= name.size(); ++from) {
        if (Matches(rest, name.substr(from))) {
            return true;
        }
    }
    return false;
}

// The path that a pattern begins with, its folder name resolved. A folder that this system does not have makes the
// pattern match nothing.
std::wstring Resolved(const std::wstring& path) {
    const std::size_t end = path.find(L'>');
    if (path.empty() || path.front() != L'<' || end == std::wstring::npos) {
        return path;
    }
    std::wstring folder;
    const std::wstring name = path.substr(1, end - 1);
    if (!CSpecialFolder().Get(name, folder)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"unknown folder name in the list of exclusions: \"" + name + L"\"");
    }
    return folder + path.substr(end + 1);
}

std::vector<std::wstring> Names(const std::wstring& path) {
    std::vector<std::wstring> names;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', begin), path.size());
        names.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

}  // namespace

Exclusions::Exclusions(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        Add(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    std::sort(m_lines.begin(), m_lines.end());
}

void Exclusions::Add(std::string_view line) {
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    if (line.empty() || line.front() == '#') {
        return;
    }
    m_lines.emplace_back(line);
    const std::size_t tab = line.find('\t');
    Pattern pattern;
    pattern.names = Names(LowerCase(Resolved(Unescaped(line.substr(0, tab)))));
    if (tab != std::string_view::npos) {
        pattern.names.push_back(LowerCase(Unescaped(line.substr(tab + 1))));
        pattern.isValue = true;
    }
    m_patterns.push_back(std::move(pattern));
}

void Exclusions::AddPath(const std::wstring& path) {
    m_patterns.push_back({Names(LowerCase(path)), false});
}

Exclusions::Cursors Exclusions::Begin() const {
    Cursors cursors;
    for (std::size_t pattern = 0; pattern < m_patterns.size(); ++pattern) {
        cursors.push_back({pattern, 0});
    }
    return cursors;
}

bool Exclusions::Excludes(const Cursors& outside, std::wstring_view name, Cursors& inside) const {
    inside.clear();
    if (outside.empty()) {
        return false;
    }
    const std::wstring lower = LowerCase(std::wstring(name));
    for (const Cursor& cursor : outside) {
        const Pattern& pattern = m_patterns[cursor.pattern];
        const std::size_t left = pattern.names.size() - cursor.depth;
        if ((pattern.isValue && left < 2) || !Matches(pattern.names[cursor.depth], lower)) {
            continue;
        }
        if (left == 1) {
            return true;
        }
        inside.push_back({cursor.pattern, cursor.depth + 1});
    }
    return false;
}

bool Exclusions::ExcludesPath(const std::wstring& path, Cursors& inside) const {
    inside = Begin();
    const std::vector<std::wstring> names = Names(path);
    return std::any_of(names.begin(), names.end(), [&](const std::wstring& name) {
        const Cursors outside = std::move(inside);
        return Excludes(outside, name, inside);
    });
}

bool Exclusions::ExcludesValue(const Cursors& insideKey, std::wstring_view name) const {
    return std::any_of(insideKey.begin(), insideKey.end(), [&](const Cursor& cursor) {
        const Pattern& pattern = m_patterns[cursor.pattern];
        return pattern.isValue && pattern.names.size() - cursor.depth == 1 &&
               Matches(pattern.names.back(), LowerCase(std::wstring(name)));
    });
}

}  // namespace tools::author
