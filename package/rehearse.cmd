@echo off
rem rehearse            look, rehearse and do with the sample gateway
rem rehearse FOLDER     import FOLDER\scopes.csv and FOLDER\clients.csv
rem rehearse undo       take back what an interrupted rehearsal left
rem README.txt says more.
rem
rem For Windows' cmd and Wine's: there && and || do not see every program's result, and find knows
rem no switches. Paths stand outside of parentheses, which they may hold themselves.
setlocal
set "lab=%~dp0lab"
set "run=%~dp0dhcpmigrate-rehearsal"
set "class={b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}"
rem An address for documents: no network has it.
set "server=192.0.2.2"
rem The lab's netsh goes before Windows' own, Windows' tools before anybody else's.
set "PATH=%lab%;%SystemRoot%\System32;%PATH%"
set "own=%~f1"
set result=1
set changed=

if defined PROCESSOR_ARCHITEW6432 goto not64bit
if not exist "%lab%\zakstorage.dll" goto unpack
if exist "%run%\" goto prepared
md "%run%"
if not exist "%run%\" goto nofolder
:prepared
cd /d "%run%"
if errorlevel 1 goto nofolder

call :undo
if errorlevel 1 goto end
if /i "%~1"=="undo" goto undone
call :refuse
if errorlevel 1 goto end
if "%~1"=="" goto ready
rem The folder is emptied.
if /i "%own%"=="%run%" goto ownrun
if /i "%own%"=="%run%\" goto ownrun
if not exist "%own%\scopes.csv" goto nofiles
if not exist "%own%\clients.csv" goto nofiles
:ready

del /q "%run%\*" >nul 2>nul
set "DHCPLAB_JOURNAL=%run%\calls.txt"
set "DHCPLAB_TRACE=%run%\trace.txt"
set "DHCPLAB_ADAPTERS=%~dp0sample\adapters.txt"
set "DHCPLAB_SERVER_STATE=%run%\server.json"
rem A command that the lab's netsh does not know, but notes: Windows' own would leave no journal.
netsh rehearsal >nul 2>nul
if not exist "%DHCPLAB_JOURNAL%" goto nonetsh

if not "%~1"=="" goto import
call :sample
goto finish
:import
call :files
:finish
set result=%errorlevel%
find "MISUSE" <"%DHCPLAB_JOURNAL%" >nul
if errorlevel 1 goto cleanup
echo.
echo calls.txt has lines MISUSE: this rehearsal does not count as passed.
set result=1
:cleanup
call :undo
if errorlevel 1 goto notclean
echo.
if defined changed echo The machine is as it was before: component and registry key are gone.
echo Everything of this run is in "%run%".
goto end
:notclean
set result=1
goto end

:sample
echo This registers a stand-in for the gateway's storage component and makes the registry key
echo HKLM\SOFTWARE\Vantrel, both for the whole machine, and takes both back at the end. After Ctrl-C
echo answer N, else run "rehearse undo".
set changed=yes
reg add HKLM\SOFTWARE\Vantrel\Data /v Path /d "%run%" /f >nul 2>nul
reg query HKLM\SOFTWARE\Vantrel\Data /v Path 2>nul | find "dhcpmigrate-rehearsal" >nul
if errorlevel 1 goto noadmin
regsvr32 /s "%lab%\zakstorage.dll"
reg query HKLM\SOFTWARE\Classes\Granite.ZakStorageDB\CLSID /ve 2>nul | find "%class%" >nul
if errorlevel 1 goto noadmin
reg import "%~dp0sample\interfaces.reg" >nul 2>nul

echo.
echo == Look: what the gateway holds
copy /y "%~dp0sample\Zephon.XML" . >nul
call :do dhcpmigrate -s scopes.csv -v off
if errorlevel 1 exit /b 1
call :do type scopes.csv
call :do dhcpmigrate -c clients.csv -v off
if errorlevel 1 exit /b 1

echo.
echo == Rehearse: everything as a batch file, run on a server of its own
call :do dhcpmigrate -b plan.bat -i %server% -v off
if errorlevel 1 exit /b 1
set "DHCPLAB_SERVER_STATE=%run%\planned-server.json"
echo.
echo ^> plan.bat ^>plan.log 2^>^&1
cmd /c .\plan.bat >plan.log 2>&1
call :count "netsh" plan.bat
set commands=%counted%
call :count "completed successfully" plan.log
echo %commands% commands, %counted% completed successfully; plan.log has the answers
call :do show_server planned-server.json
if errorlevel 1 exit /b 1

