// bare_loop -c|-l FILE -i SERVER: makes the external calls of dhcpmigrate's export and import of
// clients with -v off, and writes the same bytes. script/bench compares the program with it. Checks
// nothing, because every field of that input is present and valid. Shares no declaration with the
// program, so that a change of the program does not change the reference.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <string>

// Not in the unnamed namespace, where the compiler would see that no class implements it.
struct IGatewayStore : public IUnknown {
    virtual HRESULT WINAPI Initialize(BSTR path) = 0;
    virtual void Slot2() = 0, Slot3() = 0, Slot4() = 0;
    virtual HRESULT WINAPI Uninitialize() = 0;
    virtual HRESULT WINAPI Enumerate(int, long, BSTR section, BSTR, VARIANT* entries) = 0;
    virtual void Slot7() = 0, Slot8() = 0, Slot9() = 0, Slot10() = 0, Slot11() = 0;
    virtual HRESULT WINAPI EnumerateWithValue(int, long, BSTR section, BSTR entry, BSTR,
                                              VARIANT* pairs) = 0;
};

struct BinaryData {
    DWORD bytes;
    BYTE* data;
};
struct ClientInfo {
    DWORD address, mask;
    BinaryData hardware;
    const wchar_t *name, *comment;
    ULONGLONG expires;  // a FILETIME
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
extern "C" DWORD WINAPI DhcpCreateClientInfoV4(const wchar_t*, const ClientInfo*);
extern "C" DWORD WINAPI DhcpAddSubnetElementV4(const wchar_t*, DWORD subnet, const Element*);

namespace {

std::string file, server, fields[7];

HANDLE Open(DWORD access, DWORD disposition) {
    return ::CreateFileA(file.c_str(), access, 0, nullptr, disposition, 0, nullptr);
}

void Write(const std::string& bytes, HANDLE target = ::GetStdHandle(STD_OUTPUT_HANDLE)) {
    DWORD written = 0;
    ::WriteFile(target, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void SetText(std::string& text, const VARIANT& value) {
    char narrow[256] = "";
    text.clear();
    if (value.vt == VT_BSTR)
        ::WideCharToMultiByte(CP_ACP, 0, value.bstrVal, -1, narrow, 256, nullptr, nullptr);
    for (int shift = 24; value.vt == VT_UI4 && shift >= 0; shift -= 8)
        text.append(std::to_string(value.ulVal >> shift & 0xFF)).append(shift ? "." : "");
    text += narrow;
}

void Export() {
    static const wchar_t* const names[] = {L"Name", L"IpAddress", L"NetMask",        L"DNS1",
                                           L"DNS2", L"MAC",       L"DHCPLeaseStatus"};
    constexpr IID id{0xe60eec85, 0xad99, 0x4c17, {0x9e, 0x77, 0xab, 0xa0, 0x3d, 0x28, 0xce, 0x17}};
    Write("\r\nGetting DHCP Clients information from storage. Please wait ...\r\n\r\n");
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
    const HANDLE csv = Open(GENERIC_WRITE, CREATE_ALWAYS);
    std::string block =
        "Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status\r\n\r\n";
    const BSTR section = ::SysAllocString(L"Clients");
    VARIANT entries{}, pairs{};
    store->Enumerate(1, 0, section, nullptr, &entries);
    const auto* entry = static_cast<VARIANT*>(entries.parray->pvData);
    for (ULONG i = 0; i < entries.parray->rgsabound[0].cElements; ++i, ++entry) {
        store->EnumerateWithValue(1, 0, section, entry->bstrVal, nullptr, &pairs);
        const auto* pair = static_cast<VARIANT*>(pairs.parray->pvData);
        for (int n = 0; n < 7; ++n, pair += 2)
            for (int field = 0; field < 7; ++field)
                if (std::wcscmp(pair[0].bstrVal, names[field]) == 0)
                    SetText(fields[field], pair[1]);
        ::VariantClear(&pairs);
        for (int field = 0; field < 7; ++field)
            block.append(fields[field]).append(field < 6 ? ", " : "\r\n");
        if (block.size() > 8000) {
            Write(block, csv);
            block.clear();
        }
    }
    Write(block, csv);
    ::CloseHandle(csv);
    ::VariantClear(&entries);
    store->Uninitialize();
    store->Release();
    Write("\r\nDHCP information is now available. See output file " + file + "\r\n\r\n");
}

DWORD AddressOf(const std::string& text) {
    DWORD address = 0, octet = 0;
    for (const char* c = text.data(); c < text.data() + text.size();
         ++c, address = address << 8 | octet)
        c = std::from_chars(c, text.data() + text.size(), octet).ptr;
    return address;
}

void Import() {
    Write("\r\nSetting DHCP Clients information on DHCP Server from file " + file +
          ". Please wait ...\r\n\r\n");
    const HANDLE csv = Open(GENERIC_READ, OPEN_EXISTING);
    DWORD bytes = ::GetFileSize(csv, nullptr);
    std::string content(bytes, '\0');
    ::ReadFile(csv, content.data(), bytes, &bytes, nullptr);
    ::CloseHandle(csv);
    const std::wstring wideServer(server.begin(), server.end());
    const DWORD owner = AddressOf(server);
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
        for (std::size_t i = 0; i < 6; ++i)
            std::from_chars(&fields[5][3 * i], &fields[5][3 * i] + 2, mac[i], 16);
        const DWORD address = AddressOf(fields[1]), mask = AddressOf(fields[2]);
        ClientInfo info{address, mask, {6, mac}, name, L"", 0, owner, {}, 3};
        ::GetSystemTimeAsFileTime(reinterpret_cast<FILETIME*>(&info.expires));
        info.expires += 691200 * 10'000'000ULL;
        ::DhcpCreateClientInfoV4(wideServer.c_str(), &info);
        const Reservation reservation{address, &info.hardware, 3};
        const Element element{2, &reservation};
        if (fields[6] == "Reserved")
            ::DhcpAddSubnetElementV4(wideServer.c_str(), address & mask, &element);
    }
    Write("\r\nDHCP clients information should be available on DHCP server.\r\n\r\n");
}

}  // namespace

int main(int, char** argv) {
    file = argv[2];
    server = argv[4];
    argv[1][1] == 'c' ? Export() : Import();
}
