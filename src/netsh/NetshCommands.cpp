#include "netsh/NetshCommands.h"

#include <boost/algorithm/string/erase.hpp>

#include "dhcpserver/DhcpOptions.h"
#include "diagtools/HResultCheck.h"
#include "driver/output/TextFile.h"
#include "store/IPAddressString.h"

namespace {

constexpr char kTraceFile[] = "NetshCommands";

constexpr char kSeparator[] =
    "REM ######################################################################\n";
constexpr char kHeader[] = "REM Creating command file name for DHCP Server [%s]\n";  // server
constexpr char kTrailer[] = "REM Commands are ready to update DHCP Server [%s]\n";   // server
constexpr char kTrailerAdvice[] =
    "REM Make sure you have sufficient privileges to modify DHCP server\n";

constexpr char kAddingScope[] = "REM Adding scope [%s]\n";  // scope name
// Arguments: client name, address as text and as number, network id, MAC.
constexpr char kAddingClient[] =
    "REM Adding client [%s] with IP [%s : %#08lX] to scope [%s] with Mac Address [%s]\n";
constexpr char kDeletingClient[] =
    "REM Deleting client [%s] with IP [%s : %#08lX] from scope [%s] with Mac Address [%s]\n";

// The first argument is the server. No quotes, for the scripts that parse these lines.
constexpr char kAddScope[] =  // network id, mask, scope name, comment
    "netsh dhcp server %s add scope %s %s %s %s\n";
constexpr char kAddRange[] =  // network id, first address, last address
    "netsh dhcp server %s scope %s add iprange %s %s\n";
constexpr char kAddExclusion[] =  // network id, first address, last address
    "netsh dhcp server %s scope %s add excluderange %s %s\n";
constexpr char kSetAddressOption[] =  // network id, option, address
    "netsh dhcp server %s scope %s set optionvalue %lu IPADDRESS %s\n";
constexpr char kSetNumberOption[] =  // network id, option, number
    "netsh dhcp server %s scope %s set optionvalue %lu DWORD %lu\n";
constexpr char kAddReservation[] =  // network id, address, MAC without "-", client name
    "netsh dhcp server %s scope %s add reservedip %s %s %s\n";
constexpr char kDeleteReservation[] =  // network id, address, MAC without "-"
    "netsh dhcp server %s scope %s delete reservedip %s %s\n";

constexpr char kAddingCommand[] = "Adding command -> ";

constexpr char kClientTrace[] =  // client name, network id, address, mask, MAC
    "Client Name [%s], Network ID [%s], IP Address [%s], Net Mask [%s], MAC [%s]";

/// The network id of a client: address AND mask.
std::string NetworkIdText(const std::string& address, const std::string& mask) {
    return AddressText(NetworkAddress(AddressNumber(address), AddressNumber(mask)));
}

std::string WithoutDashes(const std::string& mac) {
    return boost::algorithm::erase_all_copy(mac, "-");
}

}  // namespace

CNetshCommands::CNetshCommands(const Output& output, const std::string& server,
                               const std::string& fileName)
    : m_fileName(fileName), m_server(server), m_output(output) {
    if (m_fileName.empty())
        return;
    EmptyFile(m_fileName);
    AddCommandToBatchFile(kSeparator, false);
    AddCommandToBatchFile(Format(kHeader, m_server.c_str()), false);
    AddCommandToBatchFile(kSeparator, false);
    AddCommandToBatchFile("\n", false);
}

CNetshCommands::~CNetshCommands() {
    if (std::uncaught_exceptions() != m_exceptionsBefore)
        return;
    try {
        AddCommandToBatchFile("\n", false);
        AddCommandToBatchFile(kSeparator, false);
        AddCommandToBatchFile(Format(kTrailer, m_server.c_str()), false);
        AddCommandToBatchFile(kTrailerAdvice, false);
        AddCommandToBatchFile(kSeparator, false);
    }
    CATCH_RECORD()
}

void CNetshCommands::AddCommandToBatchFile(const std::string& line, bool display) {
    if (m_fileName.empty())
        return;
    DT_TRACE_TEXT(kTraceDetail, line.c_str());
    AppendText(m_fileName, line);
    // A quiet run shows no commands; the file contains all of them.
    if (display && IsDetailWanted(m_output))
        DisplayThrough(m_output, kAddingCommand + line, true);
}

void CNetshCommands::AddCommentBlock(const std::string& comment) {
    AddCommandToBatchFile("\n", false);
    AddCommandToBatchFile(comment, false);
    AddCommandToBatchFile("\n", false);
}

