// Finding a parameter by path (and the index behind it), and the checks of
// getParamVal and setParamVal, on small documents.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "sal/config.h"
#include "sal/instance/templates.h"
#include "sal/param_index.h"
#include "sal/xml.h"
#include "simcard.h"
#include "tests/support/sample.h"

namespace simcard {
namespace {

namespace xml = sal::xml;

constexpr std::string_view kDuplicates = R"(<?xml version="1.0"?>
<Doc>
  <Demo n="0" a="TL" ml="8" wf="0"><T n="P00" a="PARAM" rw="RW" uri="k.one"/></Demo>
  <First n="6F10" a="EF" ml="32" wf="0">
    <A n="P00" a="PARAM" ml="8" rw="RW" uri="k.one"/>
    <B n="P01" a="PARAM" ml="8" rw="RW" uri="k.two"/>
  </First>
  <NoKind n="6F11" ml="32" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="k.three"/></NoKind>
  <Lower n="6F12" a="ef" ml="32" wf="0">
    <C n="P00" a="PARAM" ml="8" rw="RW" uri="k.one"/>
    <Odd n="P01" a="SOMETHING" ml="8" rw="RW" uri="k.four"/>
  </Lower>
  <Longer n="6F13" a="EFX" ml="32" wf="0"><D n="P00" a="PARAM" ml="8" rw="RW" uri="k.five"/></Longer>
</Doc>
)";

class Lookup : public testing::SampleTest {
protected:
    static IXML_Node *element(const char *file_tag, const char *param_tag) {
        return child(child(ct_simcfg_root, file_tag), param_tag);
    }
    static IXML_Node *first(const char *uri) {
        return sal::first_param_with_uri(ct_simcfg_root, uri);
    }
};

TEST_F(Lookup, TheFirstParameterOfAFileElementInDocumentOrderWins) {
    EXPECT_EQ(nullptr, findParamNodeByUri("k.one"));
    EXPECT_EQ("[findParamNodeByUri-N]  ct_simcfg_root is null!\n", log());

    load_document(kDuplicates);
    EXPECT_EQ(element("First", "A"), findParamNodeByUri("k.one"));     // not the template's
    EXPECT_EQ(nullptr, findParamNodeByUri("k.three"));                 // its file has no "a"
    EXPECT_EQ(element("Lower", "Odd"), findParamNodeByUri("k.four"));  // child's "a" unchecked
    EXPECT_EQ(element("Longer", "D"), findParamNodeByUri("k.five"));   // "a" starts with EF
    EXPECT_EQ(nullptr, findParamNodeByUri("k"));
    EXPECT_EQ(
        "[findParamNodeByUri-N]  filed node name=A\n"
        "[findParamNodeByUri-N]  filed node name=Odd\n"
        "[findParamNodeByUri-N]  filed node name=D\n",
        log());
}

TEST_F(Lookup, TheIndexFollowsChangesToTheTree) {
    load_document(kDuplicates);
    IXML_Node *a = element("First", "A");
    IXML_Node *c = element("Lower", "C");
    ASSERT_EQ(a, first("k.one"));

    // Values change without a rebuild.
    const auto before = sal::param_index_stats();
    xml::set_attr(a, "dbv", "1");
    xml::set_attr(child(ct_simcfg_root, "First"), "wf", "1");
    EXPECT_EQ(a, first("k.one"));
    EXPECT_EQ(before.builds, sal::param_index_stats().builds);

    // Paths rewritten through the helpers; an earlier element keeps its place.
    ASSERT_EQ(0, xml::set_attr(a, "uri", "k.renamed"));
    EXPECT_EQ(c, first("k.one"));
    EXPECT_EQ(a, first("k.renamed"));
    ASSERT_EQ(0, xml::set_attr(c, "uri", "k.two"));
    EXPECT_EQ(element("First", "B"), first("k.two"));
    xml::set_attr(child(ct_simcfg_root, "First"), "a", "TL");  // no longer a file element
    EXPECT_EQ(c, first("k.two"));
    xml::set_attr(child(ct_simcfg_root, "First"), "a", "EF");

    // A copy of Lower inserted before First: its parameters now come first.
    IXML_Node *copy = instance::insert_next_to(
        child(ct_simcfg_root, "First"), instance::deep_copy(child(ct_simcfg_root, "Lower")), false);
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(child(copy, "C"), first("k.two"));

    // Changes past the helpers are never answered: a path rewritten, a file removed.
    ASSERT_EQ(IXML_SUCCESS,
              ixmlElement_setAttribute(reinterpret_cast<IXML_Element *>(child(copy, "C")), "uri",
                                       "k.other"));
    EXPECT_EQ(element("First", "B"), first("k.two"));
    ASSERT_EQ(a, first("k.renamed"));
    IXML_Node *removed = nullptr;
    ASSERT_EQ(IXML_SUCCESS,
              ixmlNode_removeChild(ct_simcfg_root, child(ct_simcfg_root, "First"), &removed));
    EXPECT_EQ(nullptr, first("k.renamed"));
    ixmlNode_free(removed);

    // Reloaded documents, perhaps at the same addresses.
    load_document(R"(<Doc><F n="6F20" a="EF" ml="8" wf="0"><Z n="P00" uri="k.z"/></F></Doc>)");
    EXPECT_EQ(nullptr, first("k.one"));
    EXPECT_EQ(element("F", "Z"), first("k.z"));
    sal::reset_state();
    load_document(kDuplicates);
    EXPECT_EQ(element("First", "A"), first("k.one"));
    EXPECT_EQ(nullptr, first("k.z"));
}

// ---- getParamVal and setParamVal on a malformed document ------------------------

TEST_F(Lookup, AMalformedDocumentIsRefusedWithoutACrashOrAnOverrun) {
    load_document(R"(<Doc>
  <Good n="6F10" a="EF" ml="64" wf="0">
    <NoRw n="P00" a="PARAM" ml="8" uri="norw"/><NoKind n="P01" ml="8" rw="RW" uri="nokind"/>
    <NotParam n="P02" a="PARAMX" ml="8" rw="RW" uri="notparam"/>
    <NoName a="PARAM" ml="8" rw="RW" uri="noname"/><NoLength n="P04" a="PARAM" rw="RW" uri="nolength"/>
    <Long n="P0501" a="PARAM" ml="8" rw="RW" uri="long" simv2dbv="0=off;1=on"/>
  </Good>
  <NoId a="EF" ml="64" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="noid"/></NoId>
  <NoSize n="6F11" a="EF" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="nosize"/></NoSize>
  <NoWf n="6F12" a="EF" ml="64"><X n="P00" a="PARAM" ml="8" rw="RW" uri="nowf"/></NoWf>
  <Negative n="6F13" a="EF" ml="-1" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="negative"/></Negative>
  <Broken n="6F14" a="EF" ml="64" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="broken"/><Y n="P01" a="PARAM" rw="RW"/></Broken>
  <Full n="6F16" a="EF" ml="16" wf="0"><X n="P00" a="PARAM" ml="32" rw="RW" uri="full" simv2dbv=""/></Full>
</Doc>)");
    open_device();
    card.add_file(0x6F14, 64, R"(<P00="1" P01="2">)");
    card.add_file(0x6F16, 16, R"(<P00="0123456789)");  // 16 bytes: no room for an end
    card.clear_trace();
    auto at = [](const char *uri) { return sal::first_param_with_uri_walk(ct_simcfg_root, uri); };
    const std::tuple<const char *, bool, const char *> refusals[] = {
        // path, set (or get), console output and log
        {"norw", false, "Get Attribute rw failed or is not readable. rw=NULL\n"},
        {"nokind", false, "[getParamVal-N]  get NoKind attribute failed!\n"},
        {"notparam", false, "[getParamVal-N]  NotParam is not PARAM!\n"},
        {"noid", false, "[getParamVal-N]  NoId get file_id failed!\n"},
        {"nosize", false, "[getParamVal-N]  NoSize get file_len failed!\n"},
        {"noname", false, "[getParamVal-N]  NoName get paramid failed!\n"},
        {"nolength", false, "[getParamVal-N]  NoLength get param length failed!\n"},
        {"nowf", false, "wf is NULL\n"},
        {"negative", false, "can't malloc mem ,len :-1\n"},
        {"norw", true, "Node [NoRw] Get attribute rw failed or is not writable. RW=NULL\n"},
        {"noid", true, "[setParamVal-N]  NoId get file_id failed!\n"},
        {"nosize", true, "[setParamVal-N]  NoSize get file_len failed!\n"},
        {"noname", true, "[setParamVal-N]  NoName get paramid failed!\n"},
    };
    for (const auto &[uri, set, said] : refusals) {
        clear_log();
        capture();
        EXPECT_EQ(-1, set ? setParamVal(at(uri), "v") : getParamVal(at(uri))) << uri;
        EXPECT_EQ(said, captured() + log()) << uri;
        EXPECT_EQ("(none)", attr(at(uri), "dbv")) << uri;
    }
    capture();  // a file that cannot be copied stays unloaded
    EXPECT_EQ(-1, getParamVal(at("broken")));
    EXPECT_EQ("syn file data from sim to mem error\n", captured());
    EXPECT_EQ("0", attr(child(ct_simcfg_root, "Broken"), "wf"));
    EXPECT_EQ(0, getParamVal(at("full")));
    EXPECT_EQ("0123456789", attr(at("full"), "dbv"));
    clear_log();  // a record name is logged in three characters
    EXPECT_EQ(0, setParamVal(at("long"), "on"));
    EXPECT_EQ(
        "[setParamVal-N]  [fileid = 6f10 pramid = P05 paramv = on,simv2dbv=0=off;1=on,simv=1]\n",
        log());
}

}  // namespace
}  // namespace simcard
