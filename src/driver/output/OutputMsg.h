#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <string>

#include "driver/output/Format.h"

/// The only channel to the user: the console or, if one is set, a log file. Create it with
/// boost::make_shared. Failures are silent: the message is lost and the run continues.
class COutputMsg : public boost::enable_shared_from_this<COutputMsg> {
public:
    COutputMsg() = default;
    virtual ~COutputMsg() = default;

    /// Traces the message and writes it unchanged (it contains its own "\n") in one write. Opens
    /// and closes the log file for each message, so that other programs can read it during the run.
    /// verboseOnly: do not write it if verbose is off.
    void DisplayMsg(const std::string& message, bool verboseOnly);
    /// True if a message for verbose users would be shown or traced; otherwise do not build it.
    bool IsDetailWanted() const;

    void SetVerbose(bool verbose) { m_verbose = verbose; }
    /// Empties the file, so that each run starts a new log. An empty name selects the console.
    void SetOutputLogFile(const std::string& fileName);

private:
    std::string m_logFileName;
    bool m_verbose = true;
};

using Output = boost::weak_ptr<COutputMsg>;

// These do nothing once the output object is gone.

bool IsDetailWanted(const Output& output);
void DisplayThrough(const Output& output, const std::string& message, bool verboseOnly);

inline constexpr char kRecordDone[] = "OK\n";
inline constexpr char kRecordFailed[] = "Failed with error [%lu].\n";  // error code

/// Shows a record's text and result: success (0) to verbose users, an error to all users.
void ShowResult(const Output& output, std::string record, unsigned long error);
