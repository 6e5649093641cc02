// Writing dirty files back to the card, and what survives a failing card.
#include <string>

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

// Files whose parameters have no concrete path still count as written.
TEST_F(Sync, PatternsAndForeignPathsAreSkippedButTheFileIsCommitted) {
    load_document(R"(<c>
      <Real n="6F05" a="EF" ml="256" wf="2">
        <URL n="P00" a="PARAM" ml="128" rw="RW" uri="InternetGatewayDevice.ManagementServer.URL" simv="http://x/"/>
      </Real>
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
    capture();
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ(
        "[sal] simcard_syncData2Sim: enter\n"
        "[sal] simcard_syncData2Sim: file id 0x6f05 is dirty\n"
        "[sal] simcard_syncData2Sim: file id 0x6f06 is dirty\n"
        "[sal] simcard_syncData2Sim: node E don't have attr simv\n"
        "[sal] simcard_syncData2Sim: node NoKind attr a is null\n"
        "[sal] simcard_syncData2Sim: node NoId file id is null\n",
        captured());
    EXPECT_EQ("1", wf(0x6F06));
    EXPECT_EQ(before, card.text(0x6F06));
    EXPECT_EQ("http://x/", record(0x6F05, "P00"));
}

TEST_F(Sync, AFailedCommitLeavesTheFileDirtyAndTheOthersGoOn) {
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
    EXPECT_EQ(std::string::npos, card.text(0x6F05).find('>'));

    // The whole text goes back first; then the file is rewritten and committed.
    EXPECT_EQ(0, simcard_syncData2Sim());
    EXPECT_EQ("1", wf(0x6F05));
    EXPECT_EQ(url, record(0x6F05, "P00"));
    EXPECT_EQ("0", record(0x6F05, "P03"));
    EXPECT_EQ("cpe", record(0x6F05, "P01"));
    EXPECT_EQ("cpe123", record(0x6F05, "P02"));
    EXPECT_EQ("43200", record(0x6F05, "P04"));
    EXPECT_EQ("itms", record(0x6F05, "P05"));
    EXPECT_EQ("itms123", record(0x6F05, "P06"));
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
