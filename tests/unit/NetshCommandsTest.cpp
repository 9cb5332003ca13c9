#include "netsh/NetshCommands.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/make_shared.hpp>

#include "TempFile.h"
#include "driver/output/OutputMsg.h"

namespace {

#define SEPARATOR "REM ######################################################################\n"

constexpr char kHeader[] =
    SEPARATOR "REM Creating command file name for DHCP Server [10.0.0.2]\n" SEPARATOR "\n";
constexpr char kTrailer[] =
    "\n" SEPARATOR
    "REM Commands are ready to update DHCP Server [10.0.0.2]\n"
    "REM Make sure you have sufficient privileges to modify DHCP server\n" SEPARATOR;

/// A writer on a file of its own, with a log in place of the console.
class NetshCommands : public testing::Test {
protected:
    NetshCommands() : m_output(boost::make_shared<COutputMsg>()) {
        m_output->SetOutputLogFile(m_log.Path());
        Restart(m_file.Path());
    }
    void Restart(const std::string& path) {
        m_writer.reset();
        m_writer = boost::make_shared<CNetshCommands>(m_output, "10.0.0.2", path);
    }
    /// "\n" stands for the CR LF of the file.
    static std::string InTextMode(const TempFile& file) {
        const std::string bytes = boost::replace_all_copy(file.Read(), "\r\n", "\n");
        EXPECT_EQ(bytes.find('\r'), std::string::npos);
        EXPECT_EQ(boost::replace_all_copy(bytes, "\n", "\r\n"), file.Read());
        return bytes;
    }

    const TempFile m_file{"netsh-test.bat"};
    const TempFile m_log{"netsh-test.log"};
    boost::shared_ptr<COutputMsg> m_output;
    boost::shared_ptr<CNetshCommands> m_writer;
};

TEST_F(NetshCommands, BlocksAreWrittenAsNetshReadsThem) {
    const struct {
        const char* why;
        void (*write)(CNetshCommands&);
        const char* expected;
    } rows[] = {
        {"a scope",
         [](CNetshCommands& writer) {
             writer.AddScopeCommands("LAN", "192.168.10.0", "192.168.10.1", "255.255.255.0",
                                     "Office", 691200);
         },
         "\nREM Adding scope [LAN]\n\n"
         "netsh dhcp server 10.0.0.2 add scope 192.168.10.0 255.255.255.0 LAN Office\n"
         "netsh dhcp server 10.0.0.2 scope 192.168.10.0 add iprange 192.168.10.1 192.168.10.254\n"
         "netsh dhcp server 10.0.0.2 scope 192.168.10.0 add excluderange 192.168.10.1 "
         "192.168.10.1\n"
         "netsh dhcp server 10.0.0.2 scope 192.168.10.0 set optionvalue 3 IPADDRESS 192.168.10.1\n"
         "netsh dhcp server 10.0.0.2 scope 192.168.10.0 set optionvalue 51 DWORD 691200\n"},
        {"no comment leaves a blank; the longest lease; texts that are formats or no addresses",
         [](CNetshCommands& writer) {
             writer.AddScopeCommands("50%n%s", "a", "b", "c", "", 0xFFFFFFFF);
         },
         "\nREM Adding scope [50%n%s]\n\n"
         "netsh dhcp server 10.0.0.2 add scope a c 50%n%s \n"
         "netsh dhcp server 10.0.0.2 scope a add iprange 0.0.0.0 255.255.255.254\n"
         "netsh dhcp server 10.0.0.2 scope a add excluderange b b\n"
         "netsh dhcp server 10.0.0.2 scope a set optionvalue 3 IPADDRESS b\n"
         "netsh dhcp server 10.0.0.2 scope a set optionvalue 51 DWORD 4294967295\n"},
        {"a reservation: no quotes, \"-\" is all that a MAC loses, the prefix counts in the width",
         [](CNetshCommands& writer) {
             writer.ReservedClientAddressInDHCPScope("PC 1 & %d", "10.0.0.5", "255.0.0.0",
                                                     "00-1A-2b:3C");
         },
         "\nREM Adding client [PC 1 & %d] with IP [10.0.0.5 : 0XA000005] to scope [10.0.0.0] with "
         "Mac Address [00-1A-2b:3C]\n\n"
         "netsh dhcp server 10.0.0.2 scope 10.0.0.0 add reservedip 10.0.0.5 001A2b:3C PC 1 & %d\n"},
        {"a deletion; zero has no prefix",
         [](CNetshCommands& writer) {
             writer.DeleteClientAddressFromDHCPScope("a", "0.0.0.0", "255.0.0.0", "0-1");
         },
         "\nREM Deleting client [a] with IP [0.0.0.0 : 00000000] from scope [0.0.0.0] with Mac "
         "Address [0-1]\n\n"
         "netsh dhcp server 10.0.0.2 scope 0.0.0.0 delete reservedip 0.0.0.0 01\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Restart(m_file.Path());
        row.write(*m_writer);
        EXPECT_EQ(InTextMode(m_file), std::string(kHeader) + row.expected);
    }
}

TEST_F(NetshCommands, TrailerComesWhenTheLastHolderLetsGo) {
    boost::shared_ptr<CNetshCommands> other = m_writer;
    m_writer.reset();
    EXPECT_EQ(InTextMode(m_file), kHeader);
    other.reset();
    EXPECT_EQ(InTextMode(m_file), std::string(kHeader) + kTrailer);
}

TEST_F(NetshCommands, OnlyCommandsAreShownAndOnlyToAVerboseUser) {
    const std::string command =
        "netsh dhcp server 10.0.0.2 scope 10.0.0.0 delete reservedip 10.0.0.5 01\n";
    const auto add_one_more = [this] {
        m_writer->DeleteClientAddressFromDHCPScope("a", "10.0.0.5", "255.0.0.0", "0-1");
        return InTextMode(m_log);
    };
    EXPECT_EQ(add_one_more(), "Adding command -> " + command);
    m_output->SetVerbose(false);
    EXPECT_EQ(add_one_more(), "Adding command -> " + command);
    m_output.reset();  // its owner has let go
    EXPECT_EQ(add_one_more(), "Adding command -> " + command);
    EXPECT_EQ(boost::erase_all_copy(InTextMode(m_file), command).size() + 3 * command.size(),
              InTextMode(m_file).size());
}

TEST_F(NetshCommands, WithoutAFileNameNothingIsDone) {
    Restart("");
    m_writer->AddScopeCommands("a", "b", "c", "d", "e", 1);
    m_writer->ReservedClientAddressInDHCPScope("a", "b", "c", "d");
    m_writer->DeleteClientAddressFromDHCPScope("a", "b", "c", "d");
    m_writer->AddCommandToBatchFile("a\n", true);
    EXPECT_EQ(m_log.Read(), "");
}

}  // namespace
