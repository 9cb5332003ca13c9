#pragma once

#include <windows.h>

#include <exception>
#include <string>

/// The modal dialog that asks for the CSV file of a command that was given none. One object serves
/// one prompt.
class CFileNameInput {
public:
    /// Proposes "DHCPInfo.csv" in the program's folder, as an output file.
    CFileNameInput();
    virtual ~CFileNameInput() = default;
    CFileNameInput(const CFileNameInput&) = delete;
    CFileNameInput& operator=(const CFileNameInput&) = delete;

    /// Proposes this name in the program's folder. The proposal stays as it was if the system does
    /// not give the program's path.
    void SetDefaultOutputFileName(const std::string& fileName);
    /// True: "File ..." asks where to save. False: it asks what to open.
    void SetOutputMode(bool outputMode) { m_outputMode = outputMode; }
    /// Returns IDOK or IDCANCEL; -1 if the dialog can't be shown, as without a display. Throws what
    /// a handler threw. owner: null for none.
    INT_PTR DoModal(HWND owner);
    /// The user's choice; valid only after DoModal returned IDOK.
    const std::string& GetFileName() const { return m_fileName; }

private:
    static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool OnMessage(UINT message, WPARAM wParam);
    void OnInitDialog();
    void OnClickedFile();
    void OnClickedOK();
    /// The whole text of the edit control, whatever its length.
    std::string EditedText() const;

    bool m_outputMode = true;
    HWND m_okButton = nullptr;
    std::string m_fileName;  // ANSI code page
    HWND m_fileNameEdit = nullptr;
    HWND m_window = nullptr;  // valid from WM_INITDIALOG on
    std::exception_ptr m_thrown;
};
