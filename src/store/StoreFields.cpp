#include "store/StoreFields.h"

#include <algorithm>
#include <cwchar>

namespace {

bool HasName(const StoreField& field, std::wstring_view name) {
    return field.valueName.size() == name.size() &&
           ::_wcsnicmp(field.valueName.data(), name.data(), name.size()) == 0;
}

}  // namespace

StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CComVariant* values, std::size_t count) {
    const StoreField* const fieldsEnd = fields + count;
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        const VARIANT* nameValue = &pairs[i];
        CComVariant converted;
        HRESULT hr = S_OK;
        if (nameValue->vt != VT_BSTR) {
            hr = ::VariantChangeType(&converted, const_cast<VARIANT*>(nameValue), 0, VT_BSTR);
            nameValue = &converted;
        }
        if (FAILED(hr))
            return {hr, nameText};
        const std::wstring_view name = nameValue->bstrVal ? nameValue->bstrVal : L"";
        const StoreField* const field =
            std::find_if(fields, fieldsEnd,
                         [name](const StoreField& candidate) { return HasName(candidate, name); });
        if (field == fieldsEnd || i + 1 == pairs.size())
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
