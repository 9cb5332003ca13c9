#include "lab/storage/TypedText.h"

#include <oleauto.h>

#include <cwchar>
#include <iterator>

#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr struct {
    const wchar_t* word;
    VARTYPE type;
} kConverted[] = {
    {L"ui4", VT_UI4}, {L"i4", VT_I4},     {L"i2", VT_I2},
    {L"r8", VT_R8},   {L"bool", VT_BOOL}, {L"date", VT_DATE},
};

const LCID kUnitedStates = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);

bool ParseAddress(const std::wstring& text, ULONG& hostOrderAddress) {
    unsigned octet[4];
    int length = -1;
    if (std::swscanf(text.c_str(), L"%3u.%3u.%3u.%3u%n", &octet[0], &octet[1], &octet[2], &octet[3],
                     &length) != 4 ||
        length != static_cast<int>(text.size())) {
        return false;
    }
    hostOrderAddress = 0;
    for (const unsigned part : octet) {
        if (part > 255) {
            return false;
        }
        hostOrderAddress = hostOrderAddress << 8 | part;
    }
    return true;
}

}  // namespace

HRESULT TypedText::MakeVariant(OwnedVariant& value) const {
    VARIANT& out = *value.Receive();
    if (typeWord_.empty() || typeWord_ == L"bstr") {
        out.bstrVal = ::SysAllocStringLen(text_.data(), static_cast<UINT>(text_.size()));
        out.vt = out.bstrVal ? VT_BSTR : VT_EMPTY;
        return out.bstrVal ? S_OK : E_OUTOFMEMORY;
    }
    if (typeWord_ == L"address") {
        if (!ParseAddress(text_, out.ulVal)) {
            return DISP_E_TYPEMISMATCH;
        }
        out.vt = VT_UI4;
        return S_OK;
    }
    if (typeWord_ == L"nullbstr" || typeWord_ == L"unknown") {
        out.vt = typeWord_ == L"unknown" ? VT_UNKNOWN : VT_BSTR;
        out.punkVal = nullptr;
        return S_OK;
    }
    if (typeWord_ == L"empty" || typeWord_ == L"null") {
        out.vt = typeWord_ == L"null" ? VT_NULL : VT_EMPTY;
        return S_OK;
    }
    for (const auto& row : kConverted) {
        if (typeWord_ == row.word) {
            OwnedVariant text;
            const HRESULT hr = TypedText(text_).MakeVariant(text);
            return FAILED(hr) ? hr
                              : ::VariantChangeTypeEx(&out, const_cast<VARIANT*>(&text.get()),
                                                      kUnitedStates, 0, row.type);
        }
    }
    return DISP_E_BADVARTYPE;
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
            if (value.parray && ::SafeArrayGetDim(value.parray) == 1) {
                return "array of " + std::to_string(value.parray->rgsabound[0].cElements);
            }
            break;
        default:
            break;
    }
    return "type " + Hex(value.vt);
}

}  // namespace lab
