// The server's rules, one table for each call; the rows of a table run on one state, in order.
#include <gtest/gtest.h>

#include <sstream>

#include "lab/dhcpserver/AddressText.h"
#include "lab/dhcpserver/ServerRules.h"
#include "lab/dhcpserver/StateJson.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr ULONGLONG kNow = 130000000000000000;

struct Row {
    const char* why;
    const char* call;
    DWORD expected;
};

/// A server that takes calls as words; "-" stands for a null pointer.
class Server {
public:
    ServerState state;
    ServerSettings settings;

    DWORD Do(const std::string& call) {
        words_.clear();
        words_.str(call);
        const std::string what = Word();
        ServerRules rules(state, settings, [] { return kNow; });
        if (what == "create") {
            const DWORD id = Address();
            const std::string mask = Word();
            DHCP_SUBNET_INFO info{};
            info.SubnetMask = mask == "-" ? 0 : Parse(mask);
            info.SubnetAddress = words_.good() ? Address() : id;
            return rules.CreateSubnet(id, mask == "-" ? nullptr : &info);
        }
        if (what == "info") {
            const Scope* scope;
            return rules.GetSubnetInfo(Address(), scope);
        }
        if (what == "client") {
            DHCP_CLIENT_INFO_V4 info{};
            info.ClientIpAddress = Address();
            info.SubnetMask = 0xFF;
            info.ClientHardwareAddress = Bytes();
            info.ClientLeaseExpires = {Number(), 0};
            info.OwnerHost.IpAddress = 1;
            info.bClientType = CLIENT_TYPE_BOTH;
            return rules.CreateClient(FromUtf8(Word()).c_str(), info);
        }
        if (what == "delete") {
            return rules.DeleteClient(Address());
        }
        if (what == "option") {
            return SetOption(rules);
        }
        return Element(rules, what == "remove");
    }

    void Expect(const Row& row) {
        SCOPED_TRACE(std::string(row.why) + ": " + row.call);
        EXPECT_EQ(Do(row.call), row.expected);
        ApplyJson(ChangeLine(state), mirror_);
        state.ForgetTouched();
    }
    template <size_t Count>
    void ExpectAll(const Row (&rows)[Count]) {
        for (const Row& row : rows) {
            Expect(row);
        }
        EXPECT_EQ(SnapshotText(mirror_), SnapshotText(state)) << "by the changes alone";
    }
    void Preset(const char* json) { ApplyJson(json, state); }
    /// The lines of the snapshot that hold the text, trimmed and without what all records share.
    std::string Lines(const std::string& part) const {
        std::istringstream lines(SnapshotText(state));
        std::string found;
        for (std::string line; std::getline(lines, line);) {
            if (line.find(part) != line.npos) {
                line.erase(0, line.find_first_not_of(' '));
                found += line + '\n';
            }
        }
        return found;
    }

private:
    std::string Word() {
        std::string word;
        words_ >> word;
        return word;
    }
    static DWORD Parse(const std::string& text) {
        return ParseAddress(FromUtf8(text)).value_or(0xFFFFFFFF);
    }
    DWORD Address() { return Parse(Word()); }
    DWORD Number() { return static_cast<DWORD>(std::stoul(Word())); }
    DHCP_BINARY_DATA Bytes() {
        const std::string word = Word();
        bytes_ = ParseHexBytes(FromUtf8(word)).value_or("");
        BYTE* const data = reinterpret_cast<BYTE*>(bytes_.data());
        return {static_cast<DWORD>(bytes_.size()), word == "-" ? nullptr : data};
    }

    /// add|remove SCOPE TYPE FIRST LAST [FORCE], or ADDRESS IDENTIFIER for type 2.
    DWORD Element(ServerRules& rules, bool isRemoval) {
        const DWORD scope = Address();
        DHCP_SUBNET_ELEMENT_DATA_V4 element{};
        element.ElementType = static_cast<DHCP_SUBNET_ELEMENT_TYPE>(Number());
        const std::string first = Word();
        DHCP_IP_RANGE range{};
        DHCP_CLIENT_UID client{};
        DHCP_IP_RESERVATION_V4 reservation{};
        DWORD force = DhcpFullForce;
        if (element.ElementType == DhcpReservedIps) {
            client = Bytes();
            reservation = {Parse(first), client.Data ? &client : nullptr, CLIENT_TYPE_BOTH};
            element.Element.ReservedIp = first == "-" ? nullptr : &reservation;
        } else if (first != "-") {
            range = {Parse(first), Address()};
            element.Element.IpRange = &range;
            force = words_.good() ? Number() : force;
        }
        return isRemoval ? rules.RemoveElement(scope, element, static_cast<DHCP_FORCE_FLAG>(force))
                         : rules.AddElement(scope, element);
    }

