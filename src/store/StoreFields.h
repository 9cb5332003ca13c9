#pragma once

#include <string_view>

#include "win/ComTypes.h"

/// One value of a store entry that a record is made of.
struct StoreField {
    std::wstring_view valueName;  // matched without regard to case
    VARTYPE type;                 // what the record needs
    const char* conversionText;   // the expression a failed conversion is traced with
};

/// What went wrong, for the caller to trace; nothing did if hr is a success.
struct StoreFailure {
    HRESULT hr = S_OK;
    const char* text = nullptr;
};

/// Fills values[k] for fields[k] from the pairs name, value, name, value, ... and then converts
/// them in table order. An absent value stays VT_EMPTY and is converted like one; a later pair of
/// the same name overwrites an earlier one, whatever it holds; a last name without a value is
/// ignored. Stops at the first failure. nameText is the expression of a name that is not a text.
StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CComVariant* values, std::size_t count);

template <std::size_t N>
StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField (&fields)[N],
                        CComVariant (&values)[N]) {
    return ReadFields(pairs, nameText, fields, values, N);
}
