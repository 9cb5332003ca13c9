#include "clients/MACAddress.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <thread>

#include "clients/MACUpdateImpl.h"

namespace {

std::string RandomMac() {
    CMACAddress mac;
    mac.GenerateRandom(0x00, 0x04, 0x70);
    return mac.ToString();
}

TEST(MACAddress, RandomTailFollowsTheDrawsOfASequenceSeededOncePerThread) {
    // The runtime's draws for the seed 1, which is also where an unseeded thread begins: 0x0029,
    // 0x4823, 0x18be. The upper half of the second falls on the lower one of the first.
    constexpr char kSeedOne[] = "00-04-70-69-23-be";
    const auto draw = [&kSeedOne] {
        // The seed is the sum of the thread id and the time, so that each run draws other numbers.
        const ULONGLONG before = ::GetCurrentThreadId() + ::GetTickCount64();
        const std::string first = RandomMac();
        bool isSeeded = false;
        for (ULONGLONG seed = ::GetCurrentThreadId() + ::GetTickCount64(); seed >= before; --seed) {
            std::srand(static_cast<unsigned>(seed));
            isSeeded = isSeeded || RandomMac() == first;
        }
        EXPECT_TRUE(isSeeded);
        std::srand(1);
        EXPECT_EQ(RandomMac(), kSeedOne) << "another rule, or seeded again";
    };
    std::thread(draw).join();
    std::thread(draw).join();
}

TEST(MACUpdateImpl, MakeUniqueRedrawsAnAddressThatTheRunHasGivenOut) {
    CMACUpdateImpl update{boost::weak_ptr<COutputMsg>()};
    CMACAddress first, second, third;
    EXPECT_TRUE(update.MakeUnique(first));
    EXPECT_EQ(first.ToString(), "00-00-00-00-00-00");
    std::srand((RandomMac(), 1));  // the thread's own seeding comes before ours
    EXPECT_FALSE(update.MakeUnique(second));
    EXPECT_EQ(second.ToString(), "00-04-70-69-23-be");
    std::srand(1);
    EXPECT_FALSE(update.MakeUnique(third));
    EXPECT_NE(third.ToString(), second.ToString()) << "a redrawn address is given out as well";
}

}  // namespace
