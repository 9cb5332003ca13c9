#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <string>

#include "driver/output/FillText.h"

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
    /// Whether anybody gets to see such a message; when not, it need not be made.
    bool IsWanted(bool verboseOnly) const;

    void SetVerbose(bool verbose) { m_verbose = verbose; }
    /// Empties the file at once, so that each run starts with an empty log. An empty name means the
    /// console.
    void SetOutputLogFile(const std::string& fileName);

private:
    std::string m_logFileName;
    bool m_verbose = true;
};

// These speak through an output object that its owner may have let go of: then nothing is shown.

/// Whether a message that is shown to verbose users only has to be made.
bool IsDetailWanted(const boost::weak_ptr<COutputMsg>& output);

void DisplayThrough(const boost::weak_ptr<COutputMsg>& output, const std::string& message,
                    bool verboseOnly);

/// Shows a filled text to verbose users; it is made only when it is wanted.
template <const auto& Text, class... Places>
void DisplayDetail(const boost::weak_ptr<COutputMsg>& output, const Places&... places) {
    if (IsDetailWanted(output))
        DisplayThrough(output, FillText<Text>(places...), true);
}
