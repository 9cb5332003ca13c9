#include <gtest/gtest.h>

#include <winsock2.h>

#include <windows.h>

#include <iptypes.h>

#include <cstring>

#include "LabLibrary.h"

namespace lab_test {
namespace {

using GetAdaptersInfoCall = DWORD(IP_ADAPTER_INFO*, ULONG*);

TEST(LabAdapters, TheSizeIsAskedFirstAndTheRecordsCarryAllAddresses) {
    const Folder folder;
    WriteAll(folder / L"f", "GetAdaptersInfo #5 = 50\n");
    WriteAll(
        folder / L"a",
        "# two\r\nadapter {A}\r\ndescription B\xC3\xBCro\r\naddress 10.1.0.1 255.255.0.0\n"
        "address 10.2.0.1 255.0.0.0\naddress 10.3.0.1 255.255.255.255\nadapter b c\nnonsense\n");
    Library dll(L"iphlpapi.dll", folder);
    auto* const get = dll.Get<GetAdaptersInfoCall>("GetAdaptersInfo");
    const ULONG needed = 2 * sizeof(IP_ADAPTER_INFO) + 2 * sizeof(IP_ADDR_STRING);
    std::vector<IP_ADAPTER_INFO> room(4);
    std::memset(room.data(), 0xCC, room.size() * sizeof(room[0]));
    ULONG bytes = 5;
    EXPECT_EQ(get(nullptr, &bytes), DWORD{ERROR_BUFFER_OVERFLOW});
    EXPECT_EQ(bytes--, needed);
    EXPECT_EQ(get(room.data(), &bytes), DWORD{ERROR_BUFFER_OVERFLOW});
    ASSERT_EQ(get(room.data(), &bytes), DWORD{ERROR_SUCCESS});
    std::string text;
    for (const IP_ADAPTER_INFO* a = room.data(); a; a = a->Next) {
        text += a->AdapterName + std::string("|") + a->Description;
        for (const IP_ADDR_STRING* i = &a->IpAddressList; i; i = i->Next)
            text += std::string(" ") + i->IpAddress.String + "/" + i->IpMask.String;
        text += ";";
    }
    EXPECT_EQ(text,
              "{A}|B\xFCro 10.1.0.1/255.255.0.0 10.2.0.1/255.0.0.0 10.3.0.1/255.255.255.255;"
              "b c| 0.0.0.0/0.0.0.0;");
    const auto* const end = reinterpret_cast<const unsigned char*>(room.data()) + needed;
    EXPECT_EQ(*end, 0xCC) << "written past the announced size";
    EXPECT_EQ(get(room.data(), nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(get(room.data(), &bytes), 50u);
    EXPECT_EQ(folder.Misuses(),
              "adapters line not understood: nonsense\nGetAdaptersInfo without a size\n");
}

}  // namespace
}  // namespace lab_test
