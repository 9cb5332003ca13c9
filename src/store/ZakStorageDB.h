// The gateway's storage component as this tool calls it.
#pragma once

#include <windows.h>

#include <oaidl.h>

/// Visibility class of a stored value. The tool reads and writes public values only.
enum E_ZAKSTORAGE_VISIBILITY { E_ZAKSTORAGE_PUBLIC = 1 };

inline constexpr wchar_t kZakStorageInterface[] = L"IZakStorageDB";

/// The interface id to use if the component publishes none.
inline constexpr IID IID_IZakStorageDB = {
    0x6f0c1a52, 0x3b7e, 0x4d19, {0x9a, 0x84, 0x2e, 0x5d, 0x71, 0xc0, 0xb3, 0xe6}};

/// A store of section -> entry -> value name -> VARIANT. Derives directly from IUnknown; the order
/// of the members is the binary contract. Texts belong to the caller. The caller also owns, and
/// clears, what an out VARIANT receives. index is always 0.
struct IZakStorageDB : public IUnknown {
    /// Opens the XML file at this full path.
    virtual HRESULT STDMETHODCALLTYPE Initialize(BSTR bstrDBPath) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                                BSTR section, BSTR entry, BSTR valueName,
                                                VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                                BSTR section, BSTR entry, BSTR valueName,
                                                VARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused4() = 0;
    /// Closes the file.
    virtual HRESULT STDMETHODCALLTYPE Uninitialize() = 0;
    /// Lists a section's entry ids as an array of variants; entry must be null.
    virtual HRESULT STDMETHODCALLTYPE Enumerate(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                                BSTR section, BSTR entry, VARIANT* entries) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused9() = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused10() = 0;
    virtual HRESULT STDMETHODCALLTYPE Unused11() = 0;
    /// Lists an entry as an array of variants: name, value, name, value, ... unused must be null.
    virtual HRESULT STDMETHODCALLTYPE EnumerateWithValue(E_ZAKSTORAGE_VISIBILITY visibility,
                                                         long index, BSTR section, BSTR entry,
                                                         BSTR unused, VARIANT* pairs) = 0;
};
