// Records and constants of the DHCP Server Management API on 64-bit Windows, from Microsoft's
// public reference. Declared again instead of sharing the program's header, so that a wrong
// declaration in the program shows up.
// Addresses are numbers in host order, texts UTF-16; pointers may be null.
#pragma once

#include <windows.h>

#include <cstddef>

namespace lab::api {

struct Binary {
    DWORD bytes;
    BYTE* data;
};

struct Host {
    DWORD address;  // network order when the server returns it
    WCHAR* netBiosName;
    WCHAR* hostName;
};

struct SubnetInfo {
    DWORD address;
    DWORD mask;
    WCHAR* name;
    WCHAR* comment;
    Host primaryHost;
    DWORD state;
};

struct Range {
    DWORD first;
    DWORD last;
};

struct Reservation {
    DWORD address;
    Binary* client;
    BYTE allowedTypes;
};

struct Element {
    DWORD type;
    union {
        Range* range;
        Reservation* reservation;
    };
};

struct OptionScope {
    DWORD type;
    union {
        DWORD subnet;
        void* others;  // of levels that the lab does not support
    };
};

struct OptionElement {
    DWORD type;
    union {
        DWORD number;
        Binary others;  // of kinds that the lab does not support
    };
};

struct OptionData {
    DWORD count;
    OptionElement* elements;
};

struct Client {
    DWORD address;
    DWORD mask;
    Binary hardware;
    WCHAR* name;
    WCHAR* comment;
    DWORD expires[2];  // FILETIME: low and high half
    Host owner;
    BYTE type;
};

struct ClientArray {
    DWORD count;
    Client** clients;
};

static_assert(sizeof(Host) == 24 && offsetof(Host, hostName) == 16);
static_assert(sizeof(SubnetInfo) == 56 && offsetof(SubnetInfo, primaryHost) == 24);
static_assert(offsetof(SubnetInfo, state) == 48 && sizeof(Range) == 8);
static_assert(sizeof(Reservation) == 24 && offsetof(Reservation, allowedTypes) == 16);
static_assert(sizeof(Element) == 16 && offsetof(Element, range) == 8);
static_assert(sizeof(OptionScope) == 16 && offsetof(OptionScope, subnet) == 8);
static_assert(sizeof(OptionElement) == 24 && offsetof(OptionElement, number) == 8);
static_assert(sizeof(OptionData) == 16 && sizeof(ClientArray) == 16);
static_assert(sizeof(Client) == 80 && offsetof(Client, hardware) == 8 &&
              offsetof(Client, name) == 24 && offsetof(Client, expires) == 40 &&
              offsetof(Client, owner) == 48 && offsetof(Client, type) == 72);

constexpr DWORD kElementRange = 0;
constexpr DWORD kElementReservation = 2;
constexpr DWORD kElementExclusion = 3;
constexpr DWORD kFullForce = 0;
constexpr DWORD kOptionScopeSubnet = 2;
constexpr DWORD kOptionDword = 2;
constexpr DWORD kOptionAddress = 4;
constexpr BYTE kTypeDhcp = 1;
constexpr BYTE kTypeBootp = 2;
constexpr BYTE kTypeBoth = 3;
constexpr BYTE kTypeNone = 100;

}  // namespace lab::api
