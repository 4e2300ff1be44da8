#pragma once

#include <prodrm.h>

#include <span>
#include <utility>

namespace tools::host {

// The elements of an array that stays with its owner.
template <typename Element>
std::span<Element> ElementsOf(SAFEARRAY* array) {
    if (array == nullptr) {
        return {};
    }
    return {static_cast<Element*>(array->pvData), array->rgsabound[0].cElements};
}

// A product whose versions are of one form: BSTR for the names of their keys, VersionEntry for the extended form.
template <typename Version>
struct ProductOf : ProductEntry {};

static_assert(sizeof(ProductOf<BSTR>) == sizeof(ProductEntry));

// Free what an element owns.
void Free(BSTR& text);
void Free(ParamEntry& parameter);
void Free(VersionEntry& version);
template <typename Version>
void Free(ProductOf<Version>& product);

// Owner of an array of the library, with every text and every array in it. Null is an array of no elements.
template <typename Element>
class Array {
public:
    explicit Array(SAFEARRAY* array) : m_array(array) {}
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() {
        for (Element& element : Elements()) {
            Free(element);
        }
        ::SafeArrayDestroy(m_array);
    }

    std::span<Element> Elements() const { return ElementsOf<Element>(m_array); }

private:
    SAFEARRAY* m_array;
};

inline void Free(BSTR& text) {
    ::SysFreeString(text);
}

inline void Free(ParamEntry& parameter) {
    ::SysFreeString(parameter.name);
    const Array<BSTR> values(parameter.values);
}

inline void Free(VersionEntry& version) {
    ::SysFreeString(version.key);
    const Array<ParamEntry> parameters(version.params);
}

template <typename Version>
void Free(ProductOf<Version>& product) {
    ::SysFreeString(product.name);
    ::SysFreeString(product.file);
    const Array<Version> versions(product.guids);
}

}  // namespace tools::host
