#include "driver/DHCPCommandParser.h"

#include <windows.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem.hpp>
#include <boost/make_shared.hpp>
#include <cstdio>

#include "clients/DHCPClientInfoImpl.h"
#include "clients/MACUpdateImpl.h"
#include "dhcpserver/Lease.h"
#include "diagtools/DiagTraceInfo.h"
#include "diagtools/EventLogWriter.h"
#include "diagtools/ModuleStatistics.h"
#include "driver/CommandLineOptions.h"
#include "driver/DHCPErrorMsg.h"
#include "driver/DriverTexts.h"
#include "driver/FormatText.h"
#include "driver/OutputMsg.h"
#include "netsh/NetshCommands.h"
#include "scopes/DHCPSegmentInfoImpl.h"
#include "ui/FileNameInput.h"

namespace po = boost::program_options;

namespace {

constexpr char kTraceFile[] = "DHCPCommandParser";

const std::string missingServerMessage =
    std::string(kMissingServerBefore) + kOptionDhcpServerIp + kMissingServerAfter;

/// Deletes a temporary file at the end of the work on it, also when that throws.
class TempFile {
public:
    explicit TempFile(const std::string& name) : m_name(name) {}
    ~TempFile() { ::DeleteFileA(m_name.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
};

/// Tells the event log, at the end of a command, that it changed something or failed: on a gateway
/// that is where an administrator finds later what an installer ran.
class CommandSummary {
public:
    CommandSummary(const char* command, bool changes, bool refused)
        : m_command(command), m_changes(changes), m_refused(refused) {}
    ~CommandSummary() {
        const unsigned long errors = DiagTools::CModuleStatistics::ErrorLines() - m_errorsBefore;
        if (!m_changes && errors == 0)
            return;
        char text[256];
        if (m_refused)
            std::snprintf(text, sizeof(text), "Command [%s] not executed: no DHCP server address.",
                          m_command);
        else
            std::snprintf(text, sizeof(text), "Command [%s] executed, error lines traced [%lu].",
                          m_command, errors);
        DiagTools::CEventLogWriter::Report(
            m_refused || errors != 0 ? EVENTLOG_WARNING_TYPE : EVENTLOG_INFORMATION_TYPE,
            kCommandEventId, text);
    }
    CommandSummary(const CommandSummary&) = delete;
    CommandSummary& operator=(const CommandSummary&) = delete;

private:
    static constexpr DWORD kCommandEventId = 1;

    const char* m_command;  // the option's name
    bool m_changes;
    bool m_refused;
    std::uint32_t m_errorsBefore = DiagTools::CModuleStatistics::ErrorLines();
};

}  // namespace

CDHCPCommandParser::CDHCPCommandParser()
    : m_leaseDuration(kDefaultLeaseSeconds), m_output(boost::make_shared<COutputMsg>()) {}

void CDHCPCommandParser::ExecuteCommands(int argc, const char* const* argv) {
    Description description("Allowed Options :", 80, 40);
    BuildOptionsDescription(description);
    Variables variables;
    if (!SetCommandLineOptions(argc, argv, description, variables) ||
        variables.count(kOptionHelp) != 0) {
        DisplayHelp(description);
    } else {
        ApplyGeneralOptions(variables);
        DispatchCommand(description, variables);
    }
    DT_TRACE(DiagTools::kTraceProgress, "Execute Command DONE");
}

bool CDHCPCommandParser::SetCommandLineOptions(int argc, const char* const* argv,
                                               const Description& description,
                                               Variables& variables) {
    try {
        po::store(ParseCommandLine(argc, argv, description), variables);
        po::notify(variables);
        return true;
    } catch (const std::exception& invalid) {
        DT_TRACE(DiagTools::kTraceError, "Invalid Option specified [%s]", invalid.what());
        return false;
    }
}

void CDHCPCommandParser::ApplyGeneralOptions(const Variables& variables) {
    if (variables.count(kOptionVerbose) != 0)
        m_output->SetVerbose(
            boost::algorithm::iequals(variables[kOptionVerbose].as<std::string>(), "on"));
    if (variables.count(kOptionOutputLogFile) != 0)
        m_output->SetOutputLogFile(variables[kOptionOutputLogFile].as<std::string>());
    if (variables.count(kOptionLeaseDuration) != 0)
        m_leaseDuration = variables[kOptionLeaseDuration].as<unsigned int>();
    if (variables.count(kOptionDhcpServerIp) != 0)
        m_dhcpServerIp = variables[kOptionDhcpServerIp].as<std::string>();
    if (variables.count(kOptionUseAdapter) != 0)
        m_useAdapterFlag = false;
    if (variables.count(kOptionWriteFile) != 0)
        m_batchFileName = variables[kOptionWriteFile].as<std::string>();
}

void CDHCPCommandParser::DispatchCommand(const Description& description,
                                         const Variables& variables) {
    using Parser = CDHCPCommandParser;
    using Value = po::variable_value;
    struct Command {
        const char* option;
        bool changes;      // the store, the server or a batch file
        bool needsServer;  // checked, and said to the user, by the command itself
        void (*run)(Parser&, const Value&);
    };
    // The first one present runs. The values of the commands without a file are not used.
    static constexpr Command kCommands[] = {
        {kOptionExportClients, false, false,
         [](Parser& parser, const Value& file) {
             parser.ExecuteExportClientsCommand(file.as<std::string>(), NetshWriter(), true);
         }},
        {kOptionExportScopes, false, false,
         [](Parser& parser, const Value& file) {
             parser.ExecuteExportScopesCommand(file.as<std::string>(), NetshWriter(), true);
         }},
        {kOptionUpdateMAC, true, false,
         [](Parser& parser, const Value&) { parser.ExecuteUpdateMACCommand(); }},
        {kOptionScopesIPInfo, true, false,
         [](Parser& parser, const Value&) { parser.ExecuteUpdateScopesIpInfo(); }},
        {kOptionErrorDesc, false, false,
         [](Parser& parser, const Value& code) {
             parser.ExecuteErrorDescriptionCommand(code.as<unsigned int>());
         }},
        {kOptionUpdateClients, true, true,
         [](Parser& parser, const Value& file) {
             parser.ExecuteUpdateClientsCommand(file.as<std::string>());
         }},
        {kOptionUpdateScopes, true, true,
         [](Parser& parser, const Value& file) {
             parser.ExecuteUpdateScopesCommand(file.as<std::string>());
         }},
        {kOptionGenerateBatch, true, true,
         [](Parser& parser, const Value& file) {
             parser.ExecuteGenerateBatchCommand(file.as<std::string>());
         }},
        {kOptionAutoUpdate, true, true,
         [](Parser& parser, const Value&) { parser.ExecuteSilentModeCommand(); }},
        {kOptionSetDhcpServerIp, true, true,
         [](Parser& parser, const Value&) { parser.ExecuteSetDHCPServerIpCommand(); }},
        {kOptionReservation, true, true,
         [](Parser& parser, const Value& scopeId) {
             parser.ExecuteReservationCommand(scopeId.as<std::string>());
         }},
    };
    for (const Command& command : kCommands) {
        if (variables.count(command.option) == 0)
            continue;
        const CommandSummary summary(command.option, command.changes,
                                     command.needsServer && m_dhcpServerIp.empty());
        command.run(*this, variables[command.option]);
        return;
    }
    DisplayHelp(description);
}

void CDHCPCommandParser::DisplayHelp(const Description& description) {
    Display(kHelpTitle);
    for (const auto& option : description.options())
        Display(FormatText(kHelpLine, option->format_name(), option->description()));
}

void CDHCPCommandParser::ExecuteExportClientsCommand(std::string fileName,
                                                     const NetshWriter& netshWriter,
                                                     bool showMessages) {
    DT_TRACE(DiagTools::kTraceProgress, "Executing Export Clients Info Command in file [%s]",
             fileName.c_str());
    CDHCPClientInfoImpl clients(m_output, netshWriter);
    if (!ChooseFileName(fileName, kDefaultClientsFile, DialogMode::Save))
        return;
    if (showMessages)
        Display(kExportClientsStart);
    clients.GetDHCPInfo(fileName);
    if (showMessages)
        Display(FormatText(kExportDone, fileName));
}

void CDHCPCommandParser::ExecuteExportScopesCommand(std::string fileName,
                                                    const NetshWriter& netshWriter,
                                                    bool showMessages) {
    DT_TRACE(DiagTools::kTraceProgress, "Executing Export Scopes Info Command in file [%s]",
             fileName.c_str());
    CDHCPSegmentInfoImpl scopes(m_output, m_leaseDuration, netshWriter, m_useAdapterFlag);
    if (!ChooseFileName(fileName, kDefaultScopesFile, DialogMode::Save))
        return;
    if (showMessages)
        Display(kExportScopesStart);
    scopes.GetDHCPInfo(fileName);
    if (showMessages)
        Display(FormatText(kExportDone, fileName));
}

void CDHCPCommandParser::ExecuteUpdateClientsCommand(std::string fileName) {
    if (!HasServerAddress())
        return;
    DT_TRACE(DiagTools::kTraceProgress,
             "Executing Update Clients Info Command from file [%s] on DHCP server [%s]",
             fileName.c_str(), m_dhcpServerIp.c_str());
    CDHCPClientInfoImpl clients(m_output, m_dhcpServerIp, m_leaseDuration);
    // Kept as released: the scopes file is proposed for the clients too.
    if (!ChooseFileName(fileName, kDefaultScopesFile, DialogMode::Open))
        return;
    Display(FormatText(kUpdateClientsStart, fileName));
    clients.SetDHCPInfo(fileName);
    Display(kUpdateClientsDone);
}

void CDHCPCommandParser::ExecuteUpdateScopesCommand(std::string fileName) {
    if (!HasServerAddress())
        return;
    DT_TRACE(DiagTools::kTraceProgress,
             "Executing Update Scopes Info Command from file [%s] on DHCP server [%s]",
             fileName.c_str(), m_dhcpServerIp.c_str());
    CDHCPSegmentInfoImpl scopes(m_output, m_dhcpServerIp, m_leaseDuration);
    if (!ChooseFileName(fileName, kDefaultScopesFile, DialogMode::Open))
        return;
    Display(FormatText(kUpdateScopesStart, fileName));
    scopes.SetDHCPInfo(fileName);
    Display(kUpdateScopesDone);
}

void CDHCPCommandParser::ExecuteUpdateMACCommand() {
    DT_TRACE(DiagTools::kTraceProgress, "Executing Update MAC Command");
    CMACUpdateImpl update(m_output);
    Display(kMacUpdateStart);
    update.DoMACUpdate();
    Display(kMacUpdateDone);
}

void CDHCPCommandParser::ExecuteUpdateScopesIpInfo() {
    DT_TRACE(DiagTools::kTraceProgress, "Executing Scopes IP Info in XML Command");
    CDHCPSegmentInfoImpl scopes(m_output, m_useAdapterFlag);
    Display(kScopeAddressesStart);
    scopes.SetDHCPIpInfo();
    Display(kScopeAddressesDone);
}

void CDHCPCommandParser::ExecuteErrorDescriptionCommand(std::uint32_t errorCode) {
    DT_TRACE(DiagTools::kTraceProgress, "Executing error description Command for error [%lu]",
             static_cast<unsigned long>(errorCode));
    Display(CDHCPErrorMsg(errorCode).GetDescription());
}

void CDHCPCommandParser::ExecuteSetDHCPServerIpCommand() {
    if (!HasServerAddress())
        return;
    CDHCPSegmentInfoImpl scopes(m_output);
    Display(kServerAddressStart);
    scopes.SetDHCPIpAddress(m_dhcpServerIp);
    Display(kServerAddressDone);
}

void CDHCPCommandParser::ExecuteReservationCommand(const std::string& scopeId) {
    if (!HasServerAddress())
        return;
    NetshWriter writer;
    if (!m_batchFileName.empty())
        writer = boost::make_shared<CNetshCommands>(m_output, m_dhcpServerIp, m_batchFileName);
    CDHCPSegmentInfoImpl scopes(m_output, m_dhcpServerIp, writer);
    Display(kReservationStart);
    scopes.ChangeDynamicToReserved(scopeId);
    Display(kReservationDone);
}

void CDHCPCommandParser::ExecuteSilentModeCommand() {
    if (!HasServerAddress())
        return;
    DT_TRACE(DiagTools::kTraceProgress,
             "Executing silent mode update of scopes and clients Command on DHCP server [%s]",
             m_dhcpServerIp.c_str());
    ExecuteUpdateMACCommand();
    ExecuteUpdateScopesIpInfo();
    ExecuteSetDHCPServerIpCommand();
    // Scopes before clients, so that reservations land in scopes that exist.
    {
        const TempFile scopes(CreateTempFileName());
        ExecuteExportScopesCommand(scopes.Name(), NetshWriter(), true);
        ExecuteUpdateScopesCommand(scopes.Name());
    }
    const TempFile clients(CreateTempFileName());
    ExecuteExportClientsCommand(clients.Name(), NetshWriter(), true);
    ExecuteUpdateClientsCommand(clients.Name());
}

void CDHCPCommandParser::ExecuteGenerateBatchCommand(const std::string& batchFileName) {
    if (!HasServerAddress())
        return;
    ExecuteUpdateMACCommand();
    ExecuteUpdateScopesIpInfo();
    ExecuteSetDHCPServerIpCommand();
    const NetshWriter writer =
        boost::make_shared<CNetshCommands>(m_output, m_dhcpServerIp, batchFileName);
    {
        const TempFile scopes(CreateTempFileName());
        Display(kBatchScopesStart);
        ExecuteExportScopesCommand(scopes.Name(), writer, false);
        Display(FormatText(kBatchScopesDone, batchFileName));
    }
    const TempFile clients(CreateTempFileName());
    Display(kBatchClientsStart);
    ExecuteExportClientsCommand(clients.Name(), writer, false);
    Display(FormatText(kBatchClientsDone, batchFileName));
}

bool CDHCPCommandParser::HasServerAddress() {
    if (!m_dhcpServerIp.empty())
        return true;
    ::MessageBoxA(nullptr, missingServerMessage.c_str(), kMessageBoxCaption, MB_ICONERROR);
    return false;
}

bool CDHCPCommandParser::ChooseFileName(std::string& fileName, const char* defaultName,
                                        DialogMode mode) {
    if (fileName.empty()) {
        CFileNameInput dialog;
        dialog.SetDefaultOutputFileName(defaultName);
        if (mode == DialogMode::Open)
            dialog.SetOutputMode(false);
        if (dialog.DoModal(::GetActiveWindow()) == IDOK)
            fileName = dialog.GetFileName();
    }
    return !fileName.empty();
}

void CDHCPCommandParser::Display(const std::string& message) {
    m_output->DisplayMsg(message, false);
}

std::string CDHCPCommandParser::CreateTempFileName() {
    // GetTempPathA ends its text in the separator; Boost's temp_directory_path would drop it.
    char folder[MAX_PATH + 2] = "";
    if (::GetTempPathA(static_cast<DWORD>(sizeof(folder)), folder) >= sizeof(folder))
        folder[0] = '\0';
    return folder + boost::filesystem::unique_path("%%%%-%%%%-%%%%-%%%%").string();
}
