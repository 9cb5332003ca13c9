// Conversion of values in the store file to VARIANTs for callers.
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
    /// Clears the content and returns its address, for an out argument.
    VARIANT* Receive() {
        ::VariantClear(&m_value);
        return &m_value;
    }
    /// Passes the content to the caller; this object is empty afterwards.
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

    /// Converts the text. On failure, also for an unknown word, `value` is empty.
    HRESULT MakeVariant(OwnedVariant& value) const;

    bool operator==(const TypedText& other) const {
        return text == other.text && typeWord == other.typeWord;
    }
};

/// The form of a list: normally an array of all elements with the lower bound 0; otherwise one that
/// callers must read as another list or as an empty one. docs/lab.md lists the forms.
struct ListForm {
    std::wstring result;
    LONG lower = 0;

    bool IsKnown() const;
    HRESULT Make(const std::vector<const TypedText*>& elements, OwnedVariant& answer) const;
};

/// Returns type and content for the journal, such as bstr "PC-1", ui4 5, array of 14.
std::string Describe(const VARIANT& value);

}  // namespace lab
