// Writing dirty files back to the card, and what survives a failing card.
#include <string>

#include "sal/xml.h"
#include "tests/sync/fixture.h"

namespace simcard::testing {
namespace {

namespace ins = vcard::ins;

class Sync : public Started {};

TEST_F(Sync, WritesTheChangedFilesAndMarksThemClean) {
    ASSERT_EQ(0, simcard_setParamValueByUri(kUrl, "http://acs.test/"));
    ASSERT_EQ(0, simcard_setParamValueByUri(kInform, "false"));
    ASSERT_EQ("2", wf(0x6F05));
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    const std::string out = captured();
    EXPECT_EQ(0u, out.find("[sal] simcard_syncData2Sim: enter\n"
                           "[sal] simcard_syncData2Sim: file id 0x6f05 is dirty\n"));
    // Parameters the tree holds no card value for are reported and left alone.
    EXPECT_NE(std::string::npos,
              out.find("[sal] simcard_syncData2Sim: node Username don't have attr simv\n"));
    EXPECT_EQ("1", wf(0x6F05));
    EXPECT_EQ("http://acs.test/", record(0x6F05, "P00"));
    EXPECT_EQ("0", record(0x6F05, "P03"));
    EXPECT_EQ("cpe", record(0x6F05, "P01"));
    EXPECT_EQ("43200", record(0x6F05, "P04"));
    // Only the dirty file went to the card, committed once.
    for (const auto *e : card.commands(ins::kSelect)) {
        EXPECT_EQ(0x6F05, e->data[0] << 8 | e->data[1]);
    }

    card.clear_trace();
    EXPECT_EQ(0, simcard_syncData2Sim());  // nothing dirty any more
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));
}

class NotStarted : public SampleTest {};

TEST_F(NotStarted, SyncRefusesBeforeStartUp) {
    capture();
    EXPECT_EQ(-1, simcard_syncData2Sim());
    EXPECT_EQ(
        "[sal] simcard_syncData2Sim: enter\n"
        "[sal] simcard_syncData2Sim: sim card not init\n",
        captured());
}

// A dirty file none of whose parameters has a concrete path commits what the
// session holds: its own text goes back; another file's text is not sent and
// the file stays dirty; no text at all fails as the save does.
TEST_F(Sync, AFileWithNothingToWriteCommitsOnlyItsOwnText) {
    load_document(R"(<c>
      <Patterns n="6F06" a="EF" ml="192" wf="2">
        <A n="P00" a="PARAM" ml="1" uri="InternetGatewayDevice.X.%d.A" simv="9"/>
        <B n="P01" a="PARAM" ml="1" uri="%s.%d.B" simv="9"/>
        <C n="P02" a="PARAM" ml="1" uri="Device.Other" simv="9"/>
        <D n="P03" a="PARAM" ml="1" uri="" simv="9"/>
        <E n="P04" a="PARAM" ml="1" uri="InternetGatewayDevice.E"/>
      </Patterns>
      <NoKind n="6F07"/>
      <NoId a="EF" wf="2"/>
      <Tmpl n="0" a="tl" wf="2"/>
    </c>)");
    const std::string before = card.text(0x6F06);
    char value[64];
    ASSERT_EQ(0, sim_card_read_param(0x7F80, 0x6F06, "P00", value, 0));
    card.clear_trace();
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ(
        "[sal] simcard_syncData2Sim: enter\n"
        "[sal] simcard_syncData2Sim: file id 0x6f06 is dirty\n"
        "[sal] simcard_syncData2Sim: node E don't have attr simv\n"
        "[sal] simcard_syncData2Sim: node NoKind attr a is null\n"
        "[sal] simcard_syncData2Sim: node NoId file id is null\n",
        captured());
    EXPECT_EQ("1", wf(0x6F06));
    EXPECT_EQ(before, card.text(0x6F06));
    EXPECT_EQ(0u, card.count(ins::kSelect));
    EXPECT_EQ(1u, card.count(ins::kUpdateBinary));

    ASSERT_EQ(0, sim_card_read_param(0x7F80, 0x6F05, "P00", value, 0));
    sal::xml::set_attr(findFileNode(0x6F06), "wf", "2");
    card.clear_trace();
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos,
              captured().find("[sal] simcard_syncData2Sim: file id 0x6f06 save to sim error\n"));
    EXPECT_NE(std::string::npos,
              log().find("file id 0x6f06 not saved: the session holds the text of file 0x6f05\n"));
    EXPECT_EQ("2", wf(0x6F06));
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));

    ASSERT_LE(0, sim_card_select_file(0x7F80, 0x6F04));  // drops the text
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos, captured().find("[hal]: sim session content is NULL\n"
                                                 "[sal] simcard_syncData2Sim: file id 0x6f06 "
                                                 "save to sim error\n"));
    EXPECT_EQ("2", wf(0x6F06));
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));
}

