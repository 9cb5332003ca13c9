#include "ui/ModalDialog.h"

#include <utility>

INT_PTR CModalDialog::DoModal(HWND owner) {
    const INT_PTR result =
        ::DialogBoxParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(m_templateId), owner,
                          &CModalDialog::DialogProc, reinterpret_cast<LPARAM>(this));
    m_window = nullptr;
    if (m_thrown)
        std::rethrow_exception(std::exchange(m_thrown, nullptr));
    return result;
}

INT_PTR CALLBACK CModalDialog::DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        ::SetWindowLongPtrA(window, DWLP_USER, lParam);
        reinterpret_cast<CModalDialog*>(lParam)->m_window = window;
    }
    // Messages that come before WM_INITDIALOG are the system's to handle.
    auto* const dialog = reinterpret_cast<CModalDialog*>(::GetWindowLongPtrA(window, DWLP_USER));
    return dialog && dialog->Dispatch(message, wParam) ? TRUE : FALSE;
}

bool CModalDialog::Dispatch(UINT message, WPARAM wParam) {
    const MessageMap map = GetMessageMap();
    for (const MessageMapEntry* entry = map.begin; entry != map.end; ++entry) {
        if (entry->message != message ||
            (message == WM_COMMAND &&
             (entry->controlId != LOWORD(wParam) || entry->notification != HIWORD(wParam))))
            continue;
        // The caller of this is the system, through whose frames nothing may be thrown.
        try {
            (this->*entry->handler)();
        } catch (...) {
            m_thrown = std::current_exception();
            EndDialog(-1);
        }
        return true;
    }
    return false;
}

std::string CModalDialog::GetControlText(int controlId) const {
    const HWND control = ::GetDlgItem(m_window, controlId);
    const int length = ::GetWindowTextLengthA(control);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    const int copied = ::GetWindowTextA(control, &text[0], length + 1);
    text.resize(static_cast<std::size_t>(copied));
    return text;
}
