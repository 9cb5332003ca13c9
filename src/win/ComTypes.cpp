#include "win/ComTypes.h"

#include <system_error>

#include "win/TextConversion.h"

namespace {

void ThrowIfFailed(HRESULT hr, const char* call) {
    if (FAILED(hr))
        throw std::system_error(hr, std::system_category(), call);
}

BSTR AllocateText(const char* text) {
    const BSTR allocated = ::SysAllocString(WideText(text).c_str());
    ThrowIfFailed(allocated ? S_OK : E_OUTOFMEMORY, "SysAllocString");
    return allocated;
}

}  // namespace

CComBSTR::CComBSTR(const char* text) : m_str(AllocateText(text)) {}

HRESULT CComBSTR::Append(BSTR text) {
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
    bstrVal = AllocateText(text);
    vt = VT_BSTR;
}

HRESULT CComVariant::CopyFrom(const VARIANT& source) {
    return ::VariantCopy(this, const_cast<VARIANT*>(&source));
}

std::string CComVariant::Narrow() const {
    return vt == VT_BSTR ? NarrowText(bstrVal) : std::string();
}

ArrayView::ArrayView(const VARIANT& result) {
    SAFEARRAY* const array = IsArrayOfVariants(result) ? result.parray : nullptr;
    // The VARIANT's type may be wrong: elements of another size would be read across their ends.
    if (!array || ::SafeArrayGetDim(array) != 1 || ::SafeArrayGetElemsize(array) != sizeof(VARIANT))
        return;
    LONG lower = 0;
    LONG upper = -1;
    void* data = nullptr;
    ThrowIfFailed(::SafeArrayGetLBound(array, 1, &lower), "SafeArrayGetLBound");
    ThrowIfFailed(::SafeArrayGetUBound(array, 1, &upper), "SafeArrayGetUBound");
    ThrowIfFailed(::SafeArrayAccessData(array, &data), "SafeArrayAccessData");
    m_array = array;
    m_elements = static_cast<const VARIANT*>(data);
    const long long count = static_cast<long long>(upper) - lower + 1;
    m_size = data && count > 0 ? static_cast<std::size_t>(count) : 0;
}

ArrayView::~ArrayView() {
    if (m_array)
        ::SafeArrayUnaccessData(m_array);
}
