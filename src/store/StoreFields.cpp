#include "store/StoreFields.h"

#include <algorithm>
#include <cwchar>

namespace {

bool HasName(const StoreField& field, std::wstring_view name) {
    return field.valueName.size() == name.size() &&
           ::_wcsnicmp(field.valueName.data(), name.data(), name.size()) == 0;
}

}  // namespace

HRESULT CStoreValue::ChangeType(VARTYPE type) {
    if (m_value->vt == type)
        return S_OK;
    CComVariant source;
    HRESULT hr = source.CopyFrom(*m_value);
    if (SUCCEEDED(hr))
        hr = ::VariantChangeType(&m_converted, &source, 0, type);
    if (SUCCEEDED(hr))
        m_value = &m_converted;
    return hr;
}

StoreFailure ReadFields(const ArrayView& pairs, const char* nameText, const StoreField* fields,
                        CStoreValue* values, std::size_t count) {
    const StoreField* const fieldsEnd = fields + count;
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        CStoreValue name;
        name.Borrow(pairs[i]);
        const HRESULT hr = name.ChangeType(VT_BSTR);
        if (FAILED(hr))
            return {hr, nameText};
        const wchar_t* const text = name.Get().bstrVal;
        const std::wstring_view nameOrEmpty = text ? text : L"";
        const StoreField* const field = std::find_if(
            fields, fieldsEnd,
            [nameOrEmpty](const StoreField& candidate) { return HasName(candidate, nameOrEmpty); });
        if (field != fieldsEnd && i + 1 < pairs.size())
            values[field - fields].Borrow(pairs[i + 1]);
    }
    for (std::size_t k = 0; k < count; ++k) {
        const HRESULT hr = values[k].ChangeType(fields[k].type);
        if (FAILED(hr))
            return {hr, fields[k].conversionText};
    }
    return {};
}
