#pragma once

#include <string>
#include <vector>

#include "author/draft/difference.h"
#include "author/draft/territory.h"

namespace tools::author {

// By what a thing in the system's own places shows that it is the product's: it speaks of a new folder, of a new
// program, of the product's name or of an identifier under which the product has registered.
class Evidence {
public:
    Evidence(const Difference& difference, const Territory& territory, const std::wstring& productName);

    // Whether the name, or what it holds, shows it. Of a key, the last name counts.
    bool Speaks(const Thing& thing) const;

private:
    std::vector<std::string> m_words;  // as in a snapshot, in lower case
};

}  // namespace tools::author
