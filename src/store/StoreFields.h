#pragma once

#include <string_view>

#include "win/ComTypes.h"

/// One value that a record needs from a store entry.
struct StoreField {
    std::wstring_view valueName;  // case-insensitive
    VARTYPE type;                 // to convert to
    const char* conversionText;   // traced if the conversion fails
};

/// A failure for the caller to trace; none if hr is a success.
struct StoreFailure {
    HRESULT hr = S_OK;
    const char* text = nullptr;
};

/// Sets values[k] to the value of fields[k] in the pairs name, value, name, value, .... Then
/// converts all values, in the order of the table. A missing value is converted from VT_EMPTY. Of
/// several values of one name the last counts. A last name without a value is ignored. Stops at the
/// first failure. nameText: traced if a name can't be converted to a text.
StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CComVariant* values, std::size_t count);
