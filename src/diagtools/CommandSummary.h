#pragma once

#include <cstdint>

namespace DiagTools {

/// Tells the event log about a command, once it is over: one that changes something always, any
/// other only when errors were traced meanwhile. Made where the command's work begins, after all
/// that may keep it from beginning. A command that runs within another one is part of that one's
/// summary. For one thread.
class CCommandSummary {
public:
    enum class Effect { None, Changes };

    /// The name is borrowed.
    CCommandSummary(const char* commandName, Effect effect);
    ~CCommandSummary();
    CCommandSummary(const CCommandSummary&) = delete;
    CCommandSummary& operator=(const CCommandSummary&) = delete;

private:
    const char* m_commandName;
    Effect m_effect;
    std::uint32_t m_errorLinesBefore;
};

}  // namespace DiagTools
