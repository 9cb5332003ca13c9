#include "driver/DHCPErrorMsg.h"

#include <iterator>

namespace {

struct ErrorText {
    std::uint32_t code;
    const char* text;
};

constexpr std::uint32_t kTerminator = 0xFFFFFFFF;

// Codes ERROR_DHCP_... in ascending order. Kept for compatibility: scripts match these texts to the
// byte, with the blank at the end of 20026 and the colon at the end of 20028.
// clang-format off
constexpr ErrorText kErrorTexts[] = {
    {20000, "The DHCP server registry initialization parameters are incorrect."},
    {20001, "The DHCP server was unable to open the database of DHCP clients."},
    {20002, "The DHCP server was unable to start as a Remote Procedure Call (RPC) server."},
    {20003, "The DHCP server was unable to establish a socket connection."},
    {20004, "The specified subnet already exists on the DHCP server."},
    {20005, "The specified subnet does not exist on the DHCP server."},
    {20006, "The primary host information for the specified subnet was not found on the DHCP server."},
    {20007, "The specified DHCP element has been used by a client and cannot be removed."},
    {20009, "The specified option already exists on the DHCP server."},
    {20010, "The specified option does not exist on the DHCP server."},
    {20011, "The specified IP address is not available."},
    {20012, "The specified IP address range has all of its member addresses leased."},
    {20013, "An error occurred while accessing the DHCP JET database. For more information about this error, please look at the DHCP server event log."},
    {20014, "The specified client already exists in the database."},
    {20015, "The DHCP server received an invalid message."},
    {20016, "The DHCP server received an invalid message from the client."},
    {20017, "The DHCP server is currently paused."},
    {20018, "The specified DHCP client is not a reserved client."},
    {20019, "The specified DHCP client is a reserved client."},
    {20020, "The specified IP address range is too small."},
    {20021, "The specified IP address range is already defined on the DHCP server."},
    {20022, "The specified IP address is currently taken by another client."},
    {20023, "The specified IP address range either overlaps with an existing range or is invalid."},
    {20024, "The specified IP address range is an extension of an existing range."},
    {20025, "The specified IP address range extension is too small. The number of addresses in the extension must be a multiple of 32."},
    {20026, "An attempt was made to extend the IP address range to a value less than the specified backward extension. The number of addresses in the extension must be a multiple of 32. "},
    {20027, "The DHCP database needs to be upgraded to a newer format. For more information, refer to the DHCP server event log."},
    {20028, "The format of the bootstrap protocol file table is incorrect. The correct format is:"},
    {20029, "A boot file name specified in the bootstrap protocol file table is unrecognized or invalid."},
    {20030, "The specified superscope name is too long."},
    {20032, "The specified IP address is already in use."},
    {20033, "The specified path to the DHCP audit log file is too long."},
    {20034, "The DHCP server received a request for a valid IP address not administered by the server."},
    {20035, "The DHCP server failed to receive a notification when the interface list changed, therefore some of the interfaces will not be enabled on the server."},
    {20036, "The DHCP database needs to be upgraded to a newer format (JET97). For more information, refer to the DHCP server event log."},
    {20037, "The DHCP server cannot determine if it has the authority to run, and is not servicing clients on the network. This rogue status may be due to network problems or insufficient server resources."},
    {20038, "The DHCP service is shutting down because another DHCP server is active on the network."},
    {20039, "The DHCP server does not have the authority to run, and is not servicing clients on the network."},
    {20040, "The DHCP server is unable to contact the directory service for this domain. The DHCP server will continue to attempt to contact the directory service. During this time, no clients on the network will be serviced."},
    {20041, "The DHCP server's authorization information conflicts with that of another DHCP server on the network."},
    {20042, "The DHCP server is ignoring a request from another DHCP server because the second server is a member of a different directory service enterprise."},
    {20043, "The DHCP server has detected a directory service environment on the network. If there is a directory service on the network, the DHCP server can only run if it is a part of the directory service. Since the server ostensibly belongs to a workgroup, it is terminating."},
    {20044, "The specified DHCP class name is unknown or invalid."},
    {20045, "The specified DHCP class name (or information) is already in use."},
    {20046, "The specified DHCP scope name is too long; the scope name must not exceed 256 characters."},
    {20047, "The default scope is already configured on the server."},
    {20048, "The Dynamic BOOTP attribute cannot be turned on or off."},
    {20049, "Conversion of a scope to a DHCP Only scope or to a BOOTP Only scope is not allowed when the scope contains other DHCP and BOOTP clients. Either the DHCP or BOOTP clients should be specifically deleted before converting the scope to the other type."},
    {20050, "The network has changed. Retry this operation after checking for network changes. Network changes may be caused by interfaces that are new or invalid, or by IP addresses that are new or invalid."},
    {20051, "The bindings to internal IP addresses cannot be modified."},
    {20052, "The DHCP scope parameters are incorrect. Either the scope already exists, or its properties are inconsistent with the subnet address and mask of an existing scope."},
    {20053, "The DHCP multicast scope parameters are incorrect. Either the scope already exists, or its properties are inconsistent with the subnet address and mask of an existing scope."},
    {20054, "The multicast scope range must have at least 256 IP addresses."},
    {20070, "The DHCP server could not contact Active Directory."},
    {20071, "The DHCP service root could not be found in Active Directory."},
    {20072, "An unexpected error occurred while accessing Active Directory."},
    {20073, "There were too many errors to proceed."},
    {20074, "A DHCP service could not be found."},
    {20075, "The specified DHCP options are already present in Active Directory."},
    {20076, "The specified DHCP options are not present in Active Directory."},
    {20077, "The specified DHCP classes are already present in Active Directory."},
    {20078, "The specified DHCP classes are not present in Active Directory."},
    {20079, "The specified DHCP servers are already present in Active Directory."},
    {20080, "The specified DHCP servers are not present in Active Directory."},
    {20081, "The specified DHCP server address does not correspond to the identified DHCP server name."},
    {20082, "The specified subnets are already present in Active Directory."},
    {20083, "The specified subnet belongs to a different superscope."},
    {20084, "The specified subnet is not present in Active Directory."},
    {20085, "The specified reservation is not present in Active Directory."},
    {20086, "The specified reservation conflicts with another reservation present in Active Directory."},
    {20087, "The specified IP address range conflicts with another IP range present in Active Directory."},
    {20088, "The specified IP address range is not present in Active Directory."},
    {20089, "This class cannot be deleted."},
    {20091, "The given subnet prefix is invalid. It represents either a non-unicast or link local address range."},
    {20092, "The given delay value is invalid. The valid value is from 0 to 1000."},
    {20093, "Address or Address pattern is already contained in one of the list."},
    {20094, "Address to be added to Deny list or to be deleted from allow list, has an associated reservation."},
    {20095, "Address or Address pattern is not contained in either list."},
    {20101, "This Hardware Type is already exempt."},
    {20102, "You are trying to delete an undefined Hardware Type."},
    {20103, "Conflict in types for the same option on Host and Added DHCP Servers."},
    {20104, "The parent expression specified does not exist."},
    {20105, "The DHCP server policy already exists."},
    {20106, "The DHCP server policy range specified already exists in the given scope."},
    {20107, "The DHCP server policy range specified is invalid or does not match the given subnet."},
    {20108, "DHCP server policy ranges can only be added to scope level policies."},
    {20109, "The DHCP server policy contains an invalid expression."},
    {20110, "The processing order specified for the DHCP server policy is invalid."},
    {20111, "The DHCP server policy was not found."},
    {20112, "There is an IP address range configured for a policy in this scope. This operation on the scope IP address range cannot be performed until the policy IP address range is suitably modified. Please change the IP address range of the policy before performing this operation."},
    {20113, "The DHCP scope is already in a failover relationship."},
    {20114, "The DHCP failover relationship already exists."},
    {20115, "The DHCP failover relationship does not exist."},
    {20116, "The DHCP scope is not part of a failover relationship."},
    {20117, "The DHCP failover relationship is a secondary."},
    {20118, "The DHCP failover is not supported."},
    {20119, "The DHCP servers in the failover relationship have timed out of synchronization."},
    {20120, "The DHCP failover relationship state is not NORMAL."},
    {20121, "The user does not have administrative permissions for the DHCP server."},
    {20122, "The specified DHCP server is not reachable. Please provide a DHCP server that is reachable."},
    {20123, "The DHCP Server Service is not running on the specified server. Please ensure that the DHCP Server service is running on the specified computer."},
    {20124, "Unable to resolve DNS name."},
    {20125, "The specified DHCP failover relationship name is too long. The name is limited to a maximum of 126 characters."},
    {20126, "The specified DHCP Server has reached the end of the selected range while finding the free IP address."},
    {20127, "The synchronization of leases in the scopes being added to the failover relationship failed."},
    {20128, "The relationship cannot be created on the DHCP server as the maximum number of allowed relationship has been exceeded."},
    {20129, "A Scope configured for failover cannot be changed to type BOOTP or BOTH."},
    {20130, "The number of scopes being added to the failover relationship exceeds the max number of scopes which can be added to a failover relationship at one time."},
    {20131, "A scope supporting BOOTP clients cannot be added to a failover relationship."},
    {20132, "An IP address range of a scope which is part of a failover relationship cannot be deleted. The scope will need to be removed from the failover relationship before deleting the range."},
    {kTerminator, "Error code not found."},
};
// clang-format on
static_assert(std::size(kErrorTexts) == 111, "110 codes and the terminator");

}  // namespace

CDHCPErrorMsg::CDHCPErrorMsg(std::uint32_t errorCode) {
    const ErrorText* entry = kErrorTexts;
    while (entry->code != kTerminator && entry->code != errorCode)
        ++entry;
    m_description = entry->text;
}
