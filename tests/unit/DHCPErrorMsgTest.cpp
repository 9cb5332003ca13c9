#include "driver/DHCPErrorMsg.h"

#include <gtest/gtest.h>

namespace {

// Administrators search their notes for these sentences, so every byte must match. The checksum
// comes from the published table, not from the program.
TEST(DHCPErrorMsg, All110TextsEqualThePublishedOnes) {
    std::uint64_t sum = 0xCBF29CE484222325;  // FNV-1a over "code text\n" of each code with a text
    int known = 0;
    for (std::uint32_t code = 0; code < 70000; ++code) {
        const std::string text = CDHCPErrorMsg(code).GetDescription();
        if (text == "Error code not found.")
            continue;
        ++known;
        for (const char c : std::to_string(code) + " " + text + "\n")
            sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    EXPECT_EQ(known, 110);
    EXPECT_EQ(sum, 0x29232B83DE6CD5B5u);
    EXPECT_EQ(CDHCPErrorMsg(0xFFFFFFFF).GetDescription(), "Error code not found.");
}

}  // namespace
