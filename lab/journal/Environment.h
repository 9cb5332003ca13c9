// Settings of the stand-ins: environment variables, read here and nowhere else.
#pragma once

#include <string>

namespace lab {

/// The value of an environment variable; empty when it is unset.
std::wstring EnvironmentText(const wchar_t* name);

/// The bytes of a whole file, without a UTF-8 mark; empty when it cannot be read.
std::string FileText(const std::wstring& path);

}  // namespace lab
