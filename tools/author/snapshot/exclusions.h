#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tools::author {

// What a snapshot leaves out: a list of patterns, one a line, in the form in which things stand in snapshots; "#"
// begins a comment. A star stands for any run of characters within one name, a folder name of the scripts between angle
// brackets at the front, such as <windows_folder>, for that folder. Letters count without regard to their case. A
// folder or key is left out with all that lies in it.
class Exclusions {
public:
    // Patterns that may still match something in a folder or key, by how many of their names are behind.
    struct Cursor {
        std::size_t pattern;
        std::size_t depth;
    };
    using Cursors = std::vector<Cursor>;

    // `text` is UTF-8. Throws a Failure on an unknown folder name.
    explicit Exclusions(std::string_view text);

    // Leaves out one more thing, which is not among the lines: a path of this machine, not a pattern of the list.
    void AddPath(const std::wstring& path);

    // The list that is used where none is named, and that is printed for changing it.
    static std::string_view Default();

    const std::vector<std::string>& Lines() const { return m_lines; }  // as given, sorted, without comments

    // Outside everything.
    Cursors Begin() const;
    // Whether the thing of this name is left out. If not, `inside` becomes the cursors for what it holds.
    bool Excludes(const Cursors& outside, std::wstring_view name, Cursors& inside) const;
    // The same for a whole path.
    bool ExcludesPath(const std::wstring& path, Cursors& inside) const;
    // Whether a value is left out, with the cursors inside of its key.
    bool ExcludesValue(const Cursors& insideKey, std::wstring_view name) const;

private:
    struct Pattern {
        std::vector<std::wstring> names;  // in lower case
        bool isValue = false;             // the last name is a value's
    };

    void Add(std::string_view line);

    std::vector<std::string> m_lines;
    std::vector<Pattern> m_patterns;
};

}  // namespace tools::author
