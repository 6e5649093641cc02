// Records written through the configuration document.
#include <ixml.h>

#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using RecordsModel = testing::CardTest;

TEST_F(RecordsModel, WriteToFileMarksTheFileElementStale) {
    open_device();
    write_file(SIMCARD_PATH_CONFIG,
               R"(<root><f a="EF" n="6F20" ml="40" wf="1"><p a="PARAM" n="P00"/></f></root>)");
    ASSERT_EQ(0, loadSimcardConfigxml());
    card.add_file(0x6F20, 40, R"(<P00="1">)");
    IXML_Element *file = reinterpret_cast<IXML_Element *>(findFileNode(0x6F20));
    ASSERT_NE(nullptr, file);

    ASSERT_EQ(0, simcard_WriteParamToFile(0x6F20, 123, "P00", "7"));
    EXPECT_STREQ("0", ixmlElement_getAttribute(file, "wf"));
    EXPECT_EQ(R"(<P00="7">)", std::string(sim_session.content));

    // Refused writes leave the element as it was.
    ixmlElement_setAttribute(file, "wf", "2");
    card.set_online(false);
    capture();
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F20, 0, "P00", "8"));
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F21, 0, "P00", "7"));
    EXPECT_EQ(-1, simcard_WriteParamToFile(0x6F20, 0, "P00", nullptr));
    EXPECT_EQ("[hal] sim_card_write_param: sim card is not online!\nnode is NULL\nparam is NULL\n",
              captured());
    EXPECT_STREQ("2", ixmlElement_getAttribute(file, "wf"));
}

}  // namespace
}  // namespace simcard
