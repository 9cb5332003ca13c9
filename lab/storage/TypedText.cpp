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
        length != static_cast<int>(text.size()))
        return false;
    hostOrderAddress = 0;
    for (const unsigned part : octet) {
        if (part > 255)
            return false;
        hostOrderAddress = hostOrderAddress << 8 | part;
    }
    return true;
}

}  // namespace

HRESULT TypedText::MakeVariant(OwnedVariant& value) const {
    VARIANT& out = *value.Receive();
    if (m_typeWord.empty() || m_typeWord == L"bstr") {
        out.bstrVal = ::SysAllocStringLen(m_text.data(), static_cast<UINT>(m_text.size()));
        out.vt = out.bstrVal ? VT_BSTR : VT_EMPTY;
        return out.bstrVal ? S_OK : E_OUTOFMEMORY;
    }
    if (m_typeWord == L"address") {
        if (!ParseAddress(m_text, out.ulVal))
            return DISP_E_TYPEMISMATCH;
        out.vt = VT_UI4;
        return S_OK;
    }
    if (m_typeWord == L"nullbstr" || m_typeWord == L"unknown") {
        out.vt = m_typeWord == L"unknown" ? VT_UNKNOWN : VT_BSTR;
        out.punkVal = nullptr;
        return S_OK;
    }
    if (m_typeWord == L"empty" || m_typeWord == L"null") {
        out.vt = m_typeWord == L"null" ? VT_NULL : VT_EMPTY;
        return S_OK;
    }
    for (const auto& row : kConverted) {
        if (m_typeWord == row.word) {
            OwnedVariant text;
            const HRESULT hr = TypedText(m_text).MakeVariant(text);
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
            if (value.parray && ::SafeArrayGetDim(value.parray) == 1)
                return "array of " + std::to_string(value.parray->rgsabound[0].cElements);
            break;
        default:
            break;
    }
    return "type " + Hex(value.vt);
}

}  // namespace lab
