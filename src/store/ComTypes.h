// Owners of COM resources, under the names that the traced expression texts use, such as
// "CComBSTR(scopeId.c_str())" in the store calls: so the traced text is the code itself. Only the
// members this tool needs.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <string>

/// Owns a BSTR. Throws std::system_error with E_OUTOFMEMORY when it can't be allocated.
class CComBSTR {
public:
    CComBSTR() = default;
    explicit CComBSTR(const wchar_t* text);
    /// From narrow text in the thread's ANSI code page.
    explicit CComBSTR(const char* text);
    ~CComBSTR() { ::SysFreeString(m_str); }
    CComBSTR(const CComBSTR&) = delete;
    CComBSTR& operator=(const CComBSTR&) = delete;

    operator BSTR() const { return m_str; }
    UINT Length() const { return ::SysStringLen(m_str); }
    HRESULT Append(const CComBSTR& text);

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
    HRESULT ChangeType(VARTYPE type) { return ::VariantChangeType(this, this, 0, type); }
    /// The text of a VT_BSTR as narrow text; a null BSTR is the empty text.
    std::string Narrow() const;
};

/// Owns one reference to a COM object. FindId tells the id that the objects of a class know the
/// interface by.
template <class Interface, IID (*FindId)(REFCLSID)>
class CComPtr {
public:
    CComPtr() = default;
    ~CComPtr() { Release(); }
    CComPtr(const CComPtr&) = delete;
    CComPtr& operator=(const CComPtr&) = delete;

    HRESULT CoCreateInstance(const wchar_t* progId) {
        Release();
        CLSID classId;
        const HRESULT hr = ::CLSIDFromProgID(progId, &classId);
        if (FAILED(hr))
            return hr;
        void* created = nullptr;
        const HRESULT made =
            ::CoCreateInstance(classId, nullptr, CLSCTX_ALL, FindId(classId), &created);
        if (SUCCEEDED(made))
            p = static_cast<Interface*>(created);
        return made;
    }
    void Release() {
        if (Interface* const held = p) {
            p = nullptr;
            held->Release();
        }
    }
    Interface* operator->() const { return p; }
    explicit operator bool() const { return p != nullptr; }

    Interface* p = nullptr;
};

/// The time that this thread uses COM (multithreaded). A thread that had entered COM in another
/// mode before stays in that one, and is not taken out of it.
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
