#include "store/DataFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "LabLibrary.h"
#include "diagtools/ModuleStatistics.h"
#include "win/Handles.h"
#include "win/RegistryText.h"

namespace {

constexpr char kDataKey[] = "SOFTWARE\\Vantrel\\Data";

/// Redirects HKEY_LOCAL_MACHINE to a key of this test while the object exists.
class Registry {
public:
    Registry() {
        HKEY key = nullptr;
        ::RegCreateKeyExA(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                          &key, nullptr);
        m_root.reset(key);
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, key);
    }
    ~Registry() {
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        Remove();
    }
    /// Deletes the key: from then on no key below it can be opened or created.
    void Remove() { ::RegDeleteTreeA(HKEY_CURRENT_USER, m_path.c_str()); }
    /// Writes the bytes with an "x" behind them, because a NUL there would count as the terminator.
    void Write(DWORD type, const std::string& bytes) {
        const std::string followed = bytes + "x";
        ::RegSetKeyValueA(m_root.get(), kDataKey, "Path", type, followed.data(),
                          static_cast<DWORD>(bytes.size()));
    }
    /// True if the key is not volatile: a volatile key cannot have a lasting subkey.
    bool IsLasting() {
        return ::RegSetKeyValueA(m_root.get(), (std::string(kDataKey) + "\\Sub").c_str(), nullptr,
                                 REG_SZ, "", 1) == ERROR_SUCCESS;
    }
    std::string Read(DWORD& type) {
        char bytes[1024];
        DWORD size = sizeof(bytes);
        ::RegGetValueA(m_root.get(), kDataKey, "Path", RRF_RT_ANY | RRF_NOEXPAND, &type, bytes,
                       &size);
        return std::string(bytes, size);
    }

private:
    const std::string m_path = "Software\\dhcpmigrate test";
    RegKey m_root;
};

TEST(DataFolder, IsTheRegistrysTextOrTheRecordedTemporaryFolder) {
    const lab_test::Folder folder;
    const std::string base = std::filesystem::path(folder / L"gw").string();
    const std::string nul(1, '\0');
    const std::string longest = base + "\\" + std::string(258 - base.size(), 'f');
    const std::string temporary = std::filesystem::temp_directory_path().string();
    const std::string temporaryFolder = temporary.substr(0, temporary.size() - 1);
    const struct {
        const char* why;
        DWORD type;
        std::string bytes, expected;  // empty: the temporary folder, which is then written
    } rows[] = {
        {"one trailing separator is removed", REG_SZ, base + "\\/" + nul, base + "\\"},
        {"no terminator", REG_SZ, base, ""},
        {"variables are not expanded", REG_EXPAND_SZ, base + "\\%TMP%" + nul, base + "\\%TMP%"},
        {"first text of a list", REG_MULTI_SZ, base + nul + "c" + nul + nul, base},
        {"list with one terminator", REG_MULTI_SZ, base + nul, ""},
        {"number", REG_DWORD, std::string("C:\\\0", 4), ""},
        {"empty text", REG_SZ, nul, ""},
        {"the longest path", REG_SZ, longest + nul, longest},
        {"too long by one, without a terminator", REG_SZ, longest + "f", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Registry registry;
        registry.Write(row.type, row.bytes);
        const bool isRecorded = row.expected.empty();
        CDataFolder found;
        EXPECT_EQ(found.Get(), isRecorded ? temporaryFolder : row.expected);
        EXPECT_TRUE(row.bytes.size() > 200 || std::filesystem::is_directory(found.Get()));
        DWORD type = 0;
        EXPECT_EQ(registry.Read(type), isRecorded ? temporary + nul : row.bytes);
        EXPECT_EQ(type, isRecorded ? REG_SZ : row.type);
    }
}

TEST(DataFolder, IsResolvedOncePerObjectAndEmptyWithoutAKey) {
    Registry registry;
    CDataFolder first;
    const std::string temporary = first.Get();
    EXPECT_TRUE(registry.IsLasting());
    registry.Write(REG_SZ, std::string("C:\\\0", 4));
    EXPECT_EQ(first.Get(), temporary);
    EXPECT_STREQ(CDataFolder().Get(), "C:");
    registry.Remove();
    const std::uint32_t before = DiagTools::CModuleStatistics::ErrorLines();
    EXPECT_STREQ(CDataFolder().Get(), "");
    EXPECT_EQ(DiagTools::CModuleStatistics::ErrorLines(), before + 1);
}

TEST(DirectoryChain, EveryPartOfThePathBecomesAFolder) {
    const lab_test::Folder folder;
    const std::string base = std::filesystem::path(folder / L"").string();
    EXPECT_EQ(CreateDirectoryChain((base + "a//b\\/\\c d\\").c_str()), S_OK);
    EXPECT_TRUE(std::filesystem::is_directory(base + "a\\b\\c d"));
    EXPECT_EQ(CreateDirectoryChain(""), E_FAIL);
    EXPECT_EQ(CreateDirectoryChain("\\/"), S_OK);
}

}  // namespace
