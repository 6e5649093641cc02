#include "sal/pattern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "sal/instance/paths.h"

namespace simcard {
namespace {

using sal::fill_pattern;

TEST(FillPattern, FillsNumbersAndTextsInTheirOrder) {
    EXPECT_EQ("A.2.WANPPPConnection.1.B.7",
              fill_pattern("A.%d.%s.%d.B.%d", {2, "WANPPPConnection", 1, 7, 9}, 512));
    EXPECT_EQ("-3.100%", fill_pattern("%d.100%%", {-3}, 512));
}

TEST(FillPattern, HostileConversionsAreCopiedAsWritten) {
    EXPECT_EQ("%n%x%p%ld%5d%-s%c 7", fill_pattern("%n%x%p%ld%5d%-s%c %d", {7}, 512));
    // A lone "%" before a blank or at the end.
    EXPECT_EQ("% 1 50%", fill_pattern("% %d 50%", {1}, 512));
}

TEST(FillPattern, ConversionsBeyondTheArgumentsReadNothing) {
    EXPECT_EQ("1.%s.%d.%s", fill_pattern("%d.%s.%d.%s", {1}, 512));
    EXPECT_EQ("x.%s.%s.%s", fill_pattern("%s.%s.%s.%s", {"x"}, 512));
    EXPECT_EQ("%d", fill_pattern("%d", {}, 512));
}

TEST(FillPattern, AnArgumentOfTheOtherKindIsUsedUpWithoutBeingRead) {
    EXPECT_EQ("%d.2", fill_pattern("%d.%d", {"text", 2}, 512));
    EXPECT_EQ("%s.x", fill_pattern("%s.%s", {5, "x"}, 512));
}

TEST(FillPattern, TextArgumentsAreNeverPatterns) {
    EXPECT_EQ("a%d%s%nb", fill_pattern("a%sb", {"%d%s%n"}, 512));
}

TEST(FillPattern, CutsAsSnprintfDoesIntoTheCapacity) {
    EXPECT_EQ("abc", fill_pattern("abcdef", {}, 4));
    EXPECT_EQ("a12", fill_pattern("a%d", {12345}, 4));
    EXPECT_EQ("", fill_pattern("abc", {}, 1));
    EXPECT_EQ("", fill_pattern("abc", {}, 0));
    const std::string tail(1000, 'y');
    const std::string out = fill_pattern(std::string(400, 'x') + "%s%d", {tail, 1}, 512);
    EXPECT_EQ(511u, out.size());
    EXPECT_EQ(std::string(400, 'x') + std::string(111, 'y'), out);
}

InstanceIndexInfo wan_ref(int wan, const char *type, int conn, int inst = 0) {
    InstanceIndexInfo info{};
    info.hasWan = 1;
    info.wanIndex = wan;
    std::strncpy(info.connType, type, sizeof info.connType);
    info.connIndex = conn;
    info.instIndex = inst;
    return info;
}

TEST(FillInstancePattern, ArgumentsFollowThePattern) {
    const InstanceIndexInfo ppp = wan_ref(2, "PPP", 1, 3);
    EXPECT_EQ("D.2.WANPPPConnection.1.PortMapping.3.",
              instance::fill_instance_pattern("D.%d.%s.%d.PortMapping.%d.", ppp, 512));
    EXPECT_EQ("D.2.WANIPConnection.1.X",
              instance::fill_instance_pattern("D.%d.WANIPConnection.%d.X", ppp, 512));
    EXPECT_EQ("D.2.3.", instance::fill_instance_pattern("D.%d.%d.", ppp, 512));
    EXPECT_EQ("D.1.WANIPConnection.4.",
              instance::fill_instance_pattern("D.%d.%s.%d.", wan_ref(1, "ip", 4), 512));

    InstanceIndexInfo plain{};
    plain.instIndex = 2;
    plain.subIndex = 3;
    EXPECT_EQ("C.2.type.3.", instance::fill_instance_pattern("C.%d.type.%d.", plain, 512));

    // No terminator inside connType: it must not run into connIndex.
    const InstanceIndexInfo info = wan_ref(1, "IPV4", 2);
    EXPECT_EQ("IPV4", instance::conn_type(info));
    EXPECT_EQ("1.WANPPPConnection.2", instance::fill_instance_pattern("%d.%s.%d", info, 512));
}

}  // namespace
}  // namespace simcard
