#include "win/RegistryText.h"

bool IsTerminatedText(DWORD type, const char* data, DWORD bytes) {
    switch (type) {
        case REG_SZ:
        case REG_EXPAND_SZ:
            return bytes >= 1 && data[bytes - 1] == '\0';
        case REG_MULTI_SZ:
            return bytes >= 2 && data[bytes - 1] == '\0' && data[bytes - 2] == '\0';
        default:
            return false;
    }
}
