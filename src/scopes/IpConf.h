#pragma once

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

using AdapterList = std::vector<Adapter>;

/// Asks the system for its network adapters, in its order. False if the IP Helper library or its
/// answer is missing. A machine without adapters gives an empty list.
bool GetAdapters(AdapterList& adapters);
