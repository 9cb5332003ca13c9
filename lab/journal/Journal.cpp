#include "lab/journal/Journal.h"

#include "lab/journal/Environment.h"

namespace lab {
namespace {

const AppendFile& JournalFile() {
    static const AppendFile file(EnvironmentText(L"DHCPLAB_JOURNAL"));
    return file;
}

}  // namespace

// With append access only, Windows writes at the end of the file, whatever others wrote before.
AppendFile::AppendFile(const std::wstring& path)
    : m_file(path.empty()
                 ? nullptr
                 : OpenFile(path, FILE_APPEND_DATA,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_ALWAYS)) {}

void AppendFile::AppendLine(std::string_view line) const {
    if (m_file)
        WriteText(m_file, std::string(line) + '\n');
}

void Journal(std::string_view line) {
    JournalFile().AppendLine(line);
}

void JournalMisuse(std::string_view what) {
    JournalFile().AppendLine("MISUSE " + std::string(what));
}

}  // namespace lab