    /// option ID COUNT SCOPETYPE [SCOPE [ADDRESS]]: COUNT elements of type COUNT, "-" for none.
    DWORD SetOption(ServerRules& rules) {
        const DWORD option = Number();
        const std::string count = Word();
        DHCP_OPTION_DATA_ELEMENT elements[16]{};
        DHCP_OPTION_DATA value{0, count == "-" ? nullptr : elements};
        value.NumElements = count == "-" ? 1 : static_cast<DWORD>(std::stoul(count));
        for (auto& element : elements) {
            element.OptionType = static_cast<DHCP_OPTION_DATA_TYPE>(value.NumElements);
            element.Element.DWordDWordOption = 0;
        }
        DHCP_OPTION_SCOPE_INFO where{};
        where.ScopeType = static_cast<DHCP_OPTION_SCOPE_TYPE>(Number());
        if (where.ScopeType == DhcpSubnetOptions) {
            where.ScopeInfo.SubnetScopeInfo = Address();
        } else if (where.ScopeType == DhcpReservedOptions) {
            where.ScopeInfo.ReservedScopeInfo.ReservedIpSubnetAddress = Address();
            where.ScopeInfo.ReservedScopeInfo.ReservedIpAddress = Address();
        }
        return rules.SetOptionValue(option, where, value);
    }

    std::istringstream words_;
    Identifier bytes_;
    ServerState mirror_;  // knows only what the calls said they changed
};

TEST(LabDhcpRules, CreateSubnetAndGetSubnetInfo) {
    Server server;
    server.ExpectAll({
        {"id 0", "create 0.0.0.0 255.255.0.0", 87},
        {"no record", "create 10.1.0.0 -", 87},
        {"id and record differ", "create 10.1.0.0 255.255.0.0 10.2.0.0", 87},
        {"host bits", "create 10.1.2.3 255.255.255.0", 87},
        {"unknown so far", "info 10.1.0.0", 20005},
        {"fresh", "create 10.1.0.0 255.255.0.0", 0},
        {"exactly the id", "info 10.1.0.0", 0},
        {"an address inside is no id", "info 10.1.0.1", 20005},
        {"equal", "create 10.1.0.0 255.255.0.0", 20052},
        {"inside", "create 10.1.255.0 255.255.255.0", 20052},
        {"around", "create 10.0.0.0 255.0.0.0", 20052},
        {"same id, narrower", "create 10.1.0.0 255.255.255.0", 20052},
        {"next to it", "create 10.2.0.0 255.255.0.0", 0},
        {"just before it", "create 10.0.255.0 255.255.255.0", 0},
        {"a single address is a subnet", "create 172.16.0.1 255.255.255.255", 0},
        {"holes in a mask are nobody's business", "create 11.0.0.0 255.0.255.0", 0},
        {"texts that are no addresses", "create 255.255.255.255 255.255.255.255", 0},
    });
    EXPECT_EQ(server.state.Scopes().size(), 6u) << "one for each success";
}

