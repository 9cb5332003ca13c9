// What is shown behind the text of one record, by every command that reports record by record.
#pragma once

inline constexpr char kRecordDone[] = "OK\n";
inline constexpr char kRecordFailed[] = "Failed with error [%lu].\n";  // error code
