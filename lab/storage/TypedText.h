// A value as the store file holds it: a text and a word for its type.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <string_view>

namespace lab {

/// Owns a VARIANT and clears it.
class OwnedVariant {
public:
    OwnedVariant() { ::VariantInit(&m_value); }
    ~OwnedVariant() { ::VariantClear(&m_value); }
    OwnedVariant(const OwnedVariant&) = delete;
    OwnedVariant& operator=(const OwnedVariant&) = delete;

    const VARIANT& get() const { return m_value; }
    /// The address for an out argument, after clearing.
    VARIANT* Receive() {
        ::VariantClear(&m_value);
        return &m_value;
    }
    /// Gives the content away; this object is empty afterwards.
    VARIANT Detach() {
        const VARIANT value = m_value;
        ::VariantInit(&m_value);
        return value;
    }

private:
    VARIANT m_value;
};

/// Words: bstr (the default), ui4, i4, i2, r8, bool, date: the text converted to that type by
/// United States rules on every machine; address: a dotted address as the host-order VT_UI4;
/// nullbstr: VT_BSTR with a null pointer; unknown: VT_UNKNOWN with a null pointer; empty; null.
class TypedText {
public:
    TypedText() = default;
    explicit TypedText(std::wstring text) : m_text(std::move(text)) {}
    TypedText(std::wstring text, std::wstring typeWord)
        : m_text(std::move(text)), m_typeWord(std::move(typeWord)) {}

    const std::wstring& Text() const { return m_text; }
    /// Empty for bstr.
    const std::wstring& TypeWord() const { return m_typeWord; }

    /// Makes the value; `value` is left empty on failure, which an unknown word is, too.
    HRESULT MakeVariant(OwnedVariant& value) const;

    bool operator==(const TypedText& other) const {
        return m_text == other.m_text && m_typeWord == other.m_typeWord;
    }

private:
    std::wstring m_text;
    std::wstring m_typeWord;
};

/// One line for the journal: the type and the content, such as bstr "PC-1", ui4 5, array of 14.
std::string Describe(const VARIANT& value);

}  // namespace lab
