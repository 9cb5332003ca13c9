#pragma once

#include <string>
#include <string_view>

#include "store/ComTypes.h"
#include "store/TextConversion.h"

/// One value of a store entry that a record is made of.
struct StoreField {
    std::wstring_view valueName;  // matched without regard to case
    VARTYPE type;                 // what the record needs
    const char* conversionText;   // the expression a failed conversion is traced with
};

/// A value of a record: borrowed from the entry's list as long as it has the type that is needed,
/// converted otherwise.
class CStoreValue {
public:
    CStoreValue() = default;
    CStoreValue(const CStoreValue&) = delete;
    CStoreValue& operator=(const CStoreValue&) = delete;

    void Borrow(const VARIANT& value) { m_value = &value; }
    HRESULT ChangeType(VARTYPE type);

    const VARIANT& Get() const { return *m_value; }
    /// The text of a VT_BSTR as narrow text; a null BSTR is the empty text.
    std::string Narrow() const { return NarrowText(m_value->bstrVal); }

private:
    CComVariant m_converted;  // VT_EMPTY like an absent value
    const VARIANT* m_value = &m_converted;
};

/// What went wrong, for the caller to trace; nothing did when hr is a success.
struct StoreFailure {
    HRESULT hr = S_OK;
    const char* text = nullptr;
};

/// Fills values[k] for fields[k] from the pairs name, value, name, value, ... and then converts
/// them in table order. An absent value stays VT_EMPTY and is converted like one; a later pair of
/// the same name overwrites an earlier one, whatever it holds; a last name without a value is
/// passed over. Stops at the first failure. nameText is the expression of a name that is no text.
/// The values borrow from the pairs.
StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CStoreValue* values, std::size_t count);

template <std::size_t N>
StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField (&fields)[N],
                        CStoreValue (&values)[N]) {
    return ReadFields(pairs, nameText, fields, values, N);
}
