#pragma once

#include <memory>
#include <string>
#include <vector>

/// An address of an adapter with its mask, both dotted text.
struct AdapterAddress {
    std::string address;
    std::string mask;
};

struct Adapter {
    std::string displayName;  // the description, or the adapter's name where there is none
    std::vector<AdapterAddress> addresses;
};

/// A snapshot of the machine's network adapters, in the system's order.
class CIpConf {
public:
    /// Asks the system anew. Null when the IP Helper library or its answer can't be had. A machine
    /// without adapters gives an empty snapshot.
    static std::unique_ptr<CIpConf> Take();

    const std::vector<Adapter>& Adapters() const { return m_adapters; }

private:
    CIpConf() = default;

    std::vector<Adapter> m_adapters;
};
