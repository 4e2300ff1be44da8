#pragma once

#include <prodrm.h>

#include <vector>

#include "catalogue/CProducts.h"

// What the listing exports share: from the flags to the array of ProductEntry. They differ in the products that they
// take of a catalogue and in what they tell of a product's versions.

// Appends the products to list; false fails the export.
using ListReader = bool (*)(const CProducts& catalogue, LONG type, std::vector<CProduct>& list);

// Fills `guids` of one entry from the product's versions; false leaves the entry without them.
using GuidsReader = bool (*)(const std::vector<CProductVersion>& versions, SAFEARRAY** guids);

// The body of an export, under the COM rule; logs in the caller's name. `products` stays as it was if a catalogue
// fails; the other one is loaded all the same.
bool AnswerListing(const wchar_t* caller, SAFEARRAY** products, ULONG flags, ListReader readList,
                   GuidsReader readGuids);
