#include "lab/storage/StoreValue.h"

#include <oleauto.h>

#include <algorithm>
#include <memory>

#include "lab/journal/Text.h"

namespace lab {
namespace {

struct ArrayDestroy {
    void operator()(SAFEARRAY* array) const noexcept { ::SafeArrayDestroy(array); }
};

enum class Content { kText, kConverted, kAddress, kNone };
constexpr struct {
    const wchar_t* word;
    VARTYPE type;
    Content content;
} kTypes[] = {
    {L"", VT_BSTR, Content::kText},          {L"bstr", VT_BSTR, Content::kText},
    {L"ui4", VT_UI4, Content::kConverted},   {L"i4", VT_I4, Content::kConverted},
    {L"date", VT_DATE, Content::kConverted}, {L"address", VT_UI4, Content::kAddress},
    {L"nullbstr", VT_BSTR, Content::kNone},  {L"unknown", VT_UNKNOWN, Content::kNone},
    {L"empty", VT_EMPTY, Content::kNone},    {L"null", VT_NULL, Content::kNone},
};
constexpr const wchar_t* kForms[] = {L"",   L"odd",        L"twice", L"bstr-array",
                                     L"i4", L"null-array", L"locked"};

const LCID kUnitedStates = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);

HRESULT MakeText(const std::wstring& text, OwnedVariant& value) {
    VARIANT& out = *value.Receive();
    out.bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    out.vt = out.bstrVal ? VT_BSTR : VT_EMPTY;
    return out.bstrVal ? S_OK : E_OUTOFMEMORY;
}

HRESULT Fill(SAFEARRAY* array, VARTYPE elementType, const std::vector<const TypedText*>& elements) {
    void* data = nullptr;
    HRESULT hr = ::SafeArrayAccessData(array, &data);
    if (FAILED(hr))
        return hr;
    for (std::size_t i = 0; i < elements.size() && SUCCEEDED(hr); ++i) {
        OwnedVariant element;
        if (elementType == VT_BSTR) {
            hr = MakeText(elements[i]->text, element);
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

HRESULT TypedText::MakeVariant(OwnedVariant& value) const {
    VARIANT& out = *value.Receive();
    const auto* const type =
        std::find_if(std::begin(kTypes), std::end(kTypes),
                     [this](const auto& known) { return known.word == typeWord; });
    if (type == std::end(kTypes))
        return DISP_E_BADVARTYPE;
    OwnedVariant source;
    HRESULT hr = S_OK;
    switch (type->content) {
        case Content::kText:
            return MakeText(text, value);
        case Content::kConverted:
            hr = MakeText(text, source);
            return FAILED(hr) ? hr
                              : ::VariantChangeTypeEx(&out, const_cast<VARIANT*>(&source.get()),
                                                      kUnitedStates, 0, type->type);
        case Content::kAddress:
            if (const auto address = ParseAddress(text))
                out.ulVal = *address;
            else
                return DISP_E_TYPEMISMATCH;
            break;
        case Content::kNone:
            out.punkVal = nullptr;
            break;
    }
    out.vt = type->type;
    return S_OK;
}

bool ListForm::IsKnown() const {
    return std::find(std::begin(kForms), std::end(kForms), result) != std::end(kForms);
}

HRESULT ListForm::Make(const std::vector<const TypedText*>& elements, OwnedVariant& answer) const {
    VARIANT& out = *answer.Receive();
    if (result == L"i4") {
        out.vt = VT_I4;
        out.lVal = static_cast<LONG>(elements.size());
        return S_OK;
    }
    const VARTYPE elementType = result == L"bstr-array" ? VT_BSTR : VT_VARIANT;
    std::unique_ptr<SAFEARRAY, ArrayDestroy> array;
    if (result != L"null-array") {
        std::vector<const TypedText*> listed = elements;
        if (result == L"odd" && !listed.empty())
            listed.pop_back();
        else if (result == L"twice")
            listed.insert(listed.end(), elements.begin(), elements.end());
        SAFEARRAYBOUND bounds{static_cast<ULONG>(listed.size()), lower};
        array.reset(::SafeArrayCreate(elementType, 1, &bounds));
        const HRESULT hr = array ? Fill(array.get(), elementType, listed) : E_OUTOFMEMORY;
        if (FAILED(hr))
            return hr;
        if (result == L"locked")
            array->cLocks = 0xFFFF;  // as many as there can be
    }
    out.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
    out.parray = array.release();
    return S_OK;
}

std::string Describe(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
            return "empty";
        case VT_BSTR:
            return "bstr " + Quoted(value.bstrVal, ::SysStringLen(value.bstrVal));
        case VT_UI4:
            return "ui4 " + std::to_string(value.ulVal);
        case VT_I4:
            return "i4 " + std::to_string(value.lVal);
        case VT_ARRAY | VT_VARIANT:
            return "array of " +
                   std::to_string(value.parray ? value.parray->rgsabound[0].cElements : 0);
        default:
            return "type " + Hex(value.vt);
    }
}

}  // namespace lab
