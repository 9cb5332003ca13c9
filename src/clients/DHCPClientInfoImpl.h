#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "dhcpserver/DhcpOptions.h"
#include "driver/output/OutputMsg.h"
#include "store/StorageAccess.h"

class CNetshCommands;

/// The gateway's clients: from the store to a CSV file, and from there onto the DHCP server.
/// A client that fails is reported and left out; the others are still processed.
class CDHCPClientInfoImpl : public CStorageAccess {
public:
    /// For the export. With a writer, which may be null, reserved clients also become commands.
    CDHCPClientInfoImpl(const Output& output,
                        const boost::shared_ptr<CNetshCommands>& netshCommands);
    /// For the import, which doesn't open the store.
    CDHCPClientInfoImpl(const Output& output, const std::string& dhcpServer,
                        std::uint32_t leaseSeconds);
    virtual ~CDHCPClientInfoImpl() = default;

    /// Writes the whole CSV file. Without a store no file is made; a file that can't be made is
    /// passed over in silence, one that can't be completed is traced.
    void GetDHCPInfo(const std::string& fileName);
    /// The CSV line of one client; the store must be open. After a failure, or when the entry has
    /// no list of values, which counts as a success, the line is untouched.
    HRESULT GetDHCPClientInfo(BSTR clientGuid, std::string& line);

    /// Creates every client of the CSV file on the server.
    void SetDHCPInfo(const std::string& fileName);
    /// Creates the client of one CSV line. A malformed line is traced and not shown to the user;
    /// the server's error is shown. E_FAIL for both.
    HRESULT SetDHCPClientInfo(const std::string& line);
    /// The server's part, for the seven fields of a line: client record, then the reservation of a
    /// reserved client. The first error of the server, 0 when done; the record stays when only the
    /// reservation fails.
    DWORD AddClientToServer(const std::vector<std::string>& fields) const;

private:
    std::string m_dhcpServer;
    boost::shared_ptr<CNetshCommands> m_netshCommands;
    Output m_output;
    std::uint32_t m_leaseDuration = kDefaultLeaseSeconds;
};
