@echo off
rem reservations DUMP: writes what "netsh dhcp server dump" has printed as a CSV file.
echo Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status
echo.
for /f "tokens=6,7" %%a in ('findstr /i /c:" add scope " %1') do set mask.%%a=%%b
for /f "tokens=5,8,9*" %%a in ('findstr /i /c:" add reservedip " %1') do call :line %%a %%b %%c %%d
goto :eof

:line
call set mask=%%mask.%1%%
set mac=%3
echo %~4, %2, %mask%, 0.0.0.0, 0.0.0.0, %mac:~0,2%-%mac:~2,2%-%mac:~4,2%-%mac:~6,2%-%mac:~8,2%-%mac:~10,2%, Reserved
