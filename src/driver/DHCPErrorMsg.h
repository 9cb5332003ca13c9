#pragma once

#include <cstdint>
#include <string>

/// The sentence for an error code of the DHCP server's management API.
class CDHCPErrorMsg {
public:
    /// Any code: one that is not in the table has "Error code not found.".
    explicit CDHCPErrorMsg(std::uint32_t errorCode);
    virtual ~CDHCPErrorMsg() = default;

    std::string GetDescription() const { return m_description; }

private:
    std::string m_description;
};
