#pragma once

#include <windows.h>
#include <oaidl.h>

#include <array>
#include <iterator>
#include <vector>

#include "api/exports.h"
#include "catalogue/CProduct.h"

// The arrays that the exports hand to the host: one dimension, lower bound 0, no features. Failures are logged in the
// caller's name.

// Makes an array of `count` elements of `elementBytes` and gives access to its zeroed data. On failure frees what was
// made; the pointer itself is not reset.
bool MakeResultArray(const wchar_t* caller, SAFEARRAY** array, ULONG elementBytes, ULONG count, void** data);

// A failure changes nothing.
void EndResultArrayAccess(const wchar_t* caller, SAFEARRAY* array);

// One list of products per catalogue.
using ProductLists = std::array<std::vector<CProduct>, std::size(kCatalogues)>;

// Fills `guids` of one entry from the product's versions; false leaves the entry without them.
using GuidsReader = bool (*)(const std::vector<CProductVersion>& versions, SAFEARRAY** guids);

// The array of ProductEntry over all lists; `force` stays as the allocation left it.
bool MakeProductArray(const wchar_t* caller, const ProductLists& lists, GuidsReader readGuids, SAFEARRAY** products);
