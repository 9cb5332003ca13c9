#pragma once

#include <windows.h>

#include <exception>
#include <string>

/// Modal dialog for the CSV file name that a command line lacks. One object shows one dialog.
class CFileNameInput {
public:
    /// Proposes "DHCPInfo.csv" in the program's folder, as an output file.
    CFileNameInput();
    virtual ~CFileNameInput() = default;
    CFileNameInput(const CFileNameInput&) = delete;
    CFileNameInput& operator=(const CFileNameInput&) = delete;

    /// Proposes this name in the program's folder. Does nothing if that folder can't be found.
    void SetDefaultOutputFileName(const std::string& fileName);
    /// True: "File ..." opens a save dialog. False: an open dialog.
    void SetOutputMode(bool outputMode) { m_outputMode = outputMode; }
    /// Returns IDOK, IDCANCEL, or -1 if the dialog can't be shown (no display, for example).
    /// Rethrows the exception of a handler. owner may be null.
    INT_PTR DoModal(HWND owner);
    /// The user's choice; valid only after DoModal returned IDOK.
    const std::string& GetFileName() const { return m_fileName; }

private:
    static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool OnMessage(UINT message, WPARAM wParam);
    void OnInitDialog();
    void OnClickedFile();
    void OnClickedOK();
    /// Returns the whole text of the edit control, whatever its length.
    std::string EditedText() const;

    bool m_outputMode = true;
    HWND m_okButton = nullptr;
    std::string m_fileName;  // ANSI code page
    HWND m_fileNameEdit = nullptr;
    HWND m_window = nullptr;  // valid from WM_INITDIALOG on
    std::exception_ptr m_thrown;
};
