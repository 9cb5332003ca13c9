#include "ui/FileNameInput.h"

#include <commdlg.h>

#include <cstring>
#include <iterator>

#include "diagtools/AnsiText.h"
#include "diagtools/DiagTraceInfo.h"
#include "diagtools/ModulePath.h"
#include "diagtools/RuntimeLibrary.h"
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

using FileDialogFn = BOOL APIENTRY(OPENFILENAMEA* request);
enum DialogEntry { kSaveDialog, kOpenDialog };
constexpr const char* kDialogEntries[] = {"GetSaveFileNameA", "GetOpenFileNameA"};

/// The standard dialog; false when the user leaves it or the system has none. Its library is loaded
/// with the first use: most runs show no dialog.
bool ShowFileDialog(DialogEntry dialog, OPENFILENAMEA& request) {
    static DiagTools::CRuntimeLibrary<2> library("comdlg32.dll", LOAD_LIBRARY_SEARCH_SYSTEM32,
                                                 kDialogEntries);
    const DWORD error = library.Load();
    if (error != ERROR_SUCCESS) {
        DT_TRACE(DiagTools::kTraceError, "Unable to load the file dialog, error [%lu]", error);
        return false;
    }
    return library.Entry<FileDialogFn>(dialog)(&request) != FALSE;
}

/// Brings the current folder back at the end: the standard dialog moves it, and a relative name of
/// the log file is opened anew for each message.
class CCurrentFolder {
public:
    CCurrentFolder() : m_path(::GetCurrentDirectoryW(0, nullptr), L'\0') {
        ::GetCurrentDirectoryW(static_cast<DWORD>(m_path.size()), &m_path[0]);
    }
    ~CCurrentFolder() {
        if (!::SetCurrentDirectoryW(m_path.c_str()))
            DT_TRACE(DiagTools::kTraceError, "Unable to return to the folder [%ls], error [%lu]",
                     m_path.c_str(), ::GetLastError());
    }
    CCurrentFolder(const CCurrentFolder&) = delete;
    CCurrentFolder& operator=(const CCurrentFolder&) = delete;

private:
    std::wstring m_path;
};

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
    const CCurrentFolder before;
    if (!ShowFileDialog(m_outputMode ? kSaveDialog : kOpenDialog, request))
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