TEST(LabDhcpRules, Ranges) {
    Server server;
    server.ExpectAll({
        {"no scope", "add 10.1.0.0 0 10.1.0.1 10.1.0.2", 20005},
        {"the scope counts before the type", "add 10.1.0.0 1 -", 20005},
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"", "create 10.2.0.0 255.255.255.254", 0},
        {"secondary hosts", "add 10.1.0.0 1 -", 120},
        {"used clusters", "add 10.1.0.0 4 -", 87},
        {"no such type", "add 10.1.0.0 8 -", 87},
        {"null", "add 10.1.0.0 0 -", 87},
        {"backwards", "add 10.1.0.0 0 10.1.0.9 10.1.0.8", 20023},
        {"a /31 has no hosts", "add 10.2.0.0 0 10.2.0.1 10.2.0.0", 20023},
        {"out of the subnet", "add 10.1.0.0 0 10.1.0.1 10.1.1.1", 20023},
        {"from below the subnet", "add 10.1.0.0 0 10.0.255.255 10.1.0.9", 20023},
        {"one address", "add 10.1.0.0 5 10.1.0.20 10.1.0.20", 0},
        {"again", "add 10.1.0.0 6 10.1.0.20 10.1.0.20", 20021},
        {"wider on both sides", "add 10.1.0.0 0 10.1.0.10 10.1.0.30", 0},
        {"narrower", "add 10.1.0.0 7 10.1.0.10 10.1.0.20", 0},
        {"shifted", "add 10.1.0.0 0 10.1.0.15 10.1.0.25", 20023},
        {"apart", "add 10.1.0.0 0 10.1.0.40 10.1.0.50", 20023},
        {"network and broadcast address", "add 10.1.0.0 0 10.1.0.0 10.1.0.255", 0},
        {"remove: null", "remove 10.1.0.0 0 -", 87},
        {"remove: not exactly", "remove 10.1.0.0 0 10.1.0.0 10.1.0.254", 20023},
        {"", "client 10.1.0.255 01 0 x", 0},
        {"remove: in use", "remove 10.1.0.0 0 10.1.0.0 10.1.0.255 1", 20007},
        {"remove: by force", "remove 10.1.0.0 0 10.1.0.0 10.1.0.255 0", 0},
        {"remove: gone", "remove 10.1.0.0 0 10.1.0.0 10.1.0.255 0", 20023},
        {"remove: other types", "remove 10.1.0.0 1 -", 120},
        {"remove: other types", "remove 10.1.0.0 4 -", 87},
    });
    server.Preset(R"({"clients": {"10.1.0.7": {"mac": "07", "type": 2}}})");
    server.ExpectAll({
        {"a plain range while a BOOTP client exists", "add 10.1.0.0 0 10.1.0.1 10.1.0.9", 20049},
        {"a range for both kinds", "add 10.1.0.0 6 10.1.0.1 10.1.0.9", 0},
        {"", "delete 10.1.0.7", 0},
        {"that client is gone", "add 10.1.0.0 0 10.1.0.1 10.1.0.10", 0},
    });
}

TEST(LabDhcpRules, Exclusions) {
    Server server;
    server.ExpectAll({
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"null", "add 10.1.0.0 3 -", 87},
        {"backwards", "add 10.1.0.0 3 10.1.0.9 10.1.0.8", 20023},
        {"out of the subnet", "add 10.1.0.0 3 10.1.0.250 10.1.1.1", 20023},
        {"no range is needed", "add 10.1.0.0 3 10.1.0.20 10.1.0.29", 0},
        {"the same", "add 10.1.0.0 3 10.1.0.20 10.1.0.29", 20023},
        {"over its end", "add 10.1.0.0 3 10.1.0.29 10.1.0.35", 20023},
        {"over its start", "add 10.1.0.0 3 10.1.0.15 10.1.0.20", 20023},
        {"inside", "add 10.1.0.0 3 10.1.0.22 10.1.0.23", 20023},
        {"around", "add 10.1.0.0 3 10.1.0.2 10.1.0.99", 20023},
        {"next to it", "add 10.1.0.0 3 10.1.0.30 10.1.0.30", 0},
        {"a lease does not matter", "client 10.1.0.5 05 7 x", 0},
        {"a lease does not matter", "add 10.1.0.0 3 10.1.0.5 10.1.0.5", 0},
        {"a reservation wins over it", "add 10.1.0.0 2 10.1.0.21 0a", 0},
        {"remove: null", "remove 10.1.0.0 3 -", 87},
        {"remove: starts in none", "remove 10.1.0.0 3 10.1.0.19 10.1.0.29", 20007},
        {"remove: starts behind the last", "remove 10.1.0.0 3 10.1.0.31 10.1.0.31", 20007},
        {"remove: another end", "remove 10.1.0.0 3 10.1.0.20 10.1.0.28", 87},
        {"remove: another start", "remove 10.1.0.0 3 10.1.0.21 10.1.0.29", 87},
        {"remove: exact", "remove 10.1.0.0 3 10.1.0.20 10.1.0.29", 0},
    });
    EXPECT_EQ(server.Lines("exclusions"),
              "\"exclusions\": {\"10.1.0.5\":\"10.1.0.5\",\"10.1.0.30\":\"10.1.0.30\"},\n");
}

