#include "store/ComTypes.h"

#include <system_error>

#include "store/TextConversion.h"

namespace {

BSTR AllocateText(const wchar_t* text) {
    const BSTR allocated = ::SysAllocString(text ? text : L"");
    if (!allocated)
        throw std::system_error(E_OUTOFMEMORY, std::system_category(), "SysAllocString");
    return allocated;
}

}  // namespace

CComBSTR::CComBSTR(const wchar_t* text) : m_str(AllocateText(text)) {}

CComBSTR::CComBSTR(const char* text) : m_str(AllocateText(CWideText(text).Get())) {}

HRESULT CComBSTR::Append(const CComBSTR& text) {
    BSTR joined = nullptr;
    const HRESULT hr = ::VarBstrCat(m_str, text, &joined);
    if (SUCCEEDED(hr)) {
        ::SysFreeString(m_str);
        m_str = joined;
    }
    return hr;
}

CComVariant::CComVariant(const char* text) {
    ::VariantInit(this);
    bstrVal = AllocateText(CWideText(text).Get());
    vt = VT_BSTR;
}

HRESULT CComVariant::CopyFrom(const VARIANT& source) {
    return ::VariantCopy(this, const_cast<VARIANT*>(&source));
}

std::string CComVariant::Narrow() const {
    return vt == VT_BSTR ? NarrowText(bstrVal) : std::string();
}

ArrayView::ArrayView(const VARIANT& result) {
    if (!IsArrayOfVariants(result) || !result.parray || ::SafeArrayGetDim(result.parray) != 1)
        return;
    LONG lower = 0;
    LONG upper = -1;
    void* data = nullptr;
    if (FAILED(::SafeArrayGetLBound(result.parray, 1, &lower)) ||
        FAILED(::SafeArrayGetUBound(result.parray, 1, &upper)) ||
        FAILED(::SafeArrayAccessData(result.parray, &data)))
        return;
    m_array = result.parray;
    m_elements = static_cast<const VARIANT*>(data);
    const long long count = static_cast<long long>(upper) - lower + 1;
    m_size = count > 0 ? static_cast<std::size_t>(count) : 0;
}

ArrayView::~ArrayView() {
    if (m_array)
        ::SafeArrayUnaccessData(m_array);
}
