#pragma once

#include <set>

#include "clients/MACAddress.h"
#include "driver/output/OutputMsg.h"
#include "store/StorageAccess.h"

/// Moves the MAC of every client in the store into the gateway's vendor block.
///
/// Addresses that are in the block already stay as they are stored and are not compared with the
/// rewritten ones. Failures of one client are traced; the others are still processed.
class CMACUpdateImpl : public CStorageAccess {
public:
    explicit CMACUpdateImpl(const Output& output);
    virtual ~CMACUpdateImpl() = default;

    /// The whole run. A store that can't be opened is traced and ends it.
    void DoMACUpdate();
    /// Checks one client and rewrites its MAC when needed; the store must be open. The user is told
    /// before the write, and an address whose write failed counts as given out.
    HRESULT UpdateMACForClient(BSTR clientID);
    /// Replaces the tail at random until the run has not given out the address yet, and records it;
    /// true when it could stay as it was.
    bool MakeUnique(CMACAddress& mac);

private:
    std::set<CMACAddress> m_usedMACs;
    Output m_output;
};