TEST(LabDhcpRules, AddingReservations) {
    Server server;
    server.ExpectAll({
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"", "create 10.2.0.0 255.255.255.0", 0},
        {"null", "add 10.1.0.0 2 -", 87},
        {"no identifier", "add 10.1.0.0 2 10.1.0.5 -", 87},
        {"an empty identifier", "add 10.1.0.0 2 10.1.0.5 ", 87},
        {"outside of the subnet", "add 10.1.0.0 2 10.2.0.5 aabb", 20018},
        {"no range is needed", "add 10.1.0.0 2 10.1.0.5 aabb", 0},
        {"the address again", "add 10.1.0.0 2 10.1.0.5 aacc", 20022},
        {"the hardware again", "add 10.1.0.0 2 10.1.0.6 aabb", 20022},
        {"the hardware in another scope", "add 10.2.0.0 2 10.2.0.5 aabb", 0},
        {"", "client 10.1.0.7 07 777 10.0.0.2", 0},
        {"leased to another one", "add 10.1.0.0 2 10.1.0.7 08", 20022},
        {"its lease is elsewhere", "add 10.1.0.0 2 10.1.0.8 07", 20022},
        {"its own lease stays as it is", "add 10.1.0.0 2 10.1.0.7 07", 0},
    });
    EXPECT_EQ(server.Lines("\"0000010a"),  // unique ids of 10.1.0.0
              "\"10.1.0.5\": {\"mac\":\"aa-bb\",\"uniqueId\":\"0000010a01aabb\",\"name\":null,"
              "\"comment\":null,\"expires\":0,\"type\":100,\"ownerName\":\"DHCPLAB\","
              "\"ownerAddress\":\"255.255.255.255\"},\n"
              "\"10.1.0.7\": {\"mac\":\"07\",\"uniqueId\":\"0000010a0107\",\"name\":null,"
              "\"comment\":null,\"expires\":777,\"type\":100,\"ownerName\":\"DHCPLAB\","
              "\"ownerAddress\":\"10.0.0.2\"},\n");
    server.settings.reserveLeasedCode = kJetError;
    server.ExpectAll({{"", "client 10.1.0.9 09 9 x", 0},
                      {"switched: leased", "add 10.1.0.0 2 10.1.0.9 08", 20013},
                      {"switched: reserved", "add 10.1.0.0 2 10.1.0.5 08", 20022}});
}

TEST(LabDhcpRules, RemovingReservationsAndLeases) {
    Server server;
    server.ExpectAll({
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"null", "remove 10.1.0.0 2 -", 87},
        {"neither reservation nor lease", "remove 10.1.0.0 2 10.1.0.5 05", 20013},
        {"", "client 10.1.0.5 05 5 x", 0},
        {"a lease alone: deleted, whoever asks", "remove 10.1.0.0 2 10.1.0.5 99", 0},
        {"it is gone", "delete 10.1.0.5", 20013},
        {"never leased: record goes, too", "add 10.1.0.0 2 10.1.0.6 06", 0},
        {"another hardware address", "remove 10.1.0.0 2 10.1.0.6 99", 20019},
        {"a reserved record", "delete 10.1.0.6", 20019},
        {"by the long identifier", "remove 10.1.0.0 2 10.1.0.6 0000010a0106", 0},
        {"it is gone", "delete 10.1.0.6", 20013},
        {"", "client 10.1.0.7 07 777 x", 0},
        {"", "add 10.1.0.0 2 10.1.0.7 07", 0},
        {"leased: record stays", "remove 10.1.0.0 2 10.1.0.7 07", 0},
        {"its address cannot be given anew", "client 10.1.0.7 08 1 x", 20013},
    });
    const auto expiry = [](ULONGLONG seconds) {
        return "\"expires\":" + std::to_string(kNow + seconds * 10000000);
    };
    EXPECT_NE(server.Lines("\"mac\":\"07\"").find(expiry(691200)), std::string::npos);
    const auto leaseAfterRemoval = [&server] {
        server.ExpectAll({{"reserved again", "add 10.1.0.0 2 10.1.0.7 07", 0},
                          {"and removed", "remove 10.1.0.0 2 10.1.0.7 07", 0}});
        return server.Lines("\"mac\":\"07\"");
    };
    server.Preset(R"({"server": {"options": {"51": [{"dword": 60}]}}})");
    EXPECT_NE(leaseAfterRemoval().find(expiry(60)), std::string::npos) << "the server's lease time";
    server.Preset(R"({"scopes": {"10.1.0.0": {"options": {"51": [{"dword": 5}]}}}})");
    EXPECT_NE(leaseAfterRemoval().find(expiry(5)), std::string::npos) << "the scope's lease time";
    server.Preset(R"({"scopes": {"10.1.0.0": {"reservations": {"10.1.0.9": {"mac": "09"}}}}})");
    server.ExpectAll({{"no record: removed all the same", "remove 10.1.0.0 2 10.1.0.9 09", 20013},
                      {"so it is free", "add 10.1.0.0 2 10.1.0.10 09", 0}});
}