void CNetshCommands::AddScopeCommands(const std::string& scopeName, const std::string& networkId,
                                      const std::string& scopeAddress, const std::string& mask,
                                      const std::string& comment, std::uint32_t leaseSeconds) {
    AddCommentBlock(Format(kAddingScope, scopeName.c_str()));
    AddDHCPScope(scopeName, networkId, mask, comment);
    AddDHCPRangeForScope(networkId, mask);
    ExcludeIpFromRange(networkId, scopeAddress);
    SetRouterOption(networkId, scopeAddress);
    SetLeaseDuration(networkId, leaseSeconds);
}

void CNetshCommands::AddDHCPScope(const std::string& scopeName, const std::string& networkId,
                                  const std::string& mask, const std::string& comment) {
    if (m_fileName.empty())
        return;
    DT_TRACE(kTraceDetail, "Scope Name [%s], Network ID [%s], Net Mask [%s], Description [%s]",
             scopeName.c_str(), networkId.c_str(), mask.c_str(), comment.c_str());
    AddCommandToBatchFile(Format(kAddScope, m_server.c_str(), networkId.c_str(), mask.c_str(),
                                 scopeName.c_str(), comment.c_str()),
                          true);
}

void CNetshCommands::AddDHCPRangeForScope(const std::string& networkId, const std::string& mask) {
    if (m_fileName.empty())
        return;
    const std::uint32_t network = AddressNumber(networkId);
    const std::string first = AddressText(FirstHostAddress(network));
    const std::string last = AddressText(LastHostAddress(network, AddressNumber(mask)));
    DT_TRACE(kTraceDetail, "First address [%s], Last address [%s]", first.c_str(), last.c_str());
    AddCommandToBatchFile(
        Format(kAddRange, m_server.c_str(), networkId.c_str(), first.c_str(), last.c_str()), true);
}

void CNetshCommands::ExcludeIpFromRange(const std::string& networkId, const std::string& address) {
    if (m_fileName.empty())
        return;
    // Kept for compatibility: log searches match "Excluse".
    DT_TRACE(kTraceDetail, "Excluse IP [%s]", address.c_str());
    AddCommandToBatchFile(Format(kAddExclusion, m_server.c_str(), networkId.c_str(),
                                 address.c_str(), address.c_str()),
                          true);
}

void CNetshCommands::SetRouterOption(const std::string& networkId,
                                     const std::string& routerAddress) {
    if (m_fileName.empty())
        return;
    DT_TRACE(kTraceDetail, "Router option on IP [%s]", routerAddress.c_str());
    AddCommandToBatchFile(Format(kSetAddressOption, m_server.c_str(), networkId.c_str(),
                                 static_cast<unsigned long>(kOptionRouter), routerAddress.c_str()),
                          true);
}

void CNetshCommands::SetLeaseDuration(const std::string& networkId, std::uint32_t leaseSeconds) {
    if (m_fileName.empty())
        return;
    const unsigned long seconds = leaseSeconds;
    DT_TRACE(kTraceDetail, "Lease duration [%lu]", seconds);
    AddCommandToBatchFile(Format(kSetNumberOption, m_server.c_str(), networkId.c_str(),
                                 static_cast<unsigned long>(kOptionLeaseTime), seconds),
                          true);
}

void CNetshCommands::ReservedClientAddressInDHCPScope(const std::string& clientName,
                                                      const std::string& address,
                                                      const std::string& mask,
                                                      const std::string& mac) {
    if (m_fileName.empty())
        return;
    const std::string networkId = NetworkIdText(address, mask);
    AddCommentBlock(Format(kAddingClient, clientName.c_str(), address.c_str(),
                           static_cast<unsigned long>(AddressNumber(address)), networkId.c_str(),
                           mac.c_str()));
    DT_TRACE(kTraceDetail, kClientTrace, clientName.c_str(), networkId.c_str(), address.c_str(),
             mask.c_str(), mac.c_str());
    AddCommandToBatchFile(Format(kAddReservation, m_server.c_str(), networkId.c_str(),
                                 address.c_str(), WithoutDashes(mac).c_str(), clientName.c_str()),
                          true);
}

void CNetshCommands::DeleteClientAddressFromDHCPScope(const std::string& clientName,
                                                      const std::string& address,
                                                      const std::string& mask,
                                                      const std::string& mac) {
    if (m_fileName.empty())
        return;
    const std::string networkId = NetworkIdText(address, mask);
    AddCommentBlock(Format(kDeletingClient, clientName.c_str(), address.c_str(),
                           static_cast<unsigned long>(AddressNumber(address)), networkId.c_str(),
                           mac.c_str()));
    DT_TRACE(kTraceDetail, kClientTrace, clientName.c_str(), networkId.c_str(), address.c_str(),
             mask.c_str(), mac.c_str());
    AddCommandToBatchFile(Format(kDeleteReservation, m_server.c_str(), networkId.c_str(),
                                 address.c_str(), WithoutDashes(mac).c_str()),
                          true);
}
