// What the store's file holds, as the VARIANTs that its callers get.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <utility>
#include <vector>

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

/// A text and a word for its type; docs/lab.md lists the words.
struct TypedText {
    std::wstring text;
    std::wstring typeWord;  // empty for a text

    /// Makes the value; `value` is left empty on failure, which an unknown word is, too.
    HRESULT MakeVariant(OwnedVariant& value) const;

    bool operator==(const TypedText& other) const {
        return text == other.text && typeWord == other.typeWord;
    }
};

/// The form of a list: normally all elements from index 0 on, on request something that a caller
/// must take for another list, or for an empty one. docs/lab.md lists the forms.
struct ListForm {
    std::wstring result;
    LONG lower = 0;

    bool IsKnown() const;
    HRESULT Make(const std::vector<const TypedText*>& elements, OwnedVariant& answer) const;
};

/// One line for the journal: the type and the content, such as bstr "PC-1", ui4 5, array of 14.
std::string Describe(const VARIANT& value);

}  // namespace lab
