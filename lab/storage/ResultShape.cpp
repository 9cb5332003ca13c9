#include "lab/storage/ResultShape.h"

#include <oleauto.h>

#include <memory>

namespace lab {
namespace {

struct ArrayDestroy {
    void operator()(SAFEARRAY* array) const noexcept { ::SafeArrayDestroy(array); }
};
using OwnedArray = std::unique_ptr<SAFEARRAY, ArrayDestroy>;

HRESULT Fill(SAFEARRAY* array, VARTYPE elementType, const std::vector<const TypedText*>& elements) {
    void* data = nullptr;
    HRESULT hr = ::SafeArrayAccessData(array, &data);
    if (FAILED(hr))
        return hr;
    for (std::size_t i = 0; i < elements.size() && SUCCEEDED(hr); ++i) {
        OwnedVariant element;
        if (elementType == VT_BSTR) {
            hr = TypedText(elements[i]->Text()).MakeVariant(element);
            static_cast<BSTR*>(data)[i] = element.Detach().bstrVal;
        } else {
            hr = elements[i]->MakeVariant(element);
            static_cast<VARIANT*>(data)[i] = element.Detach();
        }
    }
    ::SafeArrayUnaccessData(array);
    return hr;
}

}  // namespace

bool ResultShape::IsKnown() const {
    for (const wchar_t* const known :
         {L"", L"odd", L"twice", L"bstr-array", L"i4", L"empty", L"null-array", L"two-dimensional"})
        if (result == known)
            return true;
    return false;
}

HRESULT ResultShape::Make(const std::vector<const TypedText*>& elements,
                          OwnedVariant& answer) const {
    VARIANT& out = *answer.Receive();
    if (result == L"empty")
        return S_OK;
    if (result == L"i4") {
        out.vt = VT_I4;
        out.lVal = static_cast<LONG>(elements.size());
        return S_OK;
    }
    const VARTYPE elementType = result == L"bstr-array" ? VT_BSTR : VT_VARIANT;
    OwnedArray array;
    if (result != L"null-array") {
        std::vector<const TypedText*> listed = elements;
        if (result == L"odd" && !listed.empty())
            listed.pop_back();
        else if (result == L"twice")
            listed.insert(listed.end(), elements.begin(), elements.end());
        SAFEARRAYBOUND bounds[] = {{static_cast<ULONG>(listed.size()), lower}, {1, 0}};
        array.reset(::SafeArrayCreate(elementType, result == L"two-dimensional" ? 2 : 1, bounds));
        if (!array)
            return E_OUTOFMEMORY;
        const HRESULT hr = Fill(array.get(), elementType, listed);
        if (FAILED(hr))
            return hr;
    }
    out.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
    out.parray = array.release();
    return S_OK;
}

}  // namespace lab
