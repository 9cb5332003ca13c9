REM ######################################################################
REM Creating command file name for DHCP Server [10.0.0.2]
REM ######################################################################


REM Adding scope [Head Office]

netsh dhcp server 10.0.0.2 add scope 10.1.0.0 255.255.0.0 Head Office 
netsh dhcp server 10.0.0.2 scope 10.1.0.0 add iprange 10.1.0.1 10.1.255.254
netsh dhcp server 10.0.0.2 scope 10.1.0.0 add excluderange 10.1.0.1 10.1.0.1
netsh dhcp server 10.0.0.2 scope 10.1.0.0 set optionvalue 3 IPADDRESS 10.1.0.1
netsh dhcp server 10.0.0.2 scope 10.1.0.0 set optionvalue 51 DWORD 3600

REM Adding scope [100% & more]

netsh dhcp server 10.0.0.2 add scope annex there 100% & more 
netsh dhcp server 10.0.0.2 scope annex add iprange 0.0.0.0 255.255.255.254
netsh dhcp server 10.0.0.2 scope annex add excluderange here here
netsh dhcp server 10.0.0.2 scope annex set optionvalue 3 IPADDRESS here
netsh dhcp server 10.0.0.2 scope annex set optionvalue 51 DWORD 3600

REM Adding client [Front Desk] with IP [10.1.0.5 : 0XA010005] to scope [10.1.0.0] with Mac Address [00-04-70-AA-BB-CC]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 add reservedip 10.1.0.5 000470AABBCC Front Desk

REM Adding client [%n > %s] with IP [0.0.0.0 : 00000000] to scope [0.0.0.0] with Mac Address [0-4-70-1:2]

netsh dhcp server 10.0.0.2 scope 0.0.0.0 add reservedip 0.0.0.0 04701:2 %n > %s

REM ######################################################################
REM Commands are ready to update DHCP Server [10.0.0.2]
REM Make sure you have sufficient privileges to modify DHCP server
REM ######################################################################
