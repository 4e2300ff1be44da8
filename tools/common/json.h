#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "common/utf8.h"

namespace tools {

// Members keep the order in which they are given.
using Json = nlohmann::ordered_json;

inline std::wstring ToText(const Json& value, int indent = 2, bool asciiOnly = false) {
    return FromUtf8(value.dump(indent, ' ', asciiOnly, Json::error_handler_t::replace));
}

}  // namespace tools
