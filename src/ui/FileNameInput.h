#pragma once

#include <string>

#include "ui/ModalDialog.h"

/// Asks for the CSV file of a command that was given none. One object serves one prompt.
class CFileNameInput : public CModalDialog {
public:
    /// Proposes "DHCPInfo.csv" in the program's folder, as an output file.
    CFileNameInput();

    /// Proposes this name in the program's folder; the proposal stays as it was when the program's
    /// path can't be had.
    void SetDefaultOutputFileName(const std::string& fileName);
    /// True: "File ..." asks where to save. False: it asks what to open.
    void SetOutputMode(bool outputMode) { m_outputMode = outputMode; }
    /// The user's choice, to be used only after DoModal gave IDOK.
    const std::string& GetFileName() const { return m_fileName; }

protected:
    MessageMap GetMessageMap() const override;

private:
    void OnInitDialog();
    void OnClickedFile();
    void OnClickedOK();
    void OnClickedCancel();

    bool m_outputMode = true;
    HWND m_okButton = nullptr;
    std::string m_fileName;  // ANSI code page
    HWND m_fileNameEdit = nullptr;
};
