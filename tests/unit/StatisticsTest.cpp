#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>

#include "diagtools/ModuleStatistics.h"
#include "win/Handles.h"

namespace {

using namespace DiagTools;

TEST(Statistics, SharedMemoryWithForeignContentIsLeftAloneAndAnEmptyOneIsUsed) {
    const std::string name = "Local\\DTSSM_" + std::to_string(::GetCurrentProcessId());
    const Handle mapping(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str()));
    auto* const bytes = static_cast<char*>(::MapViewOfFile(mapping.get(), FILE_MAP_WRITE, 0, 0, 0));
    std::memset(bytes, 'x', 4096);
    const std::uint32_t before = CModuleStatistics::ErrorLines();
    CModuleStatistics::Initialize(nullptr);
    CModuleStatistics::CountTraceLine(1);
    EXPECT_EQ(std::count(bytes, bytes + 4096, 'x'), 4096);
    EXPECT_EQ(CModuleStatistics::ErrorLines(), before + 1);

    std::memset(bytes, 0, sizeof(ModuleStatisticsBlock));
    std::thread([&] {  // abandons the mutex
        const Handle mutex(::OpenMutexA(SYNCHRONIZE, FALSE, (name + "_Lock").c_str()));
        ::WaitForSingleObject(mutex.get(), 1000);
    })
        .join();
    CModuleStatistics::Initialize(nullptr);
    CModuleStatistics::CountTraceLine(0x80000001);
    EXPECT_STREQ(reinterpret_cast<ModuleStatisticsBlock*>(bytes)->name, "unit_tests.exe");
    for (const int bit : {0, 31})
        EXPECT_EQ(reinterpret_cast<ModuleStatisticsBlock*>(bytes)->traceLines[bit], 1u) << bit;
    EXPECT_EQ(bytes[sizeof(ModuleStatisticsBlock)], 'x');
}

}  // namespace
