#include <gtest/gtest.h>

#include "LabLibrary.h"
#include "diagtools/DiagTraceInfoRegister.h"
#include "diagtools/HResultCheck.h"
#include "diagtools/ModuleStatistics.h"

namespace {

using namespace DiagTools;

const std::uint32_t filterAtStart = traceFilter;
constexpr char kTraceFile[] = ".\\sub\\TraceTest";

/// The tests of this file share one registration, because a process registers once.
class Trace : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static const lab_test::Folder folder;
        path = folder / L"t";
        // The look-up under test finds this client, because it is already loaded.
        static const lab_test::Library client(
            L"DTClient.dll", folder,
            {{L"TRACE_COUNT", L"1"}, {L"TRACE_MASK", L"0xBC"}, {L"TRACE", path}});
        EXPECT_EQ(filterAtStart, 255u);
        ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);  // as the program does
        EXPECT_EQ(CDiagTraceInfoRegister().Register(::GetModuleHandleA(nullptr)), 1);
        EXPECT_EQ(NewLines(), "register|unit_tests.exe|\"\"|\"\"\n");
    }
    void SetUp() override { traceFilter = filterAtStart; }
    static std::string NewLines() {
        const std::string all = lab_test::ReadAll(path);
        const std::string added = all.substr(read);
        read = all.size();
        return added;
    }
    static std::string Text(const std::string& text) { return "1|Tag|F|7|" + text + "\n"; }

    static inline std::wstring path;
    static inline std::size_t read = 0;
};

TEST_F(Trace, ALineCarriesItsPlaceAndItsText) {
    DT_TRACE(kTraceRecord, "%s %s", "100%n", static_cast<const char*>(nullptr));
    const std::string line = std::to_string(__LINE__ - 1);
    EXPECT_EQ(NewLines(),
              "filter\n128|TraceTest|Trace_ALineCarriesItsPlaceAndItsText_Test::TestBody|" + line +
                  "|100%n (null)\n");
    CDiagTraceInfo info("Tag", 7, "F");
    EXPECT_EQ(NewLines(), "filter\n");
    EXPECT_TRUE(info.TraceText(1, "%s%n 50%\r\n"));
    EXPECT_EQ(NewLines(), Text("%s%n 50%\\r\\n"));
    EXPECT_TRUE(info(1, "%s", std::string(32767, 'a').c_str()));
    EXPECT_EQ(NewLines(), Text(std::string(32767, 'a')));
    EXPECT_TRUE(info(1, "%s%d", std::string(32766, 'a').c_str(), 12));
    EXPECT_EQ(NewLines(), Text(std::string(32766, 'a') + "1"));
    EXPECT_EQ(CheckHResult("Tag", 7, "F", "a(\"%s\")", E_FAIL), E_FAIL);
    EXPECT_EQ(NewLines(), "filter\n" + Text("HRESULT Failed, Err Code [0X80004005].\\nExecuted "
                                            "code: a(\\\"%s\\\")"));
    LOG_IF_FAILED(S_FALSE);
    EXPECT_EQ(NewLines(), "") << "no failure";
    try {
        throw std::runtime_error("lost");
    }
    CATCH_RECORD()
    const std::string lost = NewLines();
    EXPECT_EQ(lost.substr(0, 9), "filter\n1|");
    EXPECT_NE(lost.find("|Record left out, exception [lost]\n"), std::string::npos);
    const std::string bytes(32769, 'a');
    const std::uint32_t before = CModuleStatistics::ErrorLines();
    EXPECT_TRUE(info.TraceBuffer(1, bytes.data(), bytes.size()));
    EXPECT_EQ(CModuleStatistics::ErrorLines(), before + 1);
    const std::string buffer = NewLines();
    EXPECT_EQ(buffer.substr(0, 30), "1|Tag|F|7|buffer 32768 6161616");
    EXPECT_EQ(buffer.size(), 23 + 2 * 32768 + 1u);
}

TEST_F(Trace, DisabledObjectsAndLevelsTraceNothing) {
    CDiagTraceInfo info("Tag", 7, "F");
    info.Enable(false);
    EXPECT_FALSE(info(1, "%s", "text"));
    EXPECT_FALSE(info.TraceText(1, "text"));
    EXPECT_FALSE(info.TraceBuffer(1, "b", 1));
    info.Enable(true);
    traceFilter = 0x44;
    EXPECT_FALSE(info(8 | 1, "text"));
    EXPECT_TRUE(info(8 | 4, "text"));
    EXPECT_EQ(NewLines(), "filter\n12|Tag|F|7|text\n");
    DT_TRACE(kTraceDetail, "a disabled level does not ask the client for its mask");
    EXPECT_EQ(NewLines(), "");
    DT_TRACE(kTraceProgress, "the client's answer counts from now on");
    EXPECT_EQ(traceFilter, 0xBCu | 1 | 2 | 256) << "client's mask and levels that always pass";
    EXPECT_NE(NewLines(), "");
}

TEST_F(Trace, MissingArgumentsAreWrittenToTheFaultLog) {
    const lab_test::Folder folder;
    const lab_test::TemporaryFolderIs temporary((folder / L"").c_str());
    CDiagTraceInfo info("Tag", 7, "F");
    bool (CDiagTraceInfo::*unchecked)(std::uint32_t, const char*, ...) =
        &CDiagTraceInfo::operator();  // the compiler refuses a missing format
    EXPECT_FALSE((info.*unchecked)(1, nullptr));
    EXPECT_FALSE(info.TraceBuffer(1, nullptr, 4));
    CDiagTraceInfo(nullptr, 7, "F")(1, "text");
    CDiagTraceInfo(nullptr, 7, "F").TraceBuffer(1, "b", 1);
    CDiagTrace::Instance().Register(nullptr, "", "");
    CDiagTrace::Instance().Register(nullptr, "", "");  // recorded once in five seconds
    EXPECT_EQ(NewLines(), "filter\nfilter\nfilter\n");
    std::string faults;
    std::istringstream log(lab_test::ReadAll(folder / L"DT.LOG"));
    for (std::string line; std::getline(log, line);)
        faults += line == "\r" ? "|" : line.substr(line.find(" : ") + 3);
    EXPECT_EQ(faults,
              "CDiagTraceInfo::operator() if(NULL == pszFmt) Failed|"
              "CDiagTraceInfo::operator() if(NULL == pBuf) Failed|"
              "CDiagTrace::Trace if((NULL == pszFile)||(NULL == pszTrace)) Failed|"
              " CDiagTrace::Trace if((NULL == pszFile)||(NULL == pBuf)) Failed|"
              "CDiagTrace::Register Receive hModule NULL|");
}

}  // namespace
