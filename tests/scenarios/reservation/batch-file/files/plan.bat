REM ######################################################################
REM Creating command file name for DHCP Server [10.0.0.2]
REM ######################################################################


REM Deleting client [Front Desk] with IP [10.1.0.10 : 0XA01000A] from scope [10.1.0.0] with Mac Address [00-04-70-00-00-aa]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 delete reservedip 10.1.0.10 0004700000aa

REM Deleting client [Front Desk] with IP [10.1.0.110 : 0XA01006E] from scope [10.1.0.0] with Mac Address [de-ad-00-00-01-10]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 delete reservedip 10.1.0.110 dead00000110

REM Adding client [Front Desk] with IP [10.1.0.10 : 0XA01000A] to scope [10.1.0.0] with Mac Address [de-ad-00-00-01-10]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 add reservedip 10.1.0.10 dead00000110 Front Desk

REM Deleting client [] with IP [10.1.0.11 : 0XA01000B] from scope [10.1.0.0] with Mac Address [00-04-70-00-00-bb]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 delete reservedip 10.1.0.11 0004700000bb

REM Deleting client [] with IP [10.1.0.111 : 0XA01006F] from scope [10.1.0.0] with Mac Address [de-ad-00-00-01-11]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 delete reservedip 10.1.0.111 dead00000111

REM Adding client [] with IP [10.1.0.11 : 0XA01000B] to scope [10.1.0.0] with Mac Address [de-ad-00-00-01-11]

netsh dhcp server 10.0.0.2 scope 10.1.0.0 add reservedip 10.1.0.11 dead00000111 

REM ######################################################################
REM Commands are ready to update DHCP Server [10.0.0.2]
REM Make sure you have sufficient privileges to modify DHCP server
REM ######################################################################
