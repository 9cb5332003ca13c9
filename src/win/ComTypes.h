// Owners of COM resources, under the names that the traced expression texts use, such as
// "CComBSTR(scopeId.c_str())" in the store calls, so that the traced text is the code itself. Only
// the members this tool needs.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <string>

/// A BSTR that needs no allocation, for constants: the text with its length in bytes before it, as
/// COM lays it out. Callees only read it.
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
    /// From narrow text in the thread's ANSI code page.
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
    /// A VT_BSTR from narrow text in the thread's ANSI code page.
    explicit CComVariant(const char* text);
    ~CComVariant() { ::VariantClear(this); }
    CComVariant(const CComVariant&) = delete;
    CComVariant& operator=(const CComVariant&) = delete;

    /// Deep copy, replacing the present content; both sides own theirs.
    HRESULT CopyFrom(const VARIANT& source);
    /// Converts in place; a failure leaves the content as it was.
    HRESULT ChangeType(VARTYPE type) {
        return vt == type ? S_OK : ::VariantChangeType(this, this, 0, type);
    }
    /// The text of a VT_BSTR as narrow text; a null BSTR is the empty text.
    std::string Narrow() const;
};

/// Keeps the thread in the multithreaded apartment. A thread that had entered COM in another mode
/// before stays in that one, and is not taken out of it.
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

/// Whether a store call gave a list at all; any other type counts as an empty result.
inline bool IsArrayOfVariants(const VARIANT& result) {
    return result.vt == (VT_ARRAY | VT_VARIANT);
}

/// The elements of an array of variants while this object lives, from its lower bound on; borrows
/// the array. A null array, one without data, another type, elements of another size or more
/// dimensions than one hold no elements. Throws std::system_error when the array can't be locked or
/// measured.
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
