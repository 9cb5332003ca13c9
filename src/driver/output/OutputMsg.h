#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>
#include <string>

/// The one channel to the user: the console or, once a log file was chosen, the end of that file.
/// Always made with boost::make_shared. Failures are silent: the message is lost, the run goes on.
class COutputMsg : public boost::enable_shared_from_this<COutputMsg> {
public:
    COutputMsg() = default;
    virtual ~COutputMsg() = default;

    /// Traces the message, then writes it as it is (it carries its own "\n") in one write. The log
    /// file is opened and closed for each message, so that others can read it during the run.
    /// verboseOnly: not written when verbose is off.
    void DisplayMsg(const std::string& message, bool verboseOnly);

    void SetVerbose(bool verbose) { m_verbose = verbose; }
    /// Empties the file at once, so that each run starts with an empty log. An empty name means the
    /// console.
    void SetOutputLogFile(const std::string& fileName);

private:
    std::string m_logFileName;
    bool m_verbose = true;
};

/// Displays through an output object that its owner may have let go of: then nothing is shown.
void DisplayThrough(const boost::weak_ptr<COutputMsg>& output, const std::string& message,
                    bool verboseOnly);
