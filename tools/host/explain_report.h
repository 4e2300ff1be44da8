#pragma once

#include <string>

#include "library.h"
#include "preview/judgement.h"

namespace tools::host {

struct Explanation {
    Product product;
    preview::Judgement judgement;
};

std::wstring ExplanationText(const Explanation& explanation);
std::wstring ExplanationJson(const Explanation& explanation);

}  // namespace tools::host
