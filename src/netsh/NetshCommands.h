#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "driver/output/OutputMsg.h"

/// Writer of a batch file of netsh commands that have the effect of the live import. One object per
/// file. The constructor writes the header. The destructor writes the trailer, except during an
/// exception: a command may be missing then, and the file must not say that its commands are ready.
/// The file is opened and closed for each line, so that it can be read while it grows. Write
/// failures are silent. An empty file name means: write, show and trace nothing.
///
/// Texts are written unchanged, without quotes or escapes. Addresses are dotted text; in
/// calculations, text that is not an address counts as 255.255.255.255.
class CNetshCommands {
public:
    /// Creates or empties the file. server: address or name, for every command.
    CNetshCommands(const Output& output, const std::string& server, const std::string& fileName);
    virtual ~CNetshCommands();
    CNetshCommands(const CNetshCommands&) = delete;
    CNetshCommands& operator=(const CNetshCommands&) = delete;

    /// Appends one line, which includes its line end. display: also shows it to a verbose user.
    void AddCommandToBatchFile(const std::string& line, bool display);

    /// Writes the block of one scope: a comment and the five commands below. scopeAddress: the
    /// gateway's own address in the scope, which becomes the router and is excluded from the range.
    void AddScopeCommands(const std::string& scopeName, const std::string& networkId,
                          const std::string& scopeAddress, const std::string& mask,
                          const std::string& comment, std::uint32_t leaseSeconds);
    void AddDHCPScope(const std::string& scopeName, const std::string& networkId,
                      const std::string& mask, const std::string& comment);
    /// Adds a range of all host addresses of the scope.
    void AddDHCPRangeForScope(const std::string& networkId, const std::string& mask);
    void ExcludeIpFromRange(const std::string& networkId, const std::string& address);
    void SetRouterOption(const std::string& networkId, const std::string& routerAddress);
    void SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds);

    /// Comment and command for one client. The scope id is address AND mask; mac loses only its
    /// "-".
    void ReservedClientAddressInDHCPScope(const std::string& clientName, const std::string& address,
                                          const std::string& mask, const std::string& mac);
    void DeleteClientAddressFromDHCPScope(const std::string& clientName, const std::string& address,
                                          const std::string& mask, const std::string& mac);

private:
    void AddCommentBlock(const std::string& comment);

    std::string m_fileName;
    std::string m_server;
    Output m_output;
    int m_exceptionsBefore = std::uncaught_exceptions();
};
