#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <string>

#include "driver/output/Format.h"

/// The one channel to the user: the console or, once a log file was chosen, the end of that file.
/// Always made with boost::make_shared. Failures are silent: the message is lost, the run goes on.
class COutputMsg : public boost::enable_shared_from_this<COutputMsg> {
public:
    COutputMsg() = default;
    virtual ~COutputMsg() = default;

    /// Traces the message, then writes it as it is (it carries its own "\n") in one write. The log
    /// file is opened and closed for each message, so that others can read it during the run.
    /// verboseOnly: not written if verbose is off.
    void DisplayMsg(const std::string& message, bool verboseOnly);
    /// True if a message for verbose users would be shown or traced; otherwise there is no need to
    /// make it.
    bool IsDetailWanted() const;

    void SetVerbose(bool verbose) { m_verbose = verbose; }
    /// Empties the file at once, so that each run starts with an empty log. An empty name means the
    /// console.
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

/// Shows the text of a record with the result behind it: success (0) to verbose users, an error to
/// everybody.
void ShowResult(const Output& output, std::string record, unsigned long error);