echo.
echo == Do: everything at once, from the untouched store onto an empty server
copy /y "%~dp0sample\Zephon.XML" . >nul
set "DHCPLAB_SERVER_STATE=%run%\server.json"
call :do dhcpmigrate -a -i %server% -v off
if errorlevel 1 exit /b 1
call :do show_server server.json
exit /b

:files
copy /y "%own%\scopes.csv" . >nul
copy /y "%own%\clients.csv" . >nul
echo == Do: your scopes and clients onto an empty server
call :do dhcpmigrate -g scopes.csv -i %server% -v off
if errorlevel 1 exit /b 1
call :do dhcpmigrate -l clients.csv -i %server% -v off
if errorlevel 1 exit /b 1
call :do show_server server.json
exit /b

rem The programs end with 0; another code is that of Ctrl-C, a crash or a missing DLL, and the
rem rehearsal goes on to its clean-up.
:do
echo.
echo ^> %*
setlocal
rem Their temporary files, too. Not for the whole script: Wine's pipes want a plain folder.
set "TEMP=%run%"
set "TMP=%run%"
%*
endlocal & set code=%errorlevel%
if "%code%"=="0" exit /b 0
echo.
echo %1 ended with code %code%.
exit /b 1

:count
set counted=0
for /f "delims=" %%l in ('type %2 ^| find %1') do set /a counted+=1
exit /b 0

rem Only what is a rehearsal's own: the class that the program id names must be the stand-in's, the
rem data folder a rehearsal's. So this may run at any time, also years after an interrupted run.
:undo
reg query HKLM\SOFTWARE\Classes\Granite.ZakStorageDB\CLSID /ve 2>nul | find "%class%" >nul
if not errorlevel 1 regsvr32 /s /u "%lab%\zakstorage.dll"
reg query HKLM\SOFTWARE\Vantrel\Data /v Path 2>nul | find "\dhcpmigrate-rehearsal" >nul
if not errorlevel 1 reg delete HKLM\SOFTWARE\Vantrel /f >nul 2>nul
reg query HKLM\SOFTWARE\Classes\Granite.ZakStorageDB\CLSID /ve 2>nul | find "%class%" >nul
if not errorlevel 1 goto notundone
reg query HKLM\SOFTWARE\Vantrel\Data /v Path 2>nul | find "\dhcpmigrate-rehearsal" >nul
if not errorlevel 1 goto notundone
exit /b 0
:notundone
echo A rehearsal has left its storage component or registry key, and they cannot be taken back.
echo Start cmd as administrator, then: rehearse undo
exit /b 1

rem Behind a real one, the stand-ins would not be alone with the program.
:refuse
reg query HKCR\Granite.ZakStorageDB >nul 2>nul
if not errorlevel 1 goto component
reg query HKLM\SOFTWARE\Vantrel >nul 2>nul
if not errorlevel 1 goto gateway
reg query HKLM\SYSTEM\CurrentControlSet\Services\DHCPServer >nul 2>nul
if not errorlevel 1 goto dhcpserver
exit /b 0
:component
echo Not here: the gateway's storage component is registered (Granite.ZakStorageDB).
exit /b 1
:gateway
echo Not here: the gateway's registry key is there (HKLM\SOFTWARE\Vantrel).
exit /b 1
:dhcpserver
echo Not here: a DHCP server is installed (service DHCPServer).
exit /b 1

:noadmin
echo.
echo The registry cannot be changed: start cmd as administrator.
exit /b 1
:not64bit
echo Start this from a 64-bit cmd.
goto end
:unpack
echo The folder lab is missing beside rehearse.cmd: unpack the whole zip.
goto end
:nofolder
echo This folder cannot be made or entered: "%run%"
goto end
:nofiles
echo There must be scopes.csv and clients.csv in "%own%"
goto end
:ownrun
echo This folder is emptied by each run: copy your files into another one.
goto end
:nonetsh
echo The lab's netsh does not start, or is not found first: is there a ; in the name of a folder?
goto end
:undone
echo Nothing of a rehearsal is left.
set result=0
:end
endlocal & exit /b %result%
