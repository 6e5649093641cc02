// Local restore: the files the document marks go back to factory contents.
#include <cstdio>
#include <string>
#include <vector>

#include "tests/sync/fixture.h"

namespace simcard::testing {
namespace {

namespace ins = vcard::ins;

class Restore : public SampleTest {};

TEST_F(Restore, ResetsTheMarkedFilesWithoutStartUp) {
    const std::string untouched = card.text(0x6F04);
    EXPECT_EQ(0, simcard_local_restore());
    // 6F05 and 6F06: bits 3 and 4 of the reset bitmap's first byte.
    ASSERT_EQ(1u, card.count(ins::kFactoryReset));
    EXPECT_EQ(std::vector<uint8_t>{0x18}, card.commands(ins::kFactoryReset)[0]->data);
    EXPECT_NE(std::string::npos, card.text(0x6F05).find("acs.example.net"));
    EXPECT_NE(std::string::npos, card.text(0x6F06).find("192.168.1.2\""));
    EXPECT_EQ(untouched, card.text(0x6F04));
    EXPECT_EQ(
        "[simcard_local_restore-N]  fileid=0x6f05 sim_card_factory_reset!\n"
        "[simcard_local_restore-N]  fileid=0x6f06 sim_card_factory_reset!\n",
        log().substr(log().find("[simcard_local_restore")));
    EXPECT_EQ(0, isSimCardInitSuccessed());  // restore is no start-up
}

TEST_F(Restore, WorksOnAStartedLibraryWithoutTouchingTheTree) {
    ASSERT_EQ(0, simcard_init());
    ASSERT_EQ(0, simcard_setParamValueByUri(kUrl, "http://mine/"));
    clear_log();
    capture();
    EXPECT_EQ(0, simcard_local_restore());
    EXPECT_EQ("libsimcard: already init\n", captured());
    EXPECT_STREQ("http://mine/", simcard_getParamValueByUri(kUrl));
    EXPECT_NE(std::string::npos, card.text(0x6F05).find("acs.example.net"));
}

TEST_F(Restore, OddDocumentsAndFailures) {
    write_document(R"(<c>
      <NoKind n="6F05" rf="1"/>
      <Tmpl n="0" a="TL" rf="1"/>
      <NoId a="EF" rf="1"/>
      <Two n="6F06" a="EF" rf="2"/>
    </c>)");
    EXPECT_EQ(0, simcard_local_restore());
    EXPECT_EQ(std::vector<uint8_t>{0x00}, card.commands(ins::kFactoryReset)[0]->data);
    const std::string text = log();
    EXPECT_NE(std::string::npos, text.find("[sal] node NoKind attr a is null\n"));
    EXPECT_NE(std::string::npos, text.find("[sal] node NoId file id is null\n"));

    card.fail_status(ins::kFactoryReset, 0x98, 0x04);
    clear_log();
    EXPECT_EQ(0, simcard_local_restore());
    EXPECT_NE(std::string::npos, log().find("sim_card_factory_reset failed!resetnum=0\n"));
}

TEST_F(Restore, NeedsTheDocument) {
    write_document("<broken");
    EXPECT_EQ(-1, simcard_local_restore());
    EXPECT_NE(std::string::npos, log().find("loadSimcardConfigxml failed!\n"));
}

// The list has no fixed size: every marked file is reset.
TEST_F(Restore, ADocumentMarkingMoreThan200FilesHasThemAllReset) {
    std::string doc = "<c>";
    for (int i = 0; i < 205; ++i) {
        char id[8];
        std::snprintf(id, sizeof id, "%04X", 0x6F02 + i % 200);
        doc += std::string("<F n=\"") + id + "\" a=\"EF\" rf=\"1\"/>";
    }
    doc += "</c>";
    write_document(doc);
    EXPECT_EQ(0, simcard_local_restore());
    const std::string lines = log();
    size_t resets = 0;
    for (size_t at = lines.find("sim_card_factory_reset!"); at != std::string::npos;
         at = lines.find("sim_card_factory_reset!", at + 1)) {
        ++resets;
    }
    EXPECT_EQ(205u, resets);
    EXPECT_NE(std::string::npos, lines.find("fileid=0x6f06 sim_card_factory_reset!\n"));
    ASSERT_EQ(1u, card.count(ins::kFactoryReset));
    EXPECT_EQ(std::vector<uint8_t>(25, 0xFF), card.commands(ins::kFactoryReset)[0]->data);
}

}  // namespace
}  // namespace simcard::testing
