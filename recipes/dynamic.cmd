@echo off
rem Writes the lines of clients.csv that are not Reserved.
echo Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status
for /f "skip=1 tokens=1-7 delims=," %%a in (clients.csv) do call :line "%%a" %%b %%c %%d %%e %%f %%g
goto :eof

:line
if "%7"=="Reserved" goto :eof
echo %~1, %2, %3, %4, %5, %6, %7