// The card keeps what it took of a commit cut part-way; the next round reads
// that back and stops there, leaving the files after it alone.
TEST_F(Sync, AFailedCommitLeavesTheFileDirtyAndTheNextRoundStopsAtIt) {
    // Long enough for two UPDATE BINARY chunks; the second one fails.
    const std::string url = "http://" + std::string(110, 'a') + ".test/acs";
    ASSERT_EQ(0, simcard_setParamValueByUri(kUrl, url.c_str()));
    ASSERT_EQ(0, simcard_setParamValueByUri(kInform, "false"));
    ASSERT_EQ(0, simcard_setParamValueByUri(kMinAddress, "192.168.1.50"));
    card.fail_status(ins::kUpdateBinary, 0x65, 0x81, /*skip=*/1);
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos,
              captured().find("[sal] simcard_syncData2Sim: file id 0x6f05 save to sim error\n"));
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ("1", wf(0x6F06));
    EXPECT_EQ("192.168.1.50", record(0x6F06, "P01"));
    // Torn: the card took the first chunk only, and its record lost its ">".
    const std::string torn = card.text(0x6F05);
    EXPECT_EQ(std::string::npos, torn.find('>'));

    ASSERT_EQ(0, simcard_setParamValueByUri(kMinAddress, "192.168.1.60"));
    const std::string lan = card.text(0x6F06);
    card.clear_trace();
    capture();
    EXPECT_EQ(-1, simcard_syncData2Sim());
    EXPECT_NE(std::string::npos,
              captured().find("simcard conten failed " + torn +
                              "\n"
                              "[hal] sim_card_write_param: sim_combin_new_file_value error\n"
                              "[sal] simcard_syncData2Sim: file id 0x6f05 P00 write param "
                              "error...value=" +
                              url + "\n"));
    // Only the steps' own commands: the file read once, nothing written.
    EXPECT_EQ(1u, card.count(ins::kSelect));
    EXPECT_EQ(2u, card.count(ins::kReadBinary));
    EXPECT_EQ(0u, card.count(ins::kUpdateBinary));
    EXPECT_EQ(torn, card.text(0x6F05));
    EXPECT_EQ("2", wf(0x6F05));
    EXPECT_EQ("2", wf(0x6F06));
    EXPECT_EQ(lan, card.text(0x6F06));
}

TEST_F(Sync, TheSelfTestDumpsATreeThatLoadsAgain) {
    write_file("/tmp/.keep", "");
    capture();
    EXPECT_EQ(0, testsynsimtomem());
    EXPECT_NE(std::string::npos, captured().find("#################\n"));
    IXML_Document *doc = nullptr;
    const int rc = ixmlLoadDocumentEx(path("/tmp/mem.xml").c_str(), &doc);
    ASSERT_EQ(0, rc) << read_file("/tmp/mem.xml").substr(0, 300);
    ixmlDocument_free(doc);
}

}  // namespace
}  // namespace simcard::testing
