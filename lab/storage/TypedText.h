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
    OwnedVariant() { ::VariantInit(&value_); }
    ~OwnedVariant() { ::VariantClear(&value_); }
    OwnedVariant(const OwnedVariant&) = delete;
    OwnedVariant& operator=(const OwnedVariant&) = delete;

    const VARIANT& get() const { return value_; }
    /// The address for an out argument, after clearing.
    VARIANT* Receive() {
        ::VariantClear(&value_);
        return &value_;
    }
    /// Gives the content away; this object is empty afterwards.
    VARIANT Detach() {
        const VARIANT value = value_;
        ::VariantInit(&value_);
        return value;
    }

private:
    VARIANT value_;
};

/// Words: bstr (the default), ui4, i4, i2, r8, bool, date: the text converted to that type by
/// United States rules on every machine; address: a dotted address as the host-order VT_UI4;
/// nullbstr: VT_BSTR with a null pointer; unknown: VT_UNKNOWN with a null pointer; empty; null.
class TypedText {
public:
    TypedText() = default;
    explicit TypedText(std::wstring text) : text_(std::move(text)) {}
    TypedText(std::wstring text, std::wstring typeWord)
        : text_(std::move(text)), typeWord_(std::move(typeWord)) {}

    const std::wstring& Text() const { return text_; }
    /// Empty for bstr.
    const std::wstring& TypeWord() const { return typeWord_; }

    /// Makes the value; `value` is left empty on failure, which an unknown word is, too.
    HRESULT MakeVariant(OwnedVariant& value) const;

    bool operator==(const TypedText& other) const {
        return text_ == other.text_ && typeWord_ == other.typeWord_;
    }

private:
    std::wstring text_;
    std::wstring typeWord_;
};

/// One line for the journal: the type and the content, such as bstr "PC-1", ui4 5, array of 14.
std::string Describe(const VARIANT& value);

}  // namespace lab
