#include "driver/DHCPCommandParser.h"

#include <windows.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem.hpp>
#include <boost/make_shared.hpp>
#include <exception>

#include "clients/DHCPClientInfoImpl.h"
#include "clients/MACUpdateImpl.h"
#include "dhcpserver/DhcpOptions.h"
#include "diagtools/EventLogWriter.h"
#include "diagtools/HResultCheck.h"
#include "diagtools/ModuleStatistics.h"
#include "driver/CommandLineOptions.h"
#include "driver/DHCPErrorMsg.h"
#include "driver/DriverTexts.h"
#include "driver/output/OutputMsg.h"
#include "netsh/NetshCommands.h"
#include "scopes/DHCPSegmentInfoImpl.h"
#include "ui/FileNameInput.h"
#include "win/AnsiPath.h"

namespace po = boost::program_options;

namespace {

constexpr char kTraceFile[] = "DHCPCommandParser";

/// Deletes a temporary file when the work on it ends, even by an exception.
class CTempFile {
public:
    explicit CTempFile(const std::string& name) : m_name(name) {}
    ~CTempFile() { ::DeleteFileA(m_name.c_str()); }
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;

    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
};

enum class Outcome { Executed, NotExecuted, Thrown };

/// Writes the event of a command that changed something or failed (decision 0021), so that an
/// administrator can later see in the event log what an installer ran.
void WriteEvent(const char* command, Outcome outcome, unsigned long errors) {
    constexpr DWORD kCommandEventId = 1;
    try {
        std::string text = Format("Command [%s] not executed.", command);
        if (outcome == Outcome::Thrown)
            text = Format("Command [%s] ended by an exception, error lines traced [%lu].", command,
                          errors);
        else if (outcome == Outcome::Executed)
            text = Format("Command [%s] executed, error lines traced [%lu].", command, errors);
        DiagTools::CEventLogWriter::Report(outcome == Outcome::Executed && errors == 0
                                               ? EVENTLOG_INFORMATION_TYPE
                                               : EVENTLOG_WARNING_TYPE,
                                           kCommandEventId, text.c_str());
    } catch (const std::exception&) {  // out of memory: skip the event
    }
}

}  // namespace

CDHCPCommandParser::CDHCPCommandParser()
    : m_leaseDuration(kDefaultLeaseSeconds), m_output(boost::make_shared<COutputMsg>()) {}

void CDHCPCommandParser::ExecuteCommands(int argc, const char* const* argv) {
    try {
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
    } catch (const std::exception& escaped) {
        DT_TRACE(kTraceError, "Command ended by exception [%s]", escaped.what());
        try {
            // Without this message the run would look successful.
            Display(Format(kCommandEnded, escaped.what()));
        }
        CATCH_RECORD()
    }
    DT_TRACE(kTraceProgress, "Execute Command DONE");
}

