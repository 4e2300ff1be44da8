#pragma once

#include <string>

#include "judgement.h"
#include "library.h"

namespace tools::host {

struct Explanation {
    Product product;  // with the keys found
    Judgement judgement;
};

std::wstring ExplanationText(const Explanation& explanation);
std::wstring ExplanationJson(const Explanation& explanation);

}  // namespace tools::host
