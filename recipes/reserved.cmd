@echo off
rem "reserved SERVER" writes the Reserved lines of clients.csv as netsh commands.
rem "reserved" writes them as rows for PowerShell.
if "%1"=="" echo ScopeId,IPAddress,ClientId,Name
for /f "skip=1 tokens=1-7 delims=," %%a in (clients.csv) do call :line "%%a" %%b %%c %%f %%g %1
goto :eof

:line
if not "%5"=="Reserved" goto :eof
for /f "tokens=1-8 delims=." %%a in ("%2.%3") do (
  set /a "a = %%a & %%e"
  set /a "b = %%b & %%f"
  set /a "c = %%c & %%g"
  set /a "d = %%d & %%h"
)
set scope=%a%.%b%.%c%.%d%
set mac=%4
if "%6"=="" echo %scope%,%2,%4,"%~1"
if not "%6"=="" echo netsh dhcp server %6 scope %scope% add reservedip %2 %mac:-=% "%~1"
