#pragma once

#include <string>
#include <vector>

#include "author/draft/difference.h"
#include "author/draft/places.h"

namespace tools::author {

// What many products share by its nature, whether it was there before or not.
class Territory {
public:
    explicit Territory(const Machine& machine);

    // A folder or key that holds the things of many products, or leads to such: never a product's own.
    bool IsShared(const std::wstring& path) const;
    // A folder or key of which each folder or key in it belongs to one product: App Paths, Services.
    bool HoldsProducts(const std::wstring& path) const;
    // A place in which a new thing may be the system's own: it takes evidence to count it as the product's.
    bool IsOfSystem(const std::wstring& path) const;
    // A folder or key whose folders and keys are products or their makers: Program Files, HKLM\Software.
    bool HoldsMakers(const std::wstring& path) const;
    // A file that bears another name on each machine.
    bool HasRandomName(const std::wstring& path) const;

    // The key of a file extension, which is everybody's.
    static bool IsExtension(const std::wstring& path);
    // A key of a name that the classes of many products have.
    static bool IsPartOfClass(const std::wstring& path);

private:
    using Pattern = std::vector<std::wstring>;  // names, in lower case

    std::wstring Comparable(const std::wstring& path) const;
    static bool Matches(const Pattern& pattern, const Pattern& names);

    Places m_places;
    std::vector<Pattern> m_shared;
    std::vector<Pattern> m_makers;
    std::vector<Pattern> m_system;
    std::wstring m_installerFolder;
};

}  // namespace tools::author
