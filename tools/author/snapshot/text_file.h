#pragma once

#include <string>

namespace tools::author {

// The bytes of a small file, without a mark of UTF-8 at the front. Throws a Failure.
std::string ReadTextFile(const std::wstring& file);

}  // namespace tools::author
