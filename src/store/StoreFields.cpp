#include "store/StoreFields.h"

#include <algorithm>
#include <cwchar>

StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CComVariant* values, std::size_t count) {
    const StoreField* const fieldsEnd = fields + count;
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        CComVariant name;
        HRESULT hr = name.CopyFrom(pairs[i]);
        if (SUCCEEDED(hr))
            hr = name.ChangeType(VT_BSTR);
        if (FAILED(hr))
            return {hr, nameText};
        const wchar_t* const nameOrEmpty = name.bstrVal ? name.bstrVal : L"";
        const StoreField* const field =
            std::find_if(fields, fieldsEnd, [nameOrEmpty](const StoreField& candidate) {
                return ::_wcsicmp(candidate.valueName, nameOrEmpty) == 0;
            });
        if (field == fieldsEnd || i + 1 >= pairs.size())
            continue;
        hr = values[field - fields].CopyFrom(pairs[i + 1]);
        if (FAILED(hr))
            return {hr, field->conversionText};
    }
    for (std::size_t k = 0; k < count; ++k) {
        const HRESULT hr = values[k].ChangeType(fields[k].type);
        if (FAILED(hr))
            return {hr, fields[k].conversionText};
    }
    return {};
}
