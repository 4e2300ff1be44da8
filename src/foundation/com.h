#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <utility>

// The one exception of the COM layer: a failed allocation leaves the library with this code.
class ComError {
public:
    explicit ComError(HRESULT code) : m_code(code) {}
    HRESULT Code() const { return m_code; }

private:
    HRESULT m_code;
};

[[noreturn]] void RaiseComError(HRESULT code);

// One reference on an interface.
template <typename Interface>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(ComPtr&& other) noexcept : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
    ComPtr& operator=(ComPtr&& other) noexcept {
        std::swap(m_pointer, other.m_pointer);
        return *this;
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }

    explicit operator bool() const { return m_pointer != nullptr; }
    Interface* Get() const { return m_pointer; }
    Interface* operator->() const { return m_pointer; }

    // Drops what is held and gives the address for an output argument.
    Interface** Put() {
        Reset();
        return &m_pointer;
    }

    template <typename Other>
    HRESULT As(REFIID id, ComPtr<Other>& other) const {
        return m_pointer->QueryInterface(id, reinterpret_cast<void**>(other.Put()));
    }

    void Reset() {
        if (Interface* const old = std::exchange(m_pointer, nullptr)) {
            old->Release();
        }
    }

private:
    Interface* m_pointer = nullptr;
};

// One owned BSTR.
class Bstr {
public:
    Bstr() = default;
    // Raises ComError with E_OUTOFMEMORY; a null text gives a null BSTR.
    static Bstr CopyOf(const wchar_t* text);
    Bstr(Bstr&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { ::SysFreeString(m_text); }

    BSTR Get() const { return m_text; }
    BSTR* Put() {
        ::SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }
    // A null BSTR reads as empty text.
    const wchar_t* Text() const { return m_text != nullptr ? m_text : L""; }

private:
    BSTR m_text = nullptr;
};

// One owned VARIANT.
class Variant {
public:
    Variant() { ::VariantInit(&m_value); }
    // A VARIANT that owns a copy of `text`; raises ComError with E_OUTOFMEMORY.
    static Variant CopyOf(const wchar_t* text);
    Variant(Variant&& other) noexcept : m_value(other.m_value) { ::VariantInit(&other.m_value); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { ::VariantClear(&m_value); }

    const VARIANT& Get() const { return m_value; }
    VARIANT* Put() {
        ::VariantClear(&m_value);
        return &m_value;
    }

private:
    VARIANT m_value;
};
