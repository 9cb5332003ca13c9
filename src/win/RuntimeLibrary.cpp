#include "win/RuntimeLibrary.h"

DWORD CRuntimeLibrary::Load() {
    if (m_tried)
        return m_error;
    m_tried = true;
    m_module = ::LoadLibraryExA(m_fileName, nullptr, m_flags);
    if (!m_module)
        return m_error = ::GetLastError();
    for (CLibraryEntry* entry = m_firstEntry; entry; entry = entry->m_next) {
        entry->m_address = ::GetProcAddress(m_module, entry->m_name);
        if (!entry->m_address) {
            m_error = ::GetLastError();
            m_missingEntry = entry->m_name;
            break;
        }
    }
    return m_error;
}

void CRuntimeLibrary::Unload() {
    if (m_module)
        ::FreeLibrary(m_module);
    m_module = nullptr;
}