bool CDHCPCommandParser::SetCommandLineOptions(int argc, const char* const* argv,
                                               const Description& description,
                                               Variables& variables) {
    try {
        po::store(ParseCommandLine(argc, argv, description), variables);
        po::notify(variables);
        return true;
    } catch (const std::exception& invalid) {
        DT_TRACE(kTraceError, "Invalid Option specified [%s]", invalid.what());
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
        bool changes;  // the store, the server or a batch file
        bool needsServer;
        bool (*run)(Parser&, const Value&);  // false: nothing was done
    };
    // The first command present runs. Commands without a parameter ignore the option's value.
    // clang-format off
    static constexpr Command kCommands[] = {
        {kOptionExportClients, false, false, [](Parser& parser, const Value& file) { return parser.ExecuteExportClientsCommand(file.as<std::string>(), NetshWriter(), true); }},
        {kOptionExportScopes, false, false, [](Parser& parser, const Value& file) { return parser.ExecuteExportScopesCommand(file.as<std::string>(), NetshWriter(), true); }},
        {kOptionUpdateMAC, true, false, [](Parser& parser, const Value&) { return parser.ExecuteUpdateMACCommand(); }},
        {kOptionScopesIPInfo, true, false, [](Parser& parser, const Value&) { return parser.ExecuteUpdateScopesIpInfo(); }},
        {kOptionErrorDesc, false, false, [](Parser& parser, const Value& code) { return parser.ExecuteErrorDescriptionCommand(code.as<unsigned int>()); }},
        {kOptionUpdateClients, true, true, [](Parser& parser, const Value& file) { return parser.ExecuteUpdateClientsCommand(file.as<std::string>()); }},
        {kOptionUpdateScopes, true, true, [](Parser& parser, const Value& file) { return parser.ExecuteUpdateScopesCommand(file.as<std::string>()); }},
        {kOptionGenerateBatch, true, true, [](Parser& parser, const Value& file) { return parser.ExecuteGenerateBatchCommand(file.as<std::string>()); }},
        {kOptionAutoUpdate, true, true, [](Parser& parser, const Value&) { return parser.ExecuteSilentModeCommand(); }},
        {kOptionSetDhcpServerIp, true, true, [](Parser& parser, const Value&) { return parser.ExecuteSetDHCPServerIpCommand(); }},
        {kOptionReservation, true, true, [](Parser& parser, const Value& scopeId) { return parser.ExecuteReservationCommand(scopeId.as<std::string>()); }},
    };
    // clang-format on
    for (const Command& command : kCommands) {
        if (variables.count(command.option) == 0)
            continue;
        using DiagTools::CModuleStatistics;
        const unsigned long before = CModuleStatistics::ErrorLines();
        try {
            const bool executed = (!command.needsServer || HasServerAddress()) &&
                                  command.run(*this, variables[command.option]);
            const unsigned long errors = CModuleStatistics::ErrorLines() - before;
            if (command.changes || errors != 0)
                WriteEvent(command.option, executed ? Outcome::Executed : Outcome::NotExecuted,
                           errors);
        } catch (const std::exception&) {
            WriteEvent(command.option, Outcome::Thrown, CModuleStatistics::ErrorLines() - before);
            throw;
        }
        return;
    }
    DisplayHelp(description);
}

void CDHCPCommandParser::DisplayHelp(const Description& description) {
    Display(kHelpTitle);
    for (const auto& option : description.options())
        Display(Format(kHelpLine, option->format_name().c_str(), option->description().c_str()));
}

template <class Work>
bool CDHCPCommandParser::Export(Work& work, std::string fileName, const char* defaultName,
                                const char* startText) {
    if (!ChooseFileName(fileName, defaultName, DialogMode::Save))
        return false;
    if (startText)
        Display(startText);
    work.GetDHCPInfo(fileName);
    if (startText)
        Display(Format(kExportDone, fileName.c_str()));
    return true;
}

bool CDHCPCommandParser::ExecuteExportClientsCommand(std::string fileName,
                                                     const NetshWriter& netshWriter,
                                                     bool showMessages) {
    DT_TRACE(kTraceProgress, "Executing Export Clients Info Command in file [%s]",
             fileName.c_str());
    CDHCPClientInfoImpl clients(m_output, netshWriter);
    return Export(clients, std::move(fileName), kDefaultClientsFile,
                  showMessages ? kExportClientsStart : nullptr);
}

bool CDHCPCommandParser::ExecuteExportScopesCommand(std::string fileName,
                                                    const NetshWriter& netshWriter,
                                                    bool showMessages) {
    DT_TRACE(kTraceProgress, "Executing Export Scopes Info Command in file [%s]", fileName.c_str());
    CDHCPSegmentInfoImpl scopes(m_output, m_leaseDuration, netshWriter, m_useAdapterFlag);
    return Export(scopes, std::move(fileName), kDefaultScopesFile,
                  showMessages ? kExportScopesStart : nullptr);
}

bool CDHCPCommandParser::ExecuteUpdateClientsCommand(std::string fileName) {
    DT_TRACE(kTraceProgress,
             "Executing Update Clients Info Command from file [%s] on DHCP server [%s]",
             fileName.c_str(), m_dhcpServerIp.c_str());
    CDHCPClientInfoImpl clients(m_output, m_dhcpServerIp, m_leaseDuration);
    // Kept for compatibility: the dialog proposes the scopes file for the clients, too.
    if (!ChooseFileName(fileName, kDefaultScopesFile, DialogMode::Open))
        return false;
    Display(Format(kUpdateClientsStart, fileName.c_str()));
    clients.SetDHCPInfo(fileName);
    Display(kUpdateClientsDone);
    return true;
}

bool CDHCPCommandParser::ExecuteUpdateScopesCommand(std::string fileName) {
    DT_TRACE(kTraceProgress,
             "Executing Update Scopes Info Command from file [%s] on DHCP server [%s]",
             fileName.c_str(), m_dhcpServerIp.c_str());
    CDHCPSegmentInfoImpl scopes(m_output, m_dhcpServerIp, m_leaseDuration);
    if (!ChooseFileName(fileName, kDefaultScopesFile, DialogMode::Open))
        return false;
    Display(Format(kUpdateScopesStart, fileName.c_str()));
    scopes.SetDHCPInfo(fileName);
    Display(kUpdateScopesDone);
    return true;
}

