#pragma once

#include "log/LogImpl.h"

#include <string>

/// Sends lines to syslog(3), facility LOG_LOCAL1, with the process id, to the console if no daemon listens.
class SysLog : public LogImpl
{
public:
    /// Opens the connection at once; @p identifier stands in front of every line.
    explicit SysLog(std::string identifier);

    /// Tabs arrive as four blanks; the newline stays in the text.
    void writeMessageToLog(const logData_t& data) override;

private:
    const std::string ident; ///< syslog keeps the pointer: must live as long as lines are written
};
