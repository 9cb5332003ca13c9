#include "ui/FileNameInput.h"

#include <commdlg.h>

#include <cstring>

#include "diagtools/DiagTraceInfo.h"
#include "ui/ResourceIds.h"
#include "win/AnsiPath.h"
#include "win/RuntimeLibrary.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "FileNameInput";

constexpr char kDefaultFileName[] = "DHCPInfo.csv";
constexpr char kOutputTitle[] = "DHCP output file";
constexpr char kInputTitle[] = "DHCP input file";
constexpr char kFilters[] =  // pairs of text and pattern; the literal's own NUL ends the list
    "CSV Files (*.csv)\0*.csv\0"
    "Text Files (*.txt)\0*.txt\0"
    "All Files (*.*)\0*.*\0";
// Kept for compatibility: Windows documents the bare extension ("csv") here.
constexpr char kDefaultExtension[] = "*.csv";
constexpr DWORD kFileBufferBytes = 256;

class CCommonDialogs : public CRuntimeLibrary {
public:
    CCommonDialogs() : CRuntimeLibrary("comdlg32.dll", LOAD_LIBRARY_SEARCH_SYSTEM32) {}

    CEntry<BOOL(OPENFILENAMEA* request)> GetSaveFileName{*this, "GetSaveFileNameA"};
    CEntry<BOOL(OPENFILENAMEA* request)> GetOpenFileName{*this, "GetOpenFileNameA"};
};

/// Shows the standard dialog; returns false if the user cancels it or it can't be loaded.
bool ShowFileDialog(bool save, OPENFILENAMEA& request) {
    static CCommonDialogs dialogs;
    const DWORD error = dialogs.Load();
    if (error != ERROR_SUCCESS)
        DT_TRACE(kTraceError, "Unable to load the file dialog, error [%lu]", error);
    return (save ? dialogs.GetSaveFileName(&request) : dialogs.GetOpenFileName(&request)) != FALSE;
}

/// Restores the current folder, which the standard dialog changes: a relative log file name is
/// resolved again for each message.
class CCurrentFolder {
public:
    CCurrentFolder() : m_path(::GetCurrentDirectoryW(0, nullptr), L'\0') {
        ::GetCurrentDirectoryW(static_cast<DWORD>(m_path.size()), m_path.data());
        m_tracedPath = NarrowText(m_path.c_str());
    }
    ~CCurrentFolder() {
        if (::SetCurrentDirectoryW(m_path.c_str()))
            return;
        const DWORD error = ::GetLastError();
        DT_TRACE(kTraceError, "Unable to return to the folder [%s], error [%lu]",
                 m_tracedPath.c_str(), error);
    }
    CCurrentFolder(const CCurrentFolder&) = delete;
    CCurrentFolder& operator=(const CCurrentFolder&) = delete;

private:
    std::wstring m_path;
    std::string m_tracedPath;
};

}  // namespace

CFileNameInput::CFileNameInput() {
    SetDefaultOutputFileName(kDefaultFileName);
}

void CFileNameInput::SetDefaultOutputFileName(const std::string& fileName) {
    ModulePath program;
    if (GetModulePath(nullptr, program))
        m_fileName = program.folder + "\\" + fileName;
    DT_TRACE(kTraceDefault, "Default output file [%s]", m_fileName.c_str());
}

INT_PTR CFileNameInput::DoModal(HWND owner) {
    const INT_PTR result =
        ::DialogBoxParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDD_FILE_NAME_INPUT), owner,
                          &CFileNameInput::DialogProc, reinterpret_cast<LPARAM>(this));
    if (m_thrown)
        std::rethrow_exception(m_thrown);
    return result;
}

INT_PTR CALLBACK CFileNameInput::DialogProc(HWND window, UINT message, WPARAM wParam,
                                            LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        ::SetWindowLongPtrA(window, DWLP_USER, lParam);
        reinterpret_cast<CFileNameInput*>(lParam)->m_window = window;
    }
    // Windows handles the messages before WM_INITDIALOG.
    auto* const dialog = reinterpret_cast<CFileNameInput*>(::GetWindowLongPtrA(window, DWLP_USER));
    if (!dialog)
        return FALSE;
    // Windows calls this: exceptions must not cross its frames.
    try {
        return dialog->OnMessage(message, wParam) ? TRUE : FALSE;
    } catch (...) {
        dialog->m_thrown = std::current_exception();
        ::EndDialog(window, -1);
        return TRUE;
    }
}

bool CFileNameInput::OnMessage(UINT message, WPARAM wParam) {
    const bool clicked = message == WM_COMMAND && HIWORD(wParam) == BN_CLICKED;
    if (message == WM_INITDIALOG)
        OnInitDialog();
    else if (clicked && LOWORD(wParam) == IDC_BROWSE)
        OnClickedFile();
    else if (clicked && LOWORD(wParam) == IDOK)
        OnClickedOK();
    else if (clicked && LOWORD(wParam) == IDCANCEL)  // also for Escape and the close box
        ::EndDialog(m_window, IDCANCEL);
    else
        return false;
    return true;
}

void CFileNameInput::OnInitDialog() {
    m_fileNameEdit = ::GetDlgItem(m_window, IDC_FILE_NAME);
    if (::SetDlgItemTextA(m_window, IDC_FILE_NAME, m_fileName.c_str())) {
        m_okButton = ::GetDlgItem(m_window, IDOK);
    } else {
        ::MessageBeep(static_cast<UINT>(-1));
        ::SetFocus(m_fileNameEdit);
    }
}

void CFileNameInput::OnClickedFile() {
    // Propose the name that the user typed.
    m_fileName = EditedText();
    if (m_fileName.empty())
        SetDefaultOutputFileName(kDefaultFileName);
    char buffer[kFileBufferBytes] = "";
    std::memcpy(buffer, m_fileName.c_str(),
                WholeCharacters(m_fileName.c_str(), sizeof(buffer) - 1));

    OPENFILENAMEA request{};
    request.lStructSize = sizeof(request);
    request.hwndOwner = m_window;
    request.hInstance = ::GetModuleHandleA(nullptr);
    request.lpstrFilter = kFilters;
    request.nFilterIndex = 1;
    request.lpstrFile = buffer;
    request.nMaxFile = sizeof(buffer);
    request.lpstrInitialDir = ".";
    request.lpstrTitle = m_outputMode ? kOutputTitle : kInputTitle;
    request.lpstrDefExt = kDefaultExtension;
    const CCurrentFolder before;
    if (!ShowFileDialog(m_outputMode, request))
        return;
    m_fileName = buffer;
    ::SetWindowTextA(m_fileNameEdit, m_fileName.c_str());
}

void CFileNameInput::OnClickedOK() {
    m_fileName = EditedText();
    DT_TRACE(kTraceDefault, "Default output file [%s]", m_fileName.c_str());
    ::EndDialog(m_window, IDOK);
}

std::string CFileNameInput::EditedText() const {
    const int length = ::GetWindowTextLengthA(m_fileNameEdit);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    const int copied = ::GetWindowTextA(m_fileNameEdit, text.data(), length + 1);
    text.resize(static_cast<std::size_t>(copied));
    return text;
}