TEST(LabDhcpRules, OptionValues) {
    Server server;
    server.ExpectAll({
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"", "create 10.2.0.0 255.255.255.0", 0},
        {"", "add 10.1.0.0 2 10.1.0.5 05", 0},
        {"no elements", "option 99 - 2 10.9.0.0", 87},
        {"zero elements", "option 99 0 2 10.9.0.0", 87},
        {"an element type that no call can carry", "option 3 9 2 10.1.0.0", 87},
        {"not defined, which counts before the scope", "option 77 2 2 10.9.0.0", 20010},
        {"not defined", "option 0 2 2 10.1.0.0", 20010},
        {"a defined one apart", "option 81 2 2 10.1.0.0", 0},
        {"the last of the block", "option 76 4 2 10.1.0.0", 0},
        {"no scope", "option 3 4 2 10.9.0.0", 20005},
        {"the server's", "option 3 4 1", 0},
        {"the default", "option 3 4 0", 0},
        {"multicast scopes: none here", "option 3 4 4", 87},
        {"reserved: in no scope", "option 3 4 3 10.1.0.0 10.9.0.5", 2},
        {"reserved: nobody", "option 3 4 3 10.1.0.0 10.1.0.6", 20018},
        {"reserved: the wrong scope", "option 3 4 3 10.2.0.0 10.1.0.5", 20005},
        {"reserved", "option 3 1 3 10.1.0.0 10.1.0.5", 0},
        {"the router as strings: taken", "option 3 5 2 10.1.0.0", 0},
        {"replaced", "option 3 2 2 10.1.0.0", 0},
    });
    EXPECT_EQ(server.Lines("\"3\""),
              "\"defaults\": {\"3\":[{\"ip\":\"0.0.0.0\"},{\"ip\":\"0.0.0.0\"},{\"ip\":\"0.0.0.0\"}"
              ",{\"ip\":\"0.0.0.0\"}]},\n"
              "\"options\": {\"3\":[{\"ip\":\"0.0.0.0\"},{\"ip\":\"0.0.0.0\"},{\"ip\":\"0.0.0.0\"},"
              "{\"ip\":\"0.0.0.0\"}]}\n"
              "\"reservations\": {\"10.1.0.5\":{\"mac\":\"05\",\"types\":3,"
              "\"options\":{\"3\":[{\"word\":0}]}}},\n"
              "\"3\": [{\"dword\":0},{\"dword\":0}],\n");
}

TEST(LabDhcpRules, CreatingClients) {
    Server server;
    const std::string longest(510, 'a');
    const std::string tooLong = "client 10.1.0.9 " + longest + "aa 0 x";
    const std::string fits = "client 10.1.0.9 " + longest + " 0 x";
    server.ExpectAll({
        {"", "create 10.1.0.0 255.255.255.0", 0},
        {"", "create 10.2.0.0 255.255.255.0", 0},
        {"", "add 10.1.0.0 3 10.1.0.6 10.1.0.6", 0},
        {"no hardware address", "client 10.1.0.5 - 0 x", 87},
        {"an identifier too long", tooLong.c_str(), 87},
        {"no scope", "client 10.9.0.5 05 0 x", 87},
        {"one byte is enough", "client 10.1.0.5 00 0 server.example", 0},
        {"the address again", "client 10.1.0.5 01 0 x", 20013},
        {"the hardware again", "client 10.1.0.6 00 0 x", 20013},
        {"the hardware in another scope", "client 10.2.0.5 00 0 x", 0},
        {"excluded, outside of any range, expired", "client 10.1.0.6 06 1 127.0.0.1", 0},
        {"the longest identifier", fits.c_str(), 0},
        {"a reserved address", "add 10.1.0.0 2 10.1.0.7 07", 0},
        {"has its record already", "client 10.1.0.7 07 0 x", 20013},
    });
    EXPECT_NE(server.Lines("\"mac\":\"06\"")
                  .find("\"type\":100,\"ownerName\":\"DHCPLAB\","
                        "\"ownerAddress\":\"127.0.0.1\""),
              std::string::npos)
        << "type and owner are the server's";
    EXPECT_NE(server.Lines("\"10.1.0.5\"").find("\"ownerAddress\":\"255.255.255.255\""),
              std::string::npos)
        << "a host name is no address";
}

