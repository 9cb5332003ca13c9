#pragma once

#include <boost/weak_ptr.hpp>
#include <cstdint>
#include <exception>
#include <string>

class COutputMsg;

/// The batch file of netsh commands that would do on the DHCP server what the live import does.
///
/// One object per file, shared by those who add to it: the header is written when it is made, the
/// trailer when the last of them lets go, unless an exception is on its way then. The file is
/// opened and closed for each line, so that it can be read while it grows. Failures to write are
/// silent. With an empty file name nothing is done, shown or traced.
///
/// Texts go in as they are, without quotes or escapes; addresses are dotted text, and a computed
/// address whose source is none follows from 255.255.255.255.
class CNetshCommands {
public:
    /// Creates or empties the file. server: address or name, for every command.
    CNetshCommands(const boost::weak_ptr<COutputMsg>& output, const std::string& server,
                   const std::string& fileName);
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
    /// Returns the network id, address AND mask, for the command below the comment.
    template <const auto& Comment>
    std::string AddClientComment(const std::string& clientName, const std::string& address,
                                 const std::string& mask, const std::string& mac);

    std::string m_fileName;
    std::string m_server;
    boost::weak_ptr<COutputMsg> m_output;
    int m_exceptionsBefore = std::uncaught_exceptions();
};
