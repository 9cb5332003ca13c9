#include "diagtools/InternalTrace.h"

#include <gtest/gtest.h>

#include "LabLibrary.h"
#include "win/Handles.h"

namespace {

using DiagTools::CInternalTrace;

/// Each test has its own temporary folder for DT.LOG.
class InternalTrace : public testing::Test {
protected:
    static std::string Stamp(const SYSTEMTIME& time) {
        char text[32];
        std::snprintf(text, sizeof(text), "%u/%u/%u %u:%02u:%02u:", time.wYear, time.wMonth,
                      time.wDay, time.wHour, time.wMinute, time.wSecond);
        return text;
    }

    const lab_test::Folder m_folder;
    const lab_test::TemporaryFolderIs m_temporary{(m_folder / L"").c_str()};
    const std::wstring m_log = m_folder / L"DT.LOG";
};

TEST_F(InternalTrace, ALineIsLocalTimeMessageAndLineEnd) {
    SYSTEMTIME before;
    SYSTEMTIME after;
    ::GetLocalTime(&before);
    CInternalTrace::Write("%s %d\n", "100%", 7);
    ::GetLocalTime(&after);
    const std::string line = lab_test::ReadAll(m_log);
    const std::size_t stampEnd = line.find(" : ") - 3;
    const std::string stamp = line.substr(0, stampEnd);
    EXPECT_TRUE(stamp == Stamp(before) || stamp == Stamp(after)) << line;
    EXPECT_EQ(line.substr(stampEnd, 3).find_first_not_of("0123456789"), std::string::npos) << line;
    EXPECT_EQ(line.substr(stampEnd + 3), " : 100% 7\n\r\n");
    CInternalTrace::Write("%s", std::string(40000, 'a').c_str());
    const std::string cut = lab_test::ReadAll(m_log).substr(line.size());
    EXPECT_EQ(cut.substr(cut.find(" : ") + 3), std::string(32767, 'a') + "\r\n");
}

TEST_F(InternalTrace, OnlyAFileAbove1024000BytesIsStartedOver) {
    for (const std::size_t size : {1024000u, 1024001u}) {
        lab_test::WriteAll(m_log, std::string(size, 'x'));
        CInternalTrace::Write("a");
        const std::string now = lab_test::ReadAll(m_log);
        EXPECT_EQ(now.find_first_not_of('x'), size == 1024000 ? size : 0);
        CInternalTrace::Write("b");
        EXPECT_EQ(lab_test::ReadAll(m_log).find("a\r\n") == std::string::npos, size == 1024000)
            << "the size is checked before every line";
    }
}

TEST_F(InternalTrace, AFileInUseOrWithASecondLinkIsNotWritten) {
    lab_test::WriteAll(m_log, "theirs");
    Handle other(::CreateFileW(m_log.c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, 0, nullptr));
    CInternalTrace::Write("lost");
    other.reset();
    EXPECT_EQ(lab_test::ReadAll(m_log), "theirs");

    ASSERT_TRUE(::MoveFileW(m_log.c_str(), (m_folder / L"victim").c_str()));
    ASSERT_TRUE(::CreateHardLinkW(m_log.c_str(), (m_folder / L"victim").c_str(), nullptr));
    CInternalTrace::Write("planted");
    EXPECT_EQ(lab_test::ReadAll(m_folder / L"victim"), "theirs");
}

}  // namespace
