#pragma once

#include <boost/program_options.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

class CNetshCommands;
class COutputMsg;

/// Parses the command line and runs exactly one command. Reports failures, exceptions included,
/// only through the messages and the trace.
class CDHCPCommandParser {
public:
    CDHCPCommandParser();
    virtual ~CDHCPCommandParser() = default;
    CDHCPCommandParser(const CDHCPCommandParser&) = delete;
    CDHCPCommandParser& operator=(const CDHCPCommandParser&) = delete;

    void ExecuteCommands(int argc, const char* const* argv);
    /// Returns false and traces the reason if the command line is not valid.
    bool SetCommandLineOptions(int argc, const char* const* argv,
                               const boost::program_options::options_description& description,
                               boost::program_options::variables_map& variables);

private:
    using Description = boost::program_options::options_description;
    using Variables = boost::program_options::variables_map;
    using NetshWriter = boost::shared_ptr<CNetshCommands>;  // empty: no batch file
    enum class DialogMode { Open, Save };

    void ApplyGeneralOptions(const Variables& variables);
    /// Runs the first command present in the fixed order, or prints the help.
    void DispatchCommand(const Description& description, const Variables& variables);
    void DisplayHelp(const Description& description);

    // The commands. An empty file name opens the dialog. If the user cancels it, the command ends
    // silently and returns false: nothing was done.
    bool ExecuteUpdateMACCommand();
    bool ExecuteUpdateScopesIpInfo();
    bool ExecuteErrorDescriptionCommand(std::uint32_t errorCode);
    bool ExecuteExportClientsCommand(std::string fileName, const NetshWriter& netshWriter,
                                     bool showMessages);
    bool ExecuteExportScopesCommand(std::string fileName, const NetshWriter& netshWriter,
                                    bool showMessages);
    bool ExecuteUpdateClientsCommand(std::string fileName);
    bool ExecuteUpdateScopesCommand(std::string fileName);
    bool ExecuteSilentModeCommand();
    bool ExecuteGenerateBatchCommand(const std::string& batchFileName);
    bool ExecuteSetDHCPServerIpCommand();
    bool ExecuteReservationCommand(const std::string& scopeId);

    /// startText: null for an export without messages.
    template <class Work>
    bool Export(Work& work, std::string fileName, const char* defaultName, const char* startText);
    /// Repairs the MACs, the scopes' addresses and the server entry: the start of -a and -b.
    void RepairStore();

    /// Shows a message box if the server address is missing.
    bool HasServerAddress() const;
    static bool ChooseFileName(std::string& fileName, const char* defaultName, DialogMode mode);
    void Display(const std::string& message);
    static std::string CreateTempFileName();

    // Inverted for compatibility: true unless -p is given. True means "addresses from the
    // registry".
    bool m_useAdapterFlag = true;
    std::uint32_t m_leaseDuration;  // seconds
    std::string m_dhcpServerIp;
    boost::shared_ptr<COutputMsg> m_output;
    std::string m_batchFileName;
};
