#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "driver/output/OutputMsg.h"

/// The batch file of netsh commands that would do on the DHCP server what the live import does.
///
/// One object per file, shared by those who add to it. The constructor writes the header. The
/// destructor writes the trailer, unless an exception is passing: then a command may be missing,
/// and the file must not say that its commands are ready. The file is opened and closed for each
/// line, so that it can be read while it grows. Failures to write are silent. With an empty file
/// name nothing is done, shown or traced.
///
/// Texts are written as they are, without quotes or escapes. Addresses are dotted text; one that is
/// not an address counts as 255.255.255.255 where others are computed from it.
class CNetshCommands {
public:
    /// Creates or empties the file. server: address or name, for every command.
    CNetshCommands(const Output& output, const std::string& server, const std::string& fileName);
    virtual ~CNetshCommands();
    CNetshCommands(const CNetshCommands&) = delete;
    CNetshCommands& operator=(const CNetshCommands&) = delete;

    /// Appends one line, which carries its own line end. display: also shows it to a verbose user.
    void AddCommandToBatchFile(const std::string& line, bool display);

    /// The block of one scope: its comment and the five commands below. scopeAddress is the
    /// gateway's own address there: excluded from the range, and the clients' router.
    void AddScopeCommands(const std::string& scopeName, const std::string& networkId,
                          const std::string& scopeAddress, const std::string& mask,
                          const std::string& comment, std::uint32_t leaseSeconds);
    void AddDHCPScope(const std::string& scopeName, const std::string& networkId,
                      const std::string& mask, const std::string& comment);
    /// Every host address of the scope.
    void AddDHCPRangeForScope(const std::string& networkId, const std::string& mask);
    void ExcludeIpFromRange(const std::string& networkId, const std::string& address);
    void SetRouterOption(const std::string& networkId, const std::string& routerAddress);
    void SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds);

    /// The block of one client, comment and command, in the scope address AND mask. Only "-" is
    /// taken out of the MAC.
    void ReservedClientAddressInDHCPScope(const std::string& clientName, const std::string& address,
                                          const std::string& mask, const std::string& mac);
    void DeleteClientAddressFromDHCPScope(const std::string& clientName, const std::string& address,
                                          const std::string& mask, const std::string& mac);

private:
    void WriteTrailer();
    void AddCommentBlock(const std::string& comment);

    std::string m_fileName;
    std::string m_server;
    Output m_output;
    int m_exceptionsBefore = std::uncaught_exceptions();
};
