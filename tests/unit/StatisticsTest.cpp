#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>

#include "diagtools/ModuleStatistics.h"
#include "diagtools/StatisticsMemory.h"

namespace {

using namespace DiagTools;

const DWORD kOwnId = ::GetCurrentProcessId();
const std::uint64_t kOwnStart = ProcessStartTime(::GetCurrentProcess());
constexpr DWORD kNoSuchProcess = 0x7FFFFFF0;

/// Tests may run side by side: each has a memory of its own.
class Statistics : public testing::Test {
protected:
    std::string m_name = "Test" + std::to_string(kOwnId);
    std::string m_mutexName = kStatisticsMemoryPrefix + m_name + kStatisticsMutexSuffix;
};

TEST_F(Statistics, SlotsOfEndedProcessesAreReusedOldestFirstAndThoseOfRunningOnesNever) {
    CStatisticsMemory reader;
    CStatisticsMemory writer;
    ASSERT_TRUE(reader.Open(m_name));
    ASSERT_TRUE(writer.Open(m_name));
    ++writer.Claim("id reused.exe", kOwnId, kOwnStart - 1)->traceLines[31];
    ++writer.Claim(std::string(100, 'g'), kNoSuchProcess, 5)->traceLines[0];
    const auto records = reader.Read();
    ASSERT_EQ(records->size(), 2u);
    EXPECT_EQ((*records)[0].traceLines[31], 1u);
    EXPECT_FALSE((*records)[0].running);
    EXPECT_EQ((*records)[1].name, std::string(kStatisticsNameBytes - 1, 'g'));
    EXPECT_FALSE((*records)[1].running);

    for (std::size_t taken = 2; taken < kStatisticsSlots; ++taken)
        ASSERT_NE(writer.Claim("running.exe", kOwnId, kOwnStart), nullptr);
    ASSERT_NE(writer.Claim("first.exe", kOwnId, kOwnStart), nullptr);
    EXPECT_EQ((*reader.Read())[1].name, "first.exe");
    EXPECT_EQ((*reader.Read())[1].traceLines[0], 0u);
    ASSERT_NE(writer.Claim("second.exe", kOwnId, kOwnStart), nullptr);
    EXPECT_EQ((*reader.Read())[0].name, "second.exe");
    EXPECT_EQ(writer.Claim("third.exe", kOwnId, kOwnStart), nullptr);
}

TEST_F(Statistics, MemoryOfAnotherLayoutIsLeftAlone) {
    const auto foreign = [this](DWORD bytes, std::uint32_t version) {
        const std::string name = kStatisticsMemoryPrefix + m_name;
        const Handle mapping(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                  bytes, name.c_str()));
        const std::uint32_t header[] = {kStatisticsSignature, version, sizeof(StatisticsSlot),
                                        kStatisticsSlots};
        void* const view = ::MapViewOfFile(mapping.get(), FILE_MAP_WRITE, 0, 0, sizeof(header));
        std::copy(std::begin(header), std::end(header), static_cast<std::uint32_t*>(view));
        const bool opened = CStatisticsMemory().Open(m_name);
        ::UnmapViewOfFile(view);
        return opened;
    };
    EXPECT_TRUE(foreign(sizeof(StatisticsMemory), kStatisticsVersion));
    EXPECT_FALSE(foreign(sizeof(StatisticsMemory), kStatisticsVersion + 1));
    EXPECT_FALSE(foreign(4096, kStatisticsVersion)) << "smaller than its header says";
}

TEST_F(Statistics, AMutexLeftByADeadOwnerIsTakenOverAndAHeldOneGivenUpAfter5Seconds) {
    CStatisticsMemory memory;
    ASSERT_TRUE(memory.Open(m_name));
    const Handle mutex(::OpenMutexA(SYNCHRONIZE, FALSE, m_mutexName.c_str()));
    std::thread([&mutex] { ::WaitForSingleObject(mutex.get(), INFINITE); }).join();
    EXPECT_NE(memory.Claim("a.exe", kOwnId, kOwnStart), nullptr);

    ::WaitForSingleObject(mutex.get(), INFINITE);
    std::thread([&memory] {
        const ULONGLONG begin = ::GetTickCount64();
        EXPECT_EQ(memory.Claim("b.exe", kOwnId, kOwnStart), nullptr);
        EXPECT_NEAR(static_cast<double>(::GetTickCount64() - begin), 5000, 1500);
    }).join();
    ::ReleaseMutex(mutex.get());
}

TEST_F(Statistics, TraceLinesOfTheProcessAreCountedByLevelAndErrorsAlsoWithoutSharedMemory) {
    const std::uint32_t before = CModuleStatistics::ErrorLines();
    CModuleStatistics::CountTraceLine(1);
    CModuleStatistics::CountTraceLine(128);
    EXPECT_EQ(CModuleStatistics::ErrorLines(), before + 1);

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
