@echo off
rem rehearse            plays the runbook with the sample gateway
rem rehearse FOLDER     plays it with FOLDER\scopes.csv and FOLDER\clients.csv, as far as these go
rem rehearse undo       removes what an interrupted rehearsal left
rem README.txt says more.
rem
rem Written for Windows' cmd and for Wine's, where && and || do not see every program's result and
rem find has no switches. No path is used inside parentheses, because it may contain one.
setlocal
set "lab=%~dp0lab"
set "run=%~dp0dhcpmigrate-rehearsal"
set "class={b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}"
rem An address for documentation: no network uses it.
set "server=192.0.2.2"
rem The stand-in for netsh must come before Windows' own, Windows' tools before all others.
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
echo == 1. Decide: what the gateway holds
copy /y "%~dp0sample\Zephon.XML" . >nul
call :do dhcpmigrate -s scopes.csv -v off
if errorlevel 1 exit /b 1
call :do type scopes.csv
call :do dhcpmigrate -c clients.csv -v off
if errorlevel 1 exit /b 1
call :check
echo.
echo These four lines are corrected in sample\corrected.csv, which takes the place of clients.csv.
copy /y "%~dp0sample\corrected.csv" clients.csv >nul
call :move
if errorlevel 1 exit /b 1

echo.
echo == 5. Roll back: what would run on the server
for /f "skip=1 tokens=4 delims=," %%s in (scopes.csv) do echo netsh dhcp server %server% scope %%s set state 0

echo.
echo == Other MACs, on a second server: the store is repaired, the reservations are netsh commands
set "DHCPLAB_SERVER_STATE=%run%\other-macs.json"
copy /y Zephon.XML Zephon-before.XML >nul
call :do dhcpmigrate -m -o mac.log
if errorlevel 1 exit /b 1
call :do dhcpmigrate -c clients.csv -o clients-out.log
if errorlevel 1 exit /b 1
call :check
call :do dhcpmigrate -g scopes.csv -i %server% -o scopes-in.log
if errorlevel 1 exit /b 1
call reserved %server% >reserve.bat
call :batch reserve
call dynamic >dynamic.csv
call :do dhcpmigrate -l dynamic.csv -i %server% -o dynamic-in.log
if errorlevel 1 exit /b 1
call :do check dynamic.csv dynamic-in.log
copy /y Zephon-before.XML Zephon.XML >nul
echo.
echo The hosts lease with their own MACs, those of sample\own-macs.csv.
copy /y "%~dp0sample\own-macs.csv" . >nul
show_hosts --lease other-macs.json clients.csv own-macs.csv >cut-over-hosts.log
call :do find "of 40" cut-over-hosts.log
copy /y other-macs.json leased.json >nul

echo.
echo == 6. Days after: the clean-up -z as files, without the quotation marks that Front Desk 2 needs
for /f "skip=1 tokens=4 delims=," %%s in (scopes.csv) do call :cleanup %%s
show_hosts --had leased.json other-macs.json clients.csv own-macs.csv >days-after-hosts.log
call :do find "of 40" days-after-hosts.log
exit /b

:cleanup
call :do dhcpmigrate -z %1 -i %server% -w fix-%1.bat -o clean-up-%1.log
if errorlevel 1 exit /b 1
call :batch fix-%1
exit /b

:files
copy /y "%own%\scopes.csv" . >nul
copy /y "%own%\clients.csv" . >nul
if exist "%own%\hosts.csv" copy /y "%own%\hosts.csv" . >nul
call :move
exit /b

rem Cuts over to an empty server, with scopes.csv and clients.csv as they are.
:move
echo.
echo == 2. Days before: check the files
call :check
echo.
echo == 3. Cut over: scopes, their DNS servers, clients
call :do dhcpmigrate -g scopes.csv -i %server% -d 3600 -o scopes-in.log
if errorlevel 1 exit /b 1
call :do check scopes.csv scopes-in.log
call :dns
call :do dhcpmigrate -l clients.csv -i %server% -o clients-in.log
if errorlevel 1 exit /b 1
call :do check clients.csv clients-in.log
echo.
echo == 4. Verify: what the server holds
call :do show_server server.json
if errorlevel 1 exit /b 1
set hosts=
if exist hosts.csv set hosts=hosts.csv
call :do show_hosts --log clients-in.log --scopes scopes.csv server.json clients.csv %hosts%
exit /b

:check
call :do check scopes.csv
call :do check clients.csv
exit /b

rem The same servers for all scopes; at a gateway, one command for each group of networks.
:dns
for /f "skip=1 tokens=4 delims=," %%s in (scopes.csv) do echo netsh dhcp server %server% scope %%s set optionvalue 6 IPADDRESS 192.0.2.53 192.0.2.54 >>dns.bat
call :batch dns
exit /b

rem Lines of a batch file and answers of netsh.
:batch
echo.
echo ^> %1.bat ^>%1.log 2^>^&1
cmd /c .\%1.bat >%1.log 2>&1
call :count "netsh" %1.bat
set commands=%counted%
call :count "completed successfully" %1.log
echo %commands% commands, %counted% completed successfully; %1.log has the answers
exit /b

rem The program's exit code is 0, except after Ctrl-C, a crash or a missing DLL: the rehearsal then
rem goes on to its clean-up. That of check is 1 after findings, which do not end a rehearsal.
:do
echo.
echo ^> %*
setlocal
rem For their temporary files. Not for the whole script, because Wine's pipes need a plain folder.
set "TEMP=%run%"
set "TMP=%run%"
%*
endlocal & set code=%errorlevel%
if "%code%"=="0" exit /b 0
if "%1 %code%"=="check 1" exit /b 0
echo.
echo %1 ended with code %code%.
exit /b 1

:count
set counted=0
for /f "delims=" %%l in ('type %2 ^| find %1') do set /a counted+=1
exit /b 0

rem Removes only what a rehearsal made: the class of the program id must be the stand-in's, the data
rem folder that of a rehearsal. So this may run at any time, even years after an interrupted run.
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

rem Refuses to run beside anything real that the program could find.
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
