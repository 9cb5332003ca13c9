// What is left when memory runs out: each allocation of a piece of work fails in turn.
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

/// Texts too long for the place that short ones have inside of a string.
const std::string kServer = "server-with-a-long-name.example";
const std::string kName = "a-host-with-a-name-that-needs-memory";

/// Runs the work without a fault, then once with each of its allocations failing, and gives what
/// each run left behind to the check.
template <class Work, class Check>
void FailEachAllocation(const Work& work, const Check& check) {
    work();
    const std::string whole = work();
    bool failed = true;
    for (long n = 1; failed; ++n) {
        std::string left;
        allocations = 0;
        failingAllocation = n;
        try {
            left = work();
        } catch (const std::bad_alloc&) {
            left = "thrown";
        }
        failed = allocations >= n;
        failingAllocation = 0;
        check(n, whole, left);
    }
}

template <class Work>
std::string CallsOf(const Work& work) {
    Server().calls.clear();
    try {
        work();
    } catch (const std::bad_alloc&) {
    }
    failingAllocation = 0;
    return Server().calls;
}

void IsABeginning(long n, const std::string& whole, const std::string& left) {
    EXPECT_EQ(whole.substr(0, left.size()), left) << "allocation " << n << " fails";
}

TEST(FailingMemory, ImportsAskTheServerWithWholeTextsInOrderOrNotAtAll) {
    const boost::weak_ptr<COutputMsg> output;
    const std::string client = kName + ",10.1.0.5,255.255.0.0,0.0.0.0,0.0.0.0,0-1-2-3-4-5,Reserved";
    const std::string scope = kName + ",10.1.0.1,255.255.0.0,10.1.0.0,";
    const auto addClient = [&] {
        CDHCPClientInfoImpl(output, kServer, 60).SetDHCPClientInfo(client);
    };
    const auto addScope = [&] {
        CDHCPSegmentInfoImpl(output, kServer, 60).SetDHCPScopeInfo(scope);
    };
    FailEachAllocation([&] { return CallsOf(addClient); }, IsABeginning);
    FailEachAllocation([&] { return CallsOf(addScope); }, IsABeginning);
}

TEST(FailingMemory, ACleanUpChangesBothOrNothing) {
    const auto make = [](std::uint8_t type, const char* hardware) {
        const auto client = boost::make_shared<CDHCPClient>();
        client->SetClientType(type);
        client->SetName(kName + ".example");
        client->SetComment(kName);
        client->SetHardwareAddress(reinterpret_cast<const BYTE*>(hardware), 6);
        return client;
    };
    const ClientList clients = {make(100, "stored"), make(1, "leased")};
    const auto cleanUp = [&] {
        CDHCPSegmentInfoImpl({}, kServer, CDHCPSegmentInfoImpl::NetshWriter())
            .ChangeAllDynamicToReserved("10.1.0.0", clients);
    };
    FailEachAllocation(
        [&] { return CallsOf(cleanUp); },
        [](long n, const std::string& whole, const std::string& left) {
            EXPECT_TRUE(left == whole || left.empty()) << "allocation " << n << ": " << left;
        });
}

TEST(FailingMemory, ABatchFileHasWholeLinesAndNoTrailerAfterAnException) {
    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"a.bat").string();
    FailEachAllocation(
        [&] {
            try {
                CNetshCommands writer({}, kServer, path);
                writer.AddScopeCommands(kName, "10.1.0.0", "10.1.0.1", "255.255.0.0", kName, 60);
            } catch (const std::bad_alloc&) {
            }
            failingAllocation = 0;
            return lab_test::ReadAll(folder / L"a.bat");
        },
        IsABeginning);
}

TEST(FailingMemory, ACsvFileLosesOneEntryAtMost) {
    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"a.csv").string();
    lab_test::WriteAll(folder / L"a.csv", "header\n" + std::string(9000, 'a') + "\n" +
                                              std::string(70000, 'b') + "\nc\n");
    FailEachAllocation(
        [&] {
            char seen[8] = "";
            char* at = seen;
            ForEachCsvEntry(path, [&](const std::string& line) { *at++ = line.front(); });
            return std::string(seen);
        },
        [](long n, const std::string& whole, const std::string& left) {
            EXPECT_GE(left.size() + 1, whole.size()) << "allocation " << n;
            EXPECT_EQ(left.back(), 'c') << "allocation " << n;
        });
}

}  // namespace
