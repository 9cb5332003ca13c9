#include "ui/FileNameInput.h"

#include <commdlg.h>

#include <cstring>
#include <iterator>

#include "diagtools/AnsiText.h"
#include "diagtools/DiagTraceInfo.h"
#include "diagtools/ModulePath.h"
#include "ui/ResourceIds.h"

namespace {

constexpr char kTraceFile[] = "FileNameInput";

constexpr char kDefaultFileName[] = "DHCPInfo.csv";
constexpr char kOutputTitle[] = "DHCP output file";
constexpr char kInputTitle[] = "DHCP input file";
constexpr char kFilters[] =  // pairs of text and pattern; the literal's own NUL ends the list
    "CSV Files (*.csv)\0*.csv\0"
    "Text Files (*.txt)\0*.txt\0"
    "All Files (*.*)\0*.*\0";
// Kept as released: not the bare extension that the system's documentation asks for.
constexpr char kDefaultExtension[] = "*.csv";
constexpr DWORD kFileBufferBytes = 256;

}  // namespace

CFileNameInput::CFileNameInput() : CModalDialog(IDD_FILE_NAME_INPUT) {
    SetDefaultOutputFileName(kDefaultFileName);
}

void CFileNameInput::SetDefaultOutputFileName(const std::string& fileName) {
    DiagTools::ModulePath program;
    if (DiagTools::GetModulePath(nullptr, program))
        m_fileName = program.folder + "\\" + fileName;
    DT_TRACE(DiagTools::kTraceDefault, "Default output file [%s]", m_fileName.c_str());
}

CModalDialog::MessageMap CFileNameInput::GetMessageMap() const {
    static constexpr MessageMapEntry kEntries[] = {
        {WM_INITDIALOG, 0, 0, DIALOG_HANDLER(CFileNameInput::OnInitDialog)},
        {WM_COMMAND, IDC_BROWSE, BN_CLICKED, DIALOG_HANDLER(CFileNameInput::OnClickedFile)},
        {WM_COMMAND, IDOK, BN_CLICKED, DIALOG_HANDLER(CFileNameInput::OnClickedOK)},
        // Escape and the close box arrive as this, too.
        {WM_COMMAND, IDCANCEL, BN_CLICKED, DIALOG_HANDLER(CFileNameInput::OnClickedCancel)},
    };
    return {std::begin(kEntries), std::end(kEntries)};
}

void CFileNameInput::OnInitDialog() {
    m_fileNameEdit = ::GetDlgItem(Window(), IDC_FILE_NAME);
    if (::SetDlgItemTextA(Window(), IDC_FILE_NAME, m_fileName.c_str())) {
        m_okButton = ::GetDlgItem(Window(), IDOK);
    } else {
        ::MessageBeep(static_cast<UINT>(-1));
        ::SetFocus(m_fileNameEdit);
    }
}

void CFileNameInput::OnClickedFile() {
    // What was typed is what gets proposed.
    m_fileName = GetControlText(IDC_FILE_NAME);
    if (m_fileName.empty())
        SetDefaultOutputFileName(kDefaultFileName);
    char buffer[kFileBufferBytes] = "";
    std::memcpy(buffer, m_fileName.c_str(),
                DiagTools::WholeCharacters(m_fileName.c_str(), sizeof(buffer) - 1));

    OPENFILENAMEA request{};
    request.lStructSize = sizeof(request);
    request.hwndOwner = Window();
    request.hInstance = ::GetModuleHandleA(nullptr);
    request.lpstrFilter = kFilters;
    request.nFilterIndex = 1;
    request.lpstrFile = buffer;
    request.nMaxFile = sizeof(buffer);
    request.lpstrInitialDir = ".";
    request.lpstrTitle = m_outputMode ? kOutputTitle : kInputTitle;
    request.lpstrDefExt = kDefaultExtension;
    const BOOL chosen = m_outputMode ? ::GetSaveFileNameA(&request) : ::GetOpenFileNameA(&request);
    if (!chosen)
        return;
    m_fileName = buffer;
    ::SetWindowTextA(m_fileNameEdit, m_fileName.c_str());
}

void CFileNameInput::OnClickedOK() {
    m_fileName = GetControlText(IDC_FILE_NAME);
    DT_TRACE(DiagTools::kTraceDefault, "Default output file [%s]", m_fileName.c_str());
    EndDialog(IDOK);
}

void CFileNameInput::OnClickedCancel() {
    EndDialog(IDCANCEL);
}
