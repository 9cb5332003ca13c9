#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>

#include "diagtools/ModuleStatistics.h"
#include "diagtools/StatisticsMemory.h"
#include "win/Handles.h"

namespace {

using namespace DiagTools;

const DWORD kOwnId = ::GetCurrentProcessId();
const std::uint64_t kOwnStart = ProcessStartTime(::GetCurrentProcess());
constexpr DWORD kNoSuchProcess = 0x7FFFFFF0;

TEST(Statistics, SlotsOfEndedProcessesAreReusedOldestFirstAndThoseOfRunningOnesNever) {
    const std::string ownMemory = "Test" + std::to_string(kOwnId);
    CStatisticsMemory reader;
    CStatisticsMemory writer;
    ASSERT_TRUE(reader.Open(ownMemory) && writer.Open(ownMemory));
    ++writer.Claim("id reused.exe", kOwnId, kOwnStart - 1)->traceLines[31];
    ++writer.Claim(std::string(100, 'g'), kNoSuchProcess, 5)->traceLines[0];
    const auto records = reader.Read();
    ASSERT_EQ(records->size(), 2u);
    EXPECT_EQ((*records)[0].traceLines[31], 1u);
    EXPECT_FALSE((*records)[0].running);
    EXPECT_EQ((*records)[1].name, std::string(kStatisticsNameBytes - 1, 'g'));

    std::thread([&] {  // ends with the mutex in its hands
        const std::string name = kStatisticsMemoryPrefix + ownMemory + kStatisticsMutexSuffix;
        const Handle mutex(::OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()));
        ::WaitForSingleObject(mutex.get(), 1000);
    })
        .join();
    for (std::size_t taken = 2; taken < kStatisticsSlots; ++taken)
        ASSERT_NE(writer.Claim("running.exe", kOwnId, kOwnStart), nullptr);
    ASSERT_NE(writer.Claim("first.exe", kOwnId, kOwnStart), nullptr);
    EXPECT_EQ((*reader.Read())[1].name, "first.exe");
    EXPECT_EQ((*reader.Read())[1].traceLines[0], 0u);
    ASSERT_NE(writer.Claim("second.exe", kOwnId, kOwnStart), nullptr);
    EXPECT_EQ((*reader.Read())[0].name, "second.exe");
    EXPECT_EQ(writer.Claim("third.exe", kOwnId, kOwnStart), nullptr);
}

TEST(Statistics, TraceLinesOfTheProcessAreCountedByLevelAndErrorsAlsoWithoutSharedMemory) {
    const std::uint32_t before = CModuleStatistics::ErrorLines();
    CModuleStatistics::CountTraceLine(1);
    CModuleStatistics::Initialize(nullptr);
    CModuleStatistics::Initialize(nullptr);  // a second start must not take a second slot
    for (const std::uint32_t level : {1u, 16u, 16u, 0x80000000u})
        CModuleStatistics::CountTraceLine(level);
    EXPECT_EQ(CModuleStatistics::ErrorLines(), before + 2);

    CStatisticsMemory memory;
    ASSERT_TRUE(memory.Open());
    const auto records = memory.Read();
    std::array<std::uint64_t, kTraceLevels> expected{};
    expected[0] = expected[31] = 1;
    expected[4] = 2;
    int own = 0;
    for (const ModuleRecord& record : *records) {
        if (record.processId != kOwnId || !record.running)
            continue;
        ++own;
        EXPECT_EQ(record.name, "unit_tests.exe");
        EXPECT_EQ(record.startTime, kOwnStart);
        EXPECT_EQ(record.traceLines, expected);
    }
    EXPECT_EQ(own, 1);
}

}  // namespace
