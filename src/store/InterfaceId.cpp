#include "store/InterfaceId.h"

#include <oleauto.h>

#include <cstddef>
#include <cwchar>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "diagtools/DiagTraceInfo.h"
#include "store/ZakStorageDB.h"
#include "win/Handles.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "InterfaceId";

constexpr std::size_t kGuidChars = 39;  // with braces and terminator
using FoundId = std::optional<IID>;

struct ComRelease {
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};
using TypeLibrary = std::unique_ptr<ITypeLib, ComRelease>;
using TypeInfo = std::unique_ptr<ITypeInfo, ComRelease>;

/// The default value of a key below HKEY_CLASSES_ROOT; empty when there is none.
std::wstring ClassesText(const std::wstring& key) {
    wchar_t text[1024];
    DWORD bytes = sizeof(text);
    return ::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text,
                          &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

/// Calls visit with the name of each key below this one until it returns an id.
template <class Visit>
FoundId FindInSubkeys(const std::wstring& key, const Visit& visit) {
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return std::nullopt;
    const RegKey owner(opened);
    wchar_t name[256];
    for (DWORD index = 0;; ++index) {
        DWORD chars = static_cast<DWORD>(std::size(name));
        if (::RegEnumKeyExW(opened, index, name, &chars, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            return std::nullopt;
        if (const FoundId found = visit(key + L"\\" + name, name))
            return found;
    }
}

bool HasName(ITypeLib& library, UINT index) {
    BSTR name = nullptr;
    if (FAILED(library.GetDocumentation(static_cast<INT>(index), &name, nullptr, nullptr, nullptr)))
        return false;
    const bool same = name && ::_wcsicmp(name, kZakStorageInterface) == 0;
    ::SysFreeString(name);
    return same;
}

/// load: gives a library, as LoadTypeLib does.
template <class Load>
FoundId FindInLibrary(const Load& load) {
    ITypeLib* received = nullptr;
    const HRESULT loaded = load(&received);
    const TypeLibrary library(received);
    if (FAILED(loaded) || !library)
        return std::nullopt;
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        ITypeInfo* info = nullptr;
        if (!HasName(*library, index) || FAILED(library->GetTypeInfo(index, &info)))
            continue;
        const TypeInfo owner(info);
        TYPEATTR* attributes = nullptr;
        if (FAILED(info->GetTypeAttr(&attributes)))
            continue;
        const bool isInterface =
            attributes->typekind == TKIND_INTERFACE || attributes->typekind == TKIND_DISPATCH;
        const IID id = attributes->guid;
        info->ReleaseTypeAttr(attributes);
        if (isInterface)
            return id;
    }
    return std::nullopt;
}

FoundId FindInRegisteredLibrary(const std::wstring& classKey) {
    const std::wstring libraryText = ClassesText(classKey + L"\\TypeLib");
    GUID libraryId;
    if (FAILED(::IIDFromString(libraryText.c_str(), &libraryId)))
        return std::nullopt;
    // One key a version, "major.minor" in hexadecimal.
    return FindInSubkeys(L"TypeLib\\" + libraryText, [&](const std::wstring&, const wchar_t* name) {
        unsigned short major = 0;
        unsigned short minor = 0;
        if (std::swscanf(name, L"%hx.%hx", &major, &minor) != 2)
            return FoundId();
        return FindInLibrary([&](ITypeLib** library) {
            return ::LoadRegTypeLib(libraryId, major, minor, LOCALE_NEUTRAL, library);
        });
    });
}

/// The file in a server's command line, which may have quotation marks and arguments.
std::wstring ServerFile(const std::wstring& commandLine) {
    if (commandLine.rfind(L'"', 0) == 0)
        return commandLine.substr(1, commandLine.find(L'"', 1) - 1);
    std::wstring lower = commandLine;
    ::CharLowerBuffW(&lower[0], static_cast<DWORD>(lower.size()));
    const std::size_t arguments = lower.find(L".exe ");
    return commandLine.substr(0, arguments == lower.npos ? arguments : arguments + 4);
}

FoundId FindInServer(const std::wstring& serverKey) {
    const std::wstring file = ServerFile(ClassesText(serverKey));
    if (file.empty())
        return std::nullopt;
    return FindInLibrary(
        [&](ITypeLib** library) { return ::LoadTypeLibEx(file.c_str(), REGKIND_NONE, library); });
}

FoundId FindInRegisteredInterfaces() {
    return FindInSubkeys(
        L"Interface",
        [](const std::wstring& key, const wchar_t* name) {
            IID id;
            return ClassesText(key) == kZakStorageInterface && SUCCEEDED(::IIDFromString(name, &id))
                       ? FoundId(id)
                       : std::nullopt;
        });
}

}  // namespace

IID FindStorageInterfaceId(REFCLSID classId) {
    wchar_t classText[kGuidChars] = L"";
    ::StringFromGUID2(classId, classText, static_cast<int>(std::size(classText)));
    const std::wstring classKey = std::wstring(L"CLSID\\") + classText;
    const auto traced = [](const IID& id, const std::wstring& source) {
        wchar_t text[kGuidChars] = L"";
        ::StringFromGUID2(id, text, static_cast<int>(std::size(text)));
        DT_TRACE(kTraceDefault, "Interface id [%ls] published in [%ls]", text, source.c_str());
        return id;
    };
    if (const FoundId found = FindInRegisteredLibrary(classKey))
        return traced(*found, classKey + L"\\TypeLib");
    for (const wchar_t* const server : {L"\\InprocServer32", L"\\LocalServer32"})
        if (const FoundId found = FindInServer(classKey + server))
            return traced(*found, classKey + server);
    if (const FoundId found = FindInRegisteredInterfaces())
        return traced(*found, L"Interface");
    return IID_IZakStorageDB;
}
