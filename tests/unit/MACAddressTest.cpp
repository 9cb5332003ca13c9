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

TEST(MACAddress, RandomTailComesFromASequenceSeededOncePerThread) {
    // With seed 1, as in an unseeded thread, rand returns 0x0029, 0x4823, 0x18be. Byte 4 is 0x69:
    // the low byte of the first number (0x29) combined with the high byte of the second (0x48).
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
        EXPECT_EQ(RandomMac(), kSeedOne) << "wrong rule, or seeded again";
    };
    std::thread(draw).join();
    std::thread(draw).join();
}

TEST(MACUpdateImpl, MakeUniqueReplacesAnAddressThatTheRunHasAlreadyUsed) {
    CMACUpdateImpl update{boost::weak_ptr<COutputMsg>()};
    CMACAddress first, second, third;
    EXPECT_TRUE(update.MakeUnique(first));
    EXPECT_EQ(first.ToString(), "00-00-00-00-00-00");
    std::srand((RandomMac(), 1));  // the first call seeds the thread
    EXPECT_FALSE(update.MakeUnique(second));
    EXPECT_EQ(second.ToString(), "00-04-70-69-23-be");
    std::srand(1);
    EXPECT_FALSE(update.MakeUnique(third));
    EXPECT_NE(third.ToString(), second.ToString()) << "replacements must be unique, too";
}

}  // namespace
