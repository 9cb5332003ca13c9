#include "clients/MACUpdateImpl.h"

#include "diagtools/HResultCheck.h"

namespace {

constexpr char kTraceFile[] = "MACUpdateImpl";

constexpr char kCheckingMac[] = "Client [%s] checking MAC [%s] -> ";     // name, MAC as stored
constexpr char kPrefixInvalid[] = "Prefix invalid : changed to [%s]\n";  // new MAC
constexpr char kDuplicated[] = "Duplicated : changed to [%s]\n";         // new MAC

}  // namespace

CMACUpdateImpl::CMACUpdateImpl(const Output& output) : m_output(output) {}

void CMACUpdateImpl::DoMACUpdate() {
    m_usedMACs.clear();
    LOG_IF_FAILED(Initialize());
    DT_TRACE(kTraceDetail, "Retrieving client list");
    if (CComVariant clientList; ListSection(clientsEntry, clientList)) {
        DT_TRACE(kTraceDetail, "Clients list retrieved successfully");
        for (const VARIANT& clientId : ArrayView(clientList)) {
            if (clientId.vt != VT_BSTR)
                continue;
            try {
                LOG_IF_FAILED(UpdateMACForClient(clientId.bstrVal));
            }
            CATCH_RECORD()
        }
    }
    LOG_IF_FAILED(Uninitialize());
}

HRESULT CMACUpdateImpl::UpdateMACForClient(BSTR clientID) {
    CComVariant clientName;
    RETURN_IF_FAILED(m_storageAccess->get_Value(E_ZAKSTORAGE_PUBLIC, 0, clientsEntry, clientID,
                                                clientNameEntry, &clientName));
    RETURN_IF_FAILED(clientName.ChangeType(VT_BSTR));
    CComVariant macAddress;
    RETURN_IF_FAILED(m_storageAccess->get_Value(E_ZAKSTORAGE_PUBLIC, 0, clientsEntry, clientID,
                                                MACEntry, &macAddress));
    RETURN_IF_FAILED(macAddress.ChangeType(VT_BSTR));

    const std::string storedMac = macAddress.Narrow();
    CMACAddress clientMacAddress;
    clientMacAddress.FromString(storedMac);
    const bool valid = clientMacAddress.IsPrefixValid();
    if (valid && !IsDetailWanted(m_output))
        return S_OK;
    const std::string checking =
        Format(kCheckingMac, clientName.Narrow().c_str(), storedMac.c_str());
    if (valid) {
        DisplayThrough(m_output, checking + kRecordDone, true);
        return S_OK;
    }
    clientMacAddress.SetPrefix(0x00, 0x04, 0x70);
    const bool kept = MakeUnique(clientMacAddress);
    const std::string changed = clientMacAddress.ToString();
    DisplayThrough(m_output,
                   checking + (kept ? Format(kPrefixInvalid, changed.c_str())
                                    : Format(kDuplicated, changed.c_str())),
                   false);
    RETURN_IF_FAILED(m_storageAccess->put_Value(E_ZAKSTORAGE_PUBLIC, 0, clientsEntry, clientID,
                                                MACEntry,
                                                CComVariant(clientMacAddress.ToString().c_str())));
    return S_OK;
}

bool CMACUpdateImpl::MakeUnique(CMACAddress& mac) {
    bool kept = true;
    while (!m_usedMACs.insert(mac).second) {
        kept = false;
        mac.GenerateRandom(0x00, 0x04, 0x70);
    }
    return kept;
}