TEST(LabDhcpRules, EnumeratingClients) {
    Server server;
    server.ExpectAll({{"", "create 10.1.0.0 255.255.255.0", 0},
                      {"", "create 10.2.0.0 255.255.255.0", 0},
                      {"", "create 10.3.0.0 255.255.255.0", 0}});
    const auto list = [&server](const char* subnet, const char* resume, DWORD bytes) {
        ClientPage page;
        const DWORD code = ServerRules(server.state, server.settings)
                               .EnumClients(*ParseAddress(FromUtf8(subnet)),
                                            *ParseAddress(FromUtf8(resume)), bytes, page);
        std::string text = std::to_string(code) + (page.hasArray ? ":" : " none");
        for (const auto& found : page.clients) {
            text += " " + Dotted(found.address) + "/" + Dotted(found.mask);
        }
        return text + " total " + std::to_string(page.total) + " resume " + Dotted(page.resume);
    };
    EXPECT_EQ(list("10.1.0.0", "0.0.0.0", 65536), "259 none total 0 resume 0.0.0.0");
    EXPECT_EQ(list("10.9.0.0", "0.0.0.0", 65536), "0: total 0 resume 0.0.0.0");
    server.ExpectAll({{"", "client 10.2.0.9 09 0 x", 0},
                      {"", "client 10.2.0.10 0a 0 x", 0},
                      {"", "client 10.1.0.200 c8 0 x", 0}});
    const struct {
        const char* why;
        const char* subnet;
        const char* resume;
        DWORD pageBytes;  // a record takes 80 + 8 + 1 bytes, and 16 for the owner's name
        const char* expected;
    } rows[] = {
        {"by address, not by text", "10.2.0.0", "0.0.0.0", 0,
         "0: 10.2.0.9/255.255.255.0 10.2.0.10/255.255.255.0 total 2 resume 0.0.0.0"},
        {"an empty scope among others", "10.3.0.0", "0.0.0.0", 0, "0: total 0 resume 0.0.0.0"},
        {"everything", "0.0.0.0", "0.0.0.0", 0,
         "0: 10.1.0.200/255.255.255.0 10.2.0.9/255.255.255.0 10.2.0.10/255.255.255.0 total 3 "
         "resume 0.0.0.0"},
        {"exactly full", "10.2.0.0", "0.0.0.0", 210,
         "0: 10.2.0.9/255.255.255.0 10.2.0.10/255.255.255.0 total 2 resume 0.0.0.0"},
        {"one byte short", "10.2.0.0", "0.0.0.0", 209,
         "234: 10.2.0.9/255.255.255.0 total 2147483647 resume 10.2.0.9"},
        {"at least one", "10.2.0.0", "10.2.0.9", 1,
         "0: 10.2.0.10/255.255.255.0 total 1 resume 0.0.0.0"},
        {"behind the last", "10.2.0.0", "10.2.0.10", 0, "0: total 0 resume 0.0.0.0"},
        {"on from a record that went", "10.2.0.0", "10.2.0.8", 0,
         "20013 none total 0 resume 0.0.0.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        server.settings.pageBytes = row.pageBytes;
        EXPECT_EQ(list(row.subnet, row.resume, 0xFFFFFFFF), row.expected);
    }
    server.settings.pageBytes = 0;
    server.Do("create 10.4.0.0 255.255.0.0");
    for (DWORD i = 0; i < 700; ++i) {
        server.Do("client " + Dotted(0x0A040000 + i) + " " + std::to_string(1000 + i) + " 0 x");
    }
    // Records of 80 + 8 + 2 + 16 bytes: 9 of them fit into 1024, 618 into 65536.
    const std::string small = list("10.4.0.0", "0.0.0.0", 1);
    EXPECT_EQ(small.substr(small.find(" total")), " total 2147483647 resume 10.4.0.8");
    const std::string large = list("10.4.0.0", "0.0.0.0", 0xFFFFFFFF);
    EXPECT_EQ(large.substr(large.find(" total")), " total 2147483647 resume 10.4.2.105");
    server.settings.nullEmptyPages = true;
    server.settings.enumUnknownSubnetCode = kSubnetNotPresent;
    EXPECT_EQ(list("10.9.0.0", "0.0.0.0", 0), "20005 none total 0 resume 0.0.0.0");
    EXPECT_EQ(list("10.2.0.0", "10.2.0.10", 0), "0 none total 0 resume 0.0.0.0");
    server.settings.enumStuck = true;
    EXPECT_EQ(list("10.2.0.0", "10.2.0.9", 0), "234 none total 2147483647 resume 10.2.0.9");
}

TEST(LabDhcpState, JsonRoundTripsAndIsStable) {
    const std::string text = R"({
  "server": {"optionDefinitions":"1-3, 51","defaults":{"3":[{"ip":"1.2.3.4"}]},"options":{}},
  "scopes": {
    "9.0.0.0": {
      "mask": "255.0.0.0",
      "name": "B\u00fcro \"1\"",
      "comment": "",
      "state": 1,
      "range": {"first":"9.0.0.1","last":"9.0.0.2"},
      "exclusions": {"9.0.0.1":"9.0.0.1","10.0.0.1":"10.0.0.2"},
      "reservations": {},
      "options": {"3":[{"string":"x"},{"binary":"00-ff"},{"byte":255},{"dwordDword":18446744073709551615}]}
    }
  },
  "clients": {
    "9.0.0.9": {"mac":"0a","uniqueId":"00000009010a","name":null,"comment":"c","expires":9223372036854775807,"type":1,"ownerName":null,"ownerAddress":"1.1.1.1"}
  }
}
)";
    ServerState state;
    ApplyJson(text, state);
    std::string expected = text;
    expected.replace(expected.find("\\u00fc"), 6, "\xC3\xBC");
    EXPECT_EQ(SnapshotText(state), expected);
    ServerState again;
    ApplyJson(SnapshotText(state), again);
    EXPECT_EQ(SnapshotText(again), SnapshotText(state));
}

