#pragma once

#include <set>

#include "clients/MACAddress.h"
#include "driver/output/OutputMsg.h"
#include "store/StorageAccess.h"

/// Gives every client in the store a MAC in the gateway's vendor block. A stored MAC that is
/// already in the block stays, and a new MAC may equal it. A client that fails is traced; the
/// others are still processed.
class CMACUpdateImpl : public CStorageAccess {
public:
    explicit CMACUpdateImpl(const Output& output);
    virtual ~CMACUpdateImpl() = default;

    /// Processes every client. If the store can't be opened, only traces that.
    void DoMACUpdate();
    /// Checks one client and rewrites its MAC if needed; the store must be open. Shows the new MAC
    /// before writing it. A MAC whose write fails still counts as used.
    HRESULT UpdateMACForClient(BSTR clientID);
    /// Draws random tails until this run has not used the MAC yet, then marks the MAC as used.
    /// Returns true if the original MAC was free.
    bool MakeUnique(CMACAddress& mac);

private:
    std::set<CMACAddress> m_usedMACs;
    Output m_output;
};
