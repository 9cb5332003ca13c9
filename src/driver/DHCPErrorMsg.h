#pragma once

#include <cstdint>
#include <string>

/// The description of an error code of the DHCP Server Management API.
class CDHCPErrorMsg {
public:
    /// Accepts any code; an unknown one has the description "Error code not found.".
    explicit CDHCPErrorMsg(std::uint32_t errorCode);
    virtual ~CDHCPErrorMsg() = default;

    std::string GetDescription() const { return m_description; }

private:
    std::string m_description;
};
