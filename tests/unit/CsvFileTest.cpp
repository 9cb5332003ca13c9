#include "clients/CsvFile.h"

#include <gtest/gtest.h>

#include <thread>

#include "LabLibrary.h"
#include "diagtools/ModuleStatistics.h"
#include "win/Handles.h"

namespace {

using Texts = std::vector<std::string>;

Texts EntriesOf(const std::string& path) {
    Texts entries;
    ForEachCsvEntry(path, [&entries](const std::string& line) { entries.push_back(line); });
    return entries;
}

TEST(CsvFile, EntriesAreTheLinesAfterTheHeaderButNotBlankOnesOrComments) {
    const struct {
        const char* why;
        const char* bytes;
        Texts expected;
    } rows[] = {
        {"as exported", "Name, MAC\r\n\r\na, 1\r\nb, 2\r\n", {"a, 1", "b, 2"}},
        {"a trailing CR would lose the reservation", "h\r\na,Reserved\r", {"a,Reserved"}},
        {"a CR elsewhere is data", "h\na\rb\r\r\n", {"a\rb\r"}},
        {"the first line is the header, even when empty", "\na\n", {"a"}},
        {"only \"#\" in the first column is a comment", "h\n#a\n #b\n", {" #b"}},
        {"a stray Ctrl-Z does not end the file", "h\na\x1a\nb\n", {"a\x1a", "b"}},
    };
    const lab_test::Folder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        lab_test::WriteAll(folder / L"a.csv", row.bytes);
        const std::ofstream other(std::filesystem::path(folder / L"a.csv"),
                                  std::ios::app);  // open in another program
        EXPECT_EQ(EntriesOf(std::filesystem::path(folder / L"a.csv").string()), row.expected);
    }
}

TEST(CsvFile, AReadErrorIsTracedAndThePartialLineIsDropped) {
    constexpr char kPipe[] = "\\\\.\\pipe\\dhcpmigrate test";
    const Handle pipe(
        ::CreateNamedPipeA(kPipe, PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr));
    std::thread writer([&] {
        ::ConnectNamedPipe(pipe.get(), nullptr);
        DWORD written = 0;
        ::WriteFile(pipe.get(), "h\na\nhalf", 8, &written, nullptr);
        ::FlushFileBuffers(pipe.get());
        ::DisconnectNamedPipe(pipe.get());
    });
    const std::uint32_t before = DiagTools::CModuleStatistics::ErrorLines();
    EXPECT_EQ(EntriesOf(kPipe), Texts({"a"}));
    EXPECT_EQ(DiagTools::CModuleStatistics::ErrorLines(), before + 1);
    writer.join();
}

TEST(CsvFile, EachCommaSeparatesTwoFieldsAndOnlyBlanksAndTabsAreTrimmed) {
    Texts fields = SplitCsvFields(",PC-1 ,\t 10.1.0.5\t,,\"a  b,\va\r,\xa0, ");
    for (std::string& field : fields)
        TrimCsvField(field);
    EXPECT_EQ(fields, (Texts{"", "PC-1", "10.1.0.5", "", "\"a  b", "\va\r", "\xa0", ""}));
    EXPECT_EQ(SplitCsvFields("\"a,b\""), (Texts{"\"a", "b\""})) << "quotes are data";
}

}  // namespace
