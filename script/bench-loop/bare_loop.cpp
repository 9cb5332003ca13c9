// bare_loop: the external calls of dhcpmigrate's export and import of clients (-c, -l) and the
// bytes that they write, without any further work. script/bench measures the program against it.
//
// It checks nothing: in the input that script/bench makes, every field is present and valid. All
// declarations are its own, so that a change of the program does not change the yardstick.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <string>

// Not in the unnamed namespace: the compiler would see that no class implements it.
struct IGatewayStore : public IUnknown {
    virtual HRESULT WINAPI Initialize(BSTR path) = 0;
    virtual void Slot2() = 0, Slot3() = 0, Slot4() = 0;
    virtual HRESULT WINAPI Uninitialize() = 0;
    virtual HRESULT WINAPI Enumerate(int, long, BSTR section, BSTR, VARIANT* entries) = 0;
    virtual void Slot7() = 0, Slot8() = 0, Slot9() = 0, Slot10() = 0, Slot11() = 0;
    virtual HRESULT WINAPI EnumerateWithValue(int, long, BSTR section, BSTR entry, BSTR,
                                              VARIANT* pairs) = 0;
};

namespace {

struct BinaryData {
    DWORD bytes;
    BYTE* data;
};
struct ClientInfo {
    DWORD address, mask;
    BinaryData hardware;
    const wchar_t *name, *comment;
    ULARGE_INTEGER expires;
    DWORD owner;
    const wchar_t* ownerNames[2];
    BYTE type;
};
struct Reservation {
    DWORD address;
    const BinaryData* client;
    BYTE types;
};
struct Element {
    DWORD type;
    const Reservation* content;
};

std::string server, logName;
bool verbose = true;

HANDLE Open(const std::string& name, DWORD access, DWORD disposition) {
    return ::CreateFileA(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void Write(HANDLE file, const std::string& bytes) {
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Show(const std::string& message) {
    if (logName.empty())
        return Write(::GetStdHandle(STD_OUTPUT_HANDLE), message);
    const HANDLE log = Open(logName, FILE_APPEND_DATA, OPEN_ALWAYS);
    Write(log, message);
    ::CloseHandle(log);
}

void ShowClient(std::string text, const std::string (&fields)[7], const char* end) {
    static const char* const labels[] = {" : Name [",        "], IP Address [", "], NetMask [",
                                         "], DNS1 [",        "], DNS2 [",       "], MAC Address [",
                                         "], Lease Status ["};
    for (int i = 0; i < 7; ++i)
        text.append(labels[i]).append(fields[i]);
    Show(text.append(end));
}

void SetText(std::string& text, const VARIANT& value) {
    text.clear();
    if (value.vt == VT_UI4) {
        for (int shift = 24; shift >= 0; shift -= 8)
            text.append(std::to_string(value.ulVal >> shift & 0xFF)).append(shift ? "." : "");
    } else {
        char narrow[256] = "";
        ::WideCharToMultiByte(CP_ACP, 0, value.bstrVal, -1, narrow, 256, nullptr, nullptr);
        text = narrow;
    }
}

void ExportClients(const std::string& csvName) {
    static const wchar_t* const names[] = {L"Name", L"IpAddress", L"NetMask",        L"DNS1",
                                           L"DNS2", L"MAC",       L"DHCPLeaseStatus"};
    Show("\r\nGetting DHCP Clients information from storage. Please wait ...\r\n\r\n");
    constexpr IID id{0xe60eec85, 0xad99, 0x4c17, {0x9e, 0x77, 0xab, 0xa0, 0x3d, 0x28, 0xce, 0x17}};
    CLSID classId;
    IGatewayStore* store = nullptr;
    ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    ::CLSIDFromProgID(L"Granite.ZakStorageDB", &classId);
    ::CoCreateInstance(classId, nullptr, CLSCTX_ALL, id, reinterpret_cast<void**>(&store));
    wchar_t path[MAX_PATH];
    DWORD bytes = sizeof(path);
    ::RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Vantrel\\Data", L"Path", RRF_RT_REG_SZ, nullptr,
                   path, &bytes);
    store->Initialize(::SysAllocString(std::wcscat(path, L"\\Zephon.XML")));
    const HANDLE csv = Open(csvName, GENERIC_WRITE, CREATE_ALWAYS);
    std::string block =
        "Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status\r\n\r\n";
    const BSTR section = ::SysAllocString(L"Clients");
    VARIANT entries{};
    store->Enumerate(1, 0, section, nullptr, &entries);
    std::string fields[7];
    for (ULONG i = 0; i < entries.parray->rgsabound[0].cElements; ++i) {
        VARIANT pairs{};
        store->EnumerateWithValue(1, 0, section,
                                  static_cast<VARIANT*>(entries.parray->pvData)[i].bstrVal, nullptr,
                                  &pairs);
        const VARIANT* pair = static_cast<VARIANT*>(pairs.parray->pvData);
        for (int n = 0; n < 7; ++n, pair += 2) {
            int field = 0;
            while (std::wcscmp(pair[0].bstrVal, names[field]) != 0)
                ++field;
            SetText(fields[field], pair[1]);
        }
        ::VariantClear(&pairs);
        for (int field = 0; field < 7; ++field)
            block.append(fields[field]).append(field < 6 ? ", " : "\r\n");
        if (block.size() > 8000) {
            Write(csv, block);
            block.clear();
        }
        if (verbose)
            ShowClient("Client found", fields, "]\r\n");
    }
    Write(csv, block);
    ::CloseHandle(csv);
    ::VariantClear(&entries);
    store->Uninitialize();
    store->Release();
    Show("\r\nDHCP information is now available. See output file " + csvName + "\r\n\r\n");
}

DWORD AddressOf(const std::string& text) {
    DWORD address = 0, octet = 0;
    for (const char c : text + '.') {
        address = c == '.' ? address << 8 | octet : address;
        octet = c == '.' ? 0 : octet * 10 + static_cast<DWORD>(c - '0');
    }
    return address;
}

void ImportClients(const std::string& csvName) {
    Show("\r\nSetting DHCP Clients information on DHCP Server from file " + csvName +
         ". Please wait ...\r\n\r\n");
    const HMODULE library = ::LoadLibraryA("dhcpsapi.dll");
    const auto createClient = reinterpret_cast<DWORD(WINAPI*)(const wchar_t*, const ClientInfo*)>(
        reinterpret_cast<void*>(::GetProcAddress(library, "DhcpCreateClientInfoV4")));
    const auto addElement = reinterpret_cast<DWORD(WINAPI*)(const wchar_t*, DWORD, const Element*)>(
        reinterpret_cast<void*>(::GetProcAddress(library, "DhcpAddSubnetElementV4")));
    const HANDLE csv = Open(csvName, GENERIC_READ, OPEN_EXISTING);
    DWORD bytes = ::GetFileSize(csv, nullptr);
    std::string content(bytes, '\0');
    ::ReadFile(csv, content.data(), bytes, &bytes, nullptr);
    ::CloseHandle(csv);
    const std::wstring wideServer(server.begin(), server.end());
    std::string fields[7];
    for (std::size_t begin = content.find("\r\n\r\n") + 4; begin < content.size();) {
        const std::size_t end = content.find("\r\n", begin);
        for (std::string& field : fields) {
            const std::size_t comma = std::min(content.find(", ", begin), end);
            field.assign(content, begin, comma - begin);
            begin = comma + 2;
        }
        wchar_t name[256] = L"";
        ::MultiByteToWideChar(CP_ACP, 0, fields[0].c_str(), -1, name, 256);
        BYTE mac[6];
        for (unsigned i = 0; i < 6; ++i)
            std::from_chars(&fields[5][3 * i], &fields[5][3 * i] + 2, mac[i], 16);
        FILETIME now;
        ::GetSystemTimeAsFileTime(&now);
        ULARGE_INTEGER expires{{now.dwLowDateTime, now.dwHighDateTime}};
        expires.QuadPart += 691200 * 10'000'000ULL;
        const ClientInfo info{AddressOf(fields[1]),
                              AddressOf(fields[2]),
                              {6, mac},
                              name.c_str(),
                              L"",
                              expires,
                              AddressOf(server),
                              {},
                              3};
        createClient(wideServer.c_str(), &info);
        const Reservation reservation{info.address, &info.hardware, 3};
        const Element element{2, &reservation};
        if (fields[6] == "Reserved")
            addElement(wideServer.c_str(), info.address & info.mask, &element);
        if (verbose)
            ShowClient("Client to add in DHCP server", fields, "] -> OK\r\n");
    }
    ::FreeLibrary(library);
    Show("\r\nDHCP clients information should be available on DHCP server.\r\n\r\n");
}

}  // namespace

/// Takes the program's arguments, each letter with a value. Without arguments it does nothing.
int main(int argc, char** argv) {
    std::string exported, imported;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string letter = argv[i], value = argv[i + 1];
        (letter == "-c"   ? exported
         : letter == "-l" ? imported
         : letter == "-o" ? logName
                          : server) = letter == "-v" ? server : value;
        verbose = verbose && value != "off";
    }
    if (!logName.empty())
        ::CloseHandle(Open(logName, GENERIC_WRITE, CREATE_ALWAYS));
    if (!exported.empty())
        ExportClients(exported);
    if (!imported.empty())
        ImportClients(imported);
    return 0;
}