TEST(LabDhcpState, WhatNoServerCanHoldIsRefusedWithItsPlace) {
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"{\"scopes\":{", "no JSON: incomplete JSON"},
        {"[]", "state: not an object"},
        {R"({"scope":{}})", "state/scope: unknown"},
        {R"({"scopes":{"10.1":{"mask":"255.0.0.0"}}})", "scopes/10.1: not an address"},
        {R"({"scopes":{"10.0.0.0":{"mask":"255.0.0.0","exlusions":{}}}})",
         "scopes/10.0.0.0/exlusions: unknown"},
        {R"({"scopes":{"10.0.0.0":{"mask":"255.0.0.0"},"10.1.0.0":{"mask":"255.255.0.0"}}})",
         "scopes/10.1.0.0: without a mask, with host bits, or on top of another scope"},
        {R"({"clients":{"10.0.0.5":{"mac":"01"}}})", "clients/10.0.0.5: in no scope"},
        {R"({"scopes":{"10.0.0.0":{"mask":"255.0.0.0"}},"clients":{"10.0.0.5":{"mac":"01",)"
         R"("uniqueId":"0000000a0102"}}})",
         "clients/10.0.0.5: mac and uniqueId do not belong together"},
        {R"({"server":{"options":{"3":[{"Ip":"1.1.1.1"}]}}})",
         "server/options/3: not an element like {\"ip\": \"10.1.0.1\"}"},
    };
    for (const auto& row : rows) {
        ServerState state;
        try {
            ApplyJson(row.text, state);
            ADD_FAILURE() << row.text;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), row.error);
        }
    }
}

}  // namespace
}  // namespace lab
