#include "driver/output/OutputMsg.h"

#include <gtest/gtest.h>

#include <vector>

#include "LabLibrary.h"
#include "win/Handles.h"

namespace {

/// Replaces standard output by a pipe that keeps each write as one message.
class MessagePipe {
public:
    MessagePipe() : m_before(::GetStdHandle(STD_OUTPUT_HANDLE)) {
        const std::string name = "\\\\.\\pipe\\output" + std::to_string(::GetCurrentProcessId());
        constexpr DWORD kMode = PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE;
        m_server.reset(::CreateNamedPipeA(name.c_str(), PIPE_ACCESS_INBOUND, kMode, 1, 0, 1 << 20,
                                          0, nullptr));
        m_client.reset(
            ::CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ::SetStdHandle(STD_OUTPUT_HANDLE, m_client.get());
    }
    ~MessagePipe() { ::SetStdHandle(STD_OUTPUT_HANDLE, m_before); }

    std::vector<std::string> Messages() {
        std::vector<std::string> messages;
        std::string buffer(1 << 18, '\0');
        DWORD size = 0;
        while (::PeekNamedPipe(m_server.get(), nullptr, 0, nullptr, &size, nullptr) && size &&
               ::ReadFile(m_server.get(), &buffer[0], 1 << 18, &size, nullptr))
            messages.push_back(buffer.substr(0, size));
        return messages;
    }

private:
    HANDLE m_before;
    Handle m_server;
    Handle m_client;
};

using Texts = std::vector<std::string>;

TEST(OutputMsg, AMessageIsOneWriteOnStandardOutputInTextMode) {
    MessagePipe console;
    COutputMsg output;
    output.DisplayMsg("\nfirst\n\n", false);
    output.DisplayMsg("no line end", false);
    output.DisplayMsg("help\r\n%s\xE9", true);
    EXPECT_EQ(console.Messages(), (Texts{"\r\nfirst\r\n\r\n", "no line end", "help\r\r\n%s\xE9"}));
    output.DisplayMsg(std::string(40000, '\n'), false);
    EXPECT_EQ(console.Messages().at(0).size(), 80000u);
    output.SetVerbose(false);
    output.DisplayMsg("detail", true);
    output.DisplayMsg("result", false);
    EXPECT_EQ(console.Messages(), Texts{"result"});
}

TEST(OutputMsg, ALogFileIsEmptiedSharedAppendedToAndReplacesTheConsole) {
    const lab_test::Folder folder;
    const std::string path = std::filesystem::path(folder / L"log.txt").string();
    lab_test::WriteAll(folder / L"log.txt", "of the run before");
    Handle reader(::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                nullptr));
    const auto content = [&folder] { return lab_test::ReadAll(folder / L"log.txt"); };
    MessagePipe console;
    COutputMsg output;
    output.SetOutputLogFile(path);
    EXPECT_EQ(content(), "");
    output.DisplayMsg("a\r\n", false);
    EXPECT_EQ(content(), "a\r\r\n");
    lab_test::WriteAll(folder / L"log.txt", "theirs");
    output.DisplayMsg("b", false);
    EXPECT_EQ(content(), "theirsb");
    reader.reset();
    std::filesystem::remove(path);
    output.DisplayMsg("once more", false);
    EXPECT_EQ(content(), "once more");
    output.SetOutputLogFile(path + "\\log.txt");
    output.DisplayMsg("lost", false);
    EXPECT_EQ(console.Messages(), Texts());
    output.SetOutputLogFile("");
    output.DisplayMsg("c", false);
    EXPECT_EQ(console.Messages(), Texts{"c"});
    DisplayThrough(Output(), "the output object is gone", false);
    EXPECT_EQ(console.Messages(), Texts());
}

TEST(Format, ReturnsTheWholeTextWhateverItsLengthAndArguments) {
    for (const std::size_t length : {0u, 511u, 512u, 2000u}) {
        const std::string text(length, 'a');
        EXPECT_EQ(Format("%s", text.c_str()), text);
    }
    EXPECT_EQ(Format("Name [%s]", "100%n %s"), "Name [100%n %s]");
}

}  // namespace
