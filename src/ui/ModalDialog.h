#pragma once

#include <windows.h>

#include <exception>
#include <string>

/// A modal dialog over a template resource of the program. The derived class lists what it handles
/// in a message map.
class CModalDialog {
public:
    explicit CModalDialog(WORD templateId) : m_templateId(templateId) {}
    virtual ~CModalDialog() = default;
    CModalDialog(const CModalDialog&) = delete;
    CModalDialog& operator=(const CModalDialog&) = delete;

    /// What a handler gave EndDialog; -1 when the dialog can't be shown, as without a display.
    /// Passes on what a handler threw. owner: null for none.
    INT_PTR DoModal(HWND owner);

protected:
    using Handler = void (CModalDialog::*)();
    struct MessageMapEntry {
        UINT message;
        WORD controlId;     // for WM_COMMAND only
        WORD notification;  // for WM_COMMAND only
        Handler handler;
    };
    struct MessageMap {
        const MessageMapEntry* begin;
        const MessageMapEntry* end;
    };

    virtual MessageMap GetMessageMap() const = 0;

    /// Valid from WM_INITDIALOG on.
    HWND Window() const { return m_window; }
    void EndDialog(INT_PTR result) { ::EndDialog(m_window, result); }
    /// The whole text of a control, whatever its length.
    std::string GetControlText(int controlId) const;

private:
    static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool Dispatch(UINT message, WPARAM wParam);

    WORD m_templateId;
    HWND m_window = nullptr;
    std::exception_ptr m_thrown;
};

/// An entry's handler, as the map keeps it.
#define DIALOG_HANDLER(method) static_cast<Handler>(&method)
