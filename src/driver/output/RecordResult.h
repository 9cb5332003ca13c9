// How the commands that report record by record tell what became of one.
#pragma once

#include <boost/weak_ptr.hpp>
#include <string>

#include "driver/output/OutputMsg.h"

inline constexpr char kRecordDone[] = "OK\n";
inline constexpr char kRecordFailed[] = "Failed with error [%lu].\n";  // error code

/// Does the work on one record and shows the record's text with the result behind it: success to
/// verbose users, an error to everybody. True when the work gave 0. A text that success needs is
/// made before the work, so that what has no memory for it is not done untold.
template <class MakeText, class Work>
bool ReportRecord(const boost::weak_ptr<COutputMsg>& output, const MakeText& makeText,
                  const Work& work) {
    const bool detail = IsDetailWanted(output);
    std::string message = detail ? makeText() + kRecordDone : std::string();
    const unsigned long error = work();
    if (error == 0 && detail)
        DisplayThrough(output, message, true);
    if (error != 0)
        DisplayThrough(output, makeText() + FillText<kRecordFailed>(std::to_string(error)), false);
    return error == 0;
}
