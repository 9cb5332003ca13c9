#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "dhcpserver/DhcpOptions.h"
#include "driver/output/OutputMsg.h"
#include "store/StorageAccess.h"

class CNetshCommands;

/// Exports the gateway's clients from the store to a CSV file, and imports such a file into the
/// DHCP server. A client that fails is reported and skipped; the others are still processed.
class CDHCPClientInfoImpl : public CStorageAccess {
public:
    /// For the export. netshCommands may be null; if not, reserved clients are also written there.
    CDHCPClientInfoImpl(const Output& output,
                        const boost::shared_ptr<CNetshCommands>& netshCommands);
    /// For the import, which does not open the store.
    CDHCPClientInfoImpl(const Output& output, const std::string& dhcpServer,
                        std::uint32_t leaseSeconds);
    virtual ~CDHCPClientInfoImpl() = default;

    /// Writes the CSV file. Creates no file if the store can't be opened. Silently ignores a file
    /// that can't be created; traces a failed write.
    void GetDHCPInfo(const std::string& fileName);
    /// Builds the CSV line of one client; the store must be open. Leaves line unchanged on failure,
    /// and also when it returns S_OK for an entry without a list of values.
    HRESULT GetDHCPClientInfo(BSTR clientGuid, std::string& line);

    /// Creates every client of the CSV file on the server.
    void SetDHCPInfo(const std::string& fileName);
    /// Creates the client of one CSV line. Returns E_FAIL for a malformed line, which is only
    /// traced, and for a server error, which is also shown to the user.
    HRESULT SetDHCPClientInfo(const std::string& line);
    /// Creates the client record, then the reservation of a reserved client. fields: all seven.
    /// Returns the server's first error, else 0. The record stays if only the reservation fails.
    DWORD AddClientToServer(const std::vector<std::string>& fields) const;

private:
    std::string m_dhcpServer;
    boost::shared_ptr<CNetshCommands> m_netshCommands;
    Output m_output;
    std::uint32_t m_leaseDuration = kDefaultLeaseSeconds;
};
