// Owners of COM resources. Their names are part of traced expressions, such as
// "CComBSTR(scopeId.c_str())", that log searches match.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <string>

/// A constant BSTR that needs no allocation: the length in bytes, then the text, as COM expects.
/// Callees must not change it.
template <std::size_t N>
class CConstantBstr {
public:
    constexpr explicit CConstantBstr(const wchar_t (&text)[N]) {
        for (std::size_t i = 0; i < N; ++i)
            m_text[i] = text[i];
    }
    operator BSTR() const { return const_cast<BSTR>(m_text); }

private:
    [[maybe_unused]] DWORD m_bytes = (N - 1) * sizeof(wchar_t);
    wchar_t m_text[N] = {};
};

/// Owns a BSTR. Throws std::system_error with E_OUTOFMEMORY if it can't be allocated.
class CComBSTR {
public:
    CComBSTR() = default;
    /// text: narrow, in the thread's ANSI code page.
    explicit CComBSTR(const char* text);
    ~CComBSTR() { ::SysFreeString(m_str); }
    CComBSTR(const CComBSTR&) = delete;
    CComBSTR& operator=(const CComBSTR&) = delete;

    operator BSTR() const { return m_str; }
    HRESULT Append(BSTR text);

private:
    BSTR m_str = nullptr;
};

/// Owns the content of a VARIANT. For an out argument pass the address of a fresh object.
class CComVariant : public VARIANT {
public:
    CComVariant() { ::VariantInit(this); }
    /// Makes a VT_BSTR. text: narrow, in the thread's ANSI code page.
    explicit CComVariant(const char* text);
    ~CComVariant() { ::VariantClear(this); }
    CComVariant(const CComVariant&) = delete;
    CComVariant& operator=(const CComVariant&) = delete;

    /// Replaces the content by a deep copy.
    HRESULT CopyFrom(const VARIANT& source);
    /// Converts in place; a failure leaves the content unchanged.
    HRESULT ChangeType(VARTYPE type) {
        return vt == type ? S_OK : ::VariantChangeType(this, this, 0, type);
    }
    /// Returns the text of a VT_BSTR as narrow text; empty for a null BSTR or another type.
    std::string Narrow() const;
};

/// Keeps a thread in the multithreaded apartment. A thread in another apartment stays there.
class CComApartment {
public:
    CComApartment() = default;
    ~CComApartment() { Leave(); }
    CComApartment(const CComApartment&) = delete;
    CComApartment& operator=(const CComApartment&) = delete;

    void Enter() {
        m_entered = m_entered || SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    }
    void Leave() {
        if (m_entered)
            ::CoUninitialize();
        m_entered = false;
    }

private:
    bool m_entered = false;
};

/// True if a store call returned a list; any other type counts as an empty result.
inline bool IsArrayOfVariants(const VARIANT& result) {
    return result.vt == (VT_ARRAY | VT_VARIANT);
}

/// Locks an array of variants for access to its elements, from the lower bound on. Borrows the
/// array. Empty if the array is null, has no data, another type, another element size or several
/// dimensions. Throws std::system_error if the array can't be locked or measured.
class ArrayView {
public:
    explicit ArrayView(const VARIANT& result);
    ~ArrayView();
    ArrayView(const ArrayView&) = delete;
    ArrayView& operator=(const ArrayView&) = delete;

    const VARIANT* begin() const { return m_elements; }
    const VARIANT* end() const { return m_elements + m_size; }
    std::size_t size() const { return m_size; }
    const VARIANT& operator[](std::size_t index) const { return m_elements[index]; }

private:
    SAFEARRAY* m_array = nullptr;  // locked while set
    const VARIANT* m_elements = nullptr;
    std::size_t m_size = 0;
};
