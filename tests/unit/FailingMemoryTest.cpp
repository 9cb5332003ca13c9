// Each allocation of an operation fails in turn; the tests check what the operation leaves behind.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <new>

#include "LabLibrary.h"
#include "RecordingServer.h"
#include "clients/CsvFile.h"
#include "clients/DHCPClientInfoImpl.h"
#include "driver/output/OutputMsg.h"
#include "netsh/NetshCommands.h"
#include "scopes/DHCPSegmentInfoImpl.h"

namespace {

long allocations = 0;
long failingAllocation = 0;  // 0: none

}  // namespace

void* operator new(std::size_t bytes) {
    if (++allocations == failingAllocation)
        throw std::bad_alloc();
    if (void* const block = std::malloc(bytes ? bytes : 1))
        return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace {

/// These texts need an allocation: they are too long for the buffer inside std::string.
const std::string kServer = "server-with-a-long-name.example";
const std::string kName = "a-host-with-a-name-that-needs-memory";

/// Runs the work without a fault, then once per allocation with that allocation failing. Calls the
/// check with what each of these runs left behind.
template <class Work, class Left, class Check>
void FailEachAllocation(const Work& work, const Left& left, const Check& check) {
    const auto runFailing = [&](long n) {
        Server().calls.clear();
        allocations = 0;
        failingAllocation = n;
        try {
            work();
        } catch (const std::bad_alloc&) {
        }
        failingAllocation = 0;
        return allocations >= n;
    };
    runFailing(0);  // allocates what the process keeps
    runFailing(0);
    const std::string whole = left();
    EXPECT_NE(whole, "") << "nothing was done";
    for (long n = 1; runFailing(n); ++n)
        check(n, whole, left());
}

std::string Calls() {
    return Server().calls;
}

void IsABeginning(long n, const std::string& whole, const std::string& left) {
    EXPECT_EQ(whole.substr(0, left.size()), left) << "allocation " << n << " fails";
}

TEST(FailingMemory, ImportsCallTheServerInOrderWithWholeTextsOrNotAtAll) {
    const Output output;
    const std::string client = kName + ",10.1.0.5,255.255.0.0,0.0.0.0,0.0.0.0,0-1-2-3-4-5,Reserved";
    const std::string scope = kName + ",10.1.0.1,255.255.0.0,10.1.0.0,";
    FailEachAllocation([&] { CDHCPClientInfoImpl(output, kServer, 60).SetDHCPClientInfo(client); },
                       Calls, IsABeginning);
    FailEachAllocation([&] { CDHCPSegmentInfoImpl(output, kServer, 60).SetDHCPScopeInfo(scope); },
                       Calls, IsABeginning);
}

TEST(FailingMemory, ACleanUpChangesBothRecordsOrNone) {
    const auto make = [](std::uint8_t type, const std::string& hardware) {
        const auto client = boost::make_shared<CDHCPClient>();
        client->SetClientType(type);
        client->SetName(kName + ".example");
        client->SetComment(kName);
        client->SetHardwareAddress(reinterpret_cast<const BYTE*>(hardware.data()), hardware.size());
        return client;
    };
    using Writer = CDHCPSegmentInfoImpl::NetshWriter;
    const auto cleanUp = [](const ClientList& clients, const Writer& writer = Writer()) {
        CDHCPSegmentInfoImpl({}, kServer, writer).ChangeAllDynamicToReserved("10.1.0.0", clients);
    };
    Server().calls.clear();
    cleanUp({make(100, ""), make(1, "")});
    EXPECT_EQ(Calls(), "") << "a lease without a hardware address changes nothing";

    const ClientList clients = {make(100, "stored"), make(1, "leased")};
    const auto isBothOrNothing = [](long n, const std::string& whole, const std::string& left) {
        EXPECT_TRUE(left == whole || left.empty()) << "allocation " << n << ": " << left;
    };
    FailEachAllocation([&] { cleanUp(clients); }, Calls, isBothOrNothing);

    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"a.bat").string();
    const auto writeCommands = [&] {
        cleanUp(clients, boost::make_shared<CNetshCommands>(Output(), kServer, path));
    };
    FailEachAllocation(
        writeCommands, [&] { return lab_test::ReadAll(folder / L"a.bat"); }, IsABeginning);
}

TEST(FailingMemory, ABatchFileHasWholeLinesAndNoTrailerAfterAnException) {
    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"a.bat").string();
    const auto writeBatch = [&] {
        CNetshCommands writer({}, kServer, path);
        writer.AddScopeCommands(kName, "10.1.0.0", "10.1.0.1", "255.255.0.0", kName, 60);
    };
    FailEachAllocation(
        writeBatch, [&] { return lab_test::ReadAll(folder / L"a.bat"); }, IsABeginning);
}

TEST(FailingMemory, ACsvFileLosesAtMostOneEntry) {
    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"a.csv").string();
    lab_test::WriteAll(folder / L"a.csv", "header\n" + std::string(9000, 'a') + "\n" +
                                              std::string(70000, 'b') + "\nc\n");
    std::string seen;  // too short to need an allocation
    const auto read = [&] {
        seen.clear();
        ForEachCsvEntry(path, [&](const std::string& line) { seen += line.front(); });
    };
    const auto losesOne = [](long n, const std::string& whole, const std::string& left) {
        EXPECT_GE(left.size() + 1, whole.size()) << "allocation " << n;
        EXPECT_NE(left.find('c'), std::string::npos) << "allocation " << n;
    };
    FailEachAllocation(
        read, [&] { return seen; }, losesOne);
}

}  // namespace