bool CDHCPCommandParser::ExecuteUpdateMACCommand() {
    DT_TRACE(kTraceProgress, "Executing Update MAC Command");
    CMACUpdateImpl update(m_output);
    Display(kMacUpdateStart);
    update.DoMACUpdate();
    Display(kMacUpdateDone);
    return true;
}

bool CDHCPCommandParser::ExecuteUpdateScopesIpInfo() {
    DT_TRACE(kTraceProgress, "Executing Scopes IP Info in XML Command");
    CDHCPSegmentInfoImpl scopes(m_output, m_useAdapterFlag);
    Display(kScopeAddressesStart);
    scopes.SetDHCPIpInfo();
    Display(kScopeAddressesDone);
    return true;
}

bool CDHCPCommandParser::ExecuteErrorDescriptionCommand(std::uint32_t errorCode) {
    DT_TRACE(kTraceProgress, "Executing error description Command for error [%lu]",
             static_cast<unsigned long>(errorCode));
    Display(CDHCPErrorMsg(errorCode).GetDescription());
    return true;
}

bool CDHCPCommandParser::ExecuteSetDHCPServerIpCommand() {
    CDHCPSegmentInfoImpl scopes(m_output);
    Display(kServerAddressStart);
    scopes.SetDHCPIpAddress(m_dhcpServerIp);
    Display(kServerAddressDone);
    return true;
}

bool CDHCPCommandParser::ExecuteReservationCommand(const std::string& scopeId) {
    NetshWriter writer;
    if (!m_batchFileName.empty())
        writer = boost::make_shared<CNetshCommands>(m_output, m_dhcpServerIp, m_batchFileName);
    CDHCPSegmentInfoImpl scopes(m_output, m_dhcpServerIp, writer);
    Display(kReservationStart);
    scopes.ChangeDynamicToReserved(scopeId);
    Display(kReservationDone);
    return true;
}

void CDHCPCommandParser::RepairStore() {
    ExecuteUpdateMACCommand();
    ExecuteUpdateScopesIpInfo();
    ExecuteSetDHCPServerIpCommand();
}

bool CDHCPCommandParser::ExecuteSilentModeCommand() {
    DT_TRACE(kTraceProgress,
             "Executing silent mode update of scopes and clients Command on DHCP server [%s]",
             m_dhcpServerIp.c_str());
    RepairStore();
    // Scopes before clients, because a reservation needs its scope.
    {
        const CTempFile scopes(CreateTempFileName());
        ExecuteExportScopesCommand(scopes.Name(), NetshWriter(), true);
        ExecuteUpdateScopesCommand(scopes.Name());
    }
    const CTempFile clients(CreateTempFileName());
    ExecuteExportClientsCommand(clients.Name(), NetshWriter(), true);
    ExecuteUpdateClientsCommand(clients.Name());
    return true;
}

bool CDHCPCommandParser::ExecuteGenerateBatchCommand(const std::string& batchFileName) {
    RepairStore();
    const NetshWriter writer =
        boost::make_shared<CNetshCommands>(m_output, m_dhcpServerIp, batchFileName);
    {
        const CTempFile scopes(CreateTempFileName());
        Display(kBatchScopesStart);
        ExecuteExportScopesCommand(scopes.Name(), writer, false);
        Display(Format(kBatchScopesDone, batchFileName.c_str()));
    }
    const CTempFile clients(CreateTempFileName());
    Display(kBatchClientsStart);
    ExecuteExportClientsCommand(clients.Name(), writer, false);
    Display(Format(kBatchClientsDone, batchFileName.c_str()));
    return true;
}

bool CDHCPCommandParser::HasServerAddress() const {
    if (!m_dhcpServerIp.empty())
        return true;
    const std::string message =
        std::string(kMissingServerBefore) + kOptionDhcpServerIp + kMissingServerAfter;
    ::MessageBoxA(nullptr, message.c_str(), kMessageBoxCaption, MB_ICONERROR);
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
    TemporaryPath folder;
    GetTemporaryFolder(folder);
    return folder + boost::filesystem::unique_path("%%%%-%%%%-%%%%-%%%%").string();
}
