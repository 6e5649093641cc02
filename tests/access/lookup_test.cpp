// Finding a parameter by path (and the index behind it), and the
// checks of getParamVal and setParamVal, on small documents.
#include <gmock/gmock.h>

#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "sal/config.h"
#include "sal/instance/templates.h"
#include "sal/param_index.h"
#include "tests/access/fixture.h"

namespace simcard {
namespace {

using testing::attr_text;
using ::testing::HasSubstr;
using testing::SampleTest;
namespace ins = vcard::ins;
namespace xml = sal::xml;

constexpr std::string_view kDuplicates = R"(<?xml version="1.0"?>
<Doc>
  <Demo n="0" a="TL" ml="8" wf="0"><T n="P00" a="PARAM" rw="RW" uri="k.one"/></Demo>
  <First n="6F10" a="EF" ml="32" wf="0">
    <A n="P00" a="PARAM" ml="8" rw="RW" uri="k.one"/>
    <B n="P01" a="PARAM" ml="8" rw="RW" uri="k.two"/>
    <Deleted n="P02" a="PARAM" ml="8" uri="*DEL*"/>
  </First>
  <NoKind n="6F11" ml="32" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="k.three"/></NoKind>
  <Lower n="6F12" a="ef" ml="32" wf="0">
    <C n="P00" a="PARAM" ml="8" rw="RW" uri="k.one"/>
    <Odd n="P01" a="SOMETHING" ml="8" rw="RW" uri="k.four"/>
  </Lower>
  <Longer n="6F13" a="EFX" ml="32" wf="0"><D n="P00" a="PARAM" ml="8" rw="RW" uri="k.five"/></Longer>
</Doc>
)";

class Lookup : public SampleTest {
protected:
    void load(std::string_view text) {
        write_document(text);
        ASSERT_EQ(0, loadSimcardConfigxml());
        clear_log();
    }

    static IXML_Node *child(IXML_Node *parent, const char *tag) {
        for (IXML_Node *c : xml::child_elements(parent)) {
            if (xml::tag(c) == tag) return c;
        }
        return nullptr;
    }
    static IXML_Node *element(const char *file_tag, const char *param_tag) {
        return child(child(ct_simcfg_root, file_tag), param_tag);
    }

    // The indexed lookup agrees with the walk for every key.
    static void expect_agreement(const std::vector<std::string> &keys) {
        for (const std::string &key : keys) {
            ASSERT_EQ(sal::first_param_with_uri_walk(ct_simcfg_root, key.c_str()),
                      sal::first_param_with_uri(ct_simcfg_root, key.c_str()))
                << key;
        }
    }
};

TEST_F(Lookup, TheFirstParameterOfAFileElementInDocumentOrderWins) {
    load(kDuplicates);
    EXPECT_EQ(element("First", "A"), findParamNodeByUri("k.one"));  // not the template's
    EXPECT_EQ(element("First", "B"), findParamNodeByUri("k.two"));
    EXPECT_EQ(nullptr, findParamNodeByUri("k.three"));  // its file has no "a"
    EXPECT_EQ(element("Lower", "Odd"),
              findParamNodeByUri("k.four"));  // any case; child's a unchecked
    EXPECT_EQ(element("Longer", "D"), findParamNodeByUri("k.five"));  // "a" starts with EF
    EXPECT_EQ(element("First", "Deleted"), findParamNodeByUri("*DEL*"));
    EXPECT_EQ(nullptr, findParamNodeByUri("k"));
    EXPECT_EQ(
        "[findParamNodeByUri-N]  filed node name=A\n"
        "[findParamNodeByUri-N]  filed node name=B\n"
        "[findParamNodeByUri-N]  filed node name=Odd\n"
        "[findParamNodeByUri-N]  filed node name=D\n"
        "[findParamNodeByUri-N]  filed node name=Deleted\n",
        log());
}

TEST_F(Lookup, WithoutATreeNothingIsFound) {
    EXPECT_EQ(nullptr, findParamNodeByUri("k.one"));
    EXPECT_EQ("[findParamNodeByUri-N]  ct_simcfg_root is null!\n", log());
}

TEST_F(Lookup, FollowsPathsWrittenThroughTheHelpers) {
    load(kDuplicates);
    IXML_Node *a = element("First", "A");
    IXML_Node *c = element("Lower", "C");
    ASSERT_EQ(a, sal::first_param_with_uri(ct_simcfg_root, "k.one"));

    ASSERT_EQ(0, xml::set_attr(a, "uri", "k.renamed"));
    EXPECT_EQ(c, sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    EXPECT_EQ(a, sal::first_param_with_uri(ct_simcfg_root, "k.renamed"));

    // A later element takes a path that an earlier one has: the earlier wins.
    ASSERT_EQ(0, xml::set_attr(c, "uri", "k.two"));
    EXPECT_EQ(element("First", "B"), sal::first_param_with_uri(ct_simcfg_root, "k.two"));
    ASSERT_EQ(0, xml::set_attr(element("First", "B"), "uri", ""));
    EXPECT_EQ(c, sal::first_param_with_uri(ct_simcfg_root, "k.two"));
    EXPECT_EQ(element("First", "B"), sal::first_param_with_uri(ct_simcfg_root, ""));

    // A file element that becomes a template drops out, and comes back.
    ASSERT_EQ(0, xml::set_attr(child(ct_simcfg_root, "First"), "a", "TL"));
    EXPECT_EQ(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.renamed"));
    ASSERT_EQ(0, xml::set_attr(element("Lower", "C"), "uri", "k.one"));
    EXPECT_EQ(element("Lower", "C"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    ASSERT_EQ(0, xml::set_attr(child(ct_simcfg_root, "First"), "a", "EF"));
    EXPECT_EQ(a, sal::first_param_with_uri(ct_simcfg_root, "k.renamed"));
}

TEST_F(Lookup, FollowsElementsInsertedByTheInstanceHelpers) {
    load(kDuplicates);
    IXML_Node *first = child(ct_simcfg_root, "First");
    IXML_Node *lower = child(ct_simcfg_root, "Lower");
    ASSERT_EQ(element("Lower", "Odd"), sal::first_param_with_uri(ct_simcfg_root, "k.four"));

    // A copy of Lower placed before First: its parameters now come first.
    IXML_Node *copy = instance::insert_next_to(first, instance::deep_copy(lower), false);
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(child(copy, "Odd"), sal::first_param_with_uri(ct_simcfg_root, "k.four"));
    EXPECT_EQ(child(copy, "C"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));

    // One placed after everything changes nothing that was found before.
    IXML_Node *last =
        instance::insert_next_to(child(ct_simcfg_root, "Longer"), instance::deep_copy(first), true);
    ASSERT_NE(nullptr, last);
    EXPECT_EQ(child(copy, "C"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    EXPECT_EQ(element("First", "B"), sal::first_param_with_uri(ct_simcfg_root, "k.two"));
}

TEST_F(Lookup, NeverAnswersWithAnElementChangedPastTheHelpers) {
    load(kDuplicates);
    IXML_Node *first = child(ct_simcfg_root, "First");
    ASSERT_EQ(element("First", "A"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    const auto before = sal::param_index_stats();

    // The hit's path rewritten directly.
    ASSERT_EQ(IXML_SUCCESS,
              ixmlElement_setAttribute(reinterpret_cast<IXML_Element *>(element("First", "A")),
                                       "uri", "k.other"));
    EXPECT_EQ(element("Lower", "C"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    EXPECT_EQ(before.fallbacks + 1, sal::param_index_stats().fallbacks);
    EXPECT_EQ(element("First", "A"), sal::first_param_with_uri(ct_simcfg_root, "k.other"));

    // The hit's file taken out of the tree directly (kept, as the model keeps
    // removed elements).
    IXML_Node *removed = nullptr;
    ASSERT_EQ(element("First", "B"), sal::first_param_with_uri(ct_simcfg_root, "k.two"));
    ASSERT_EQ(IXML_SUCCESS, ixmlNode_removeChild(ct_simcfg_root, first, &removed));
    EXPECT_EQ(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.two"));
    EXPECT_EQ(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.other"));
    EXPECT_EQ(element("Lower", "C"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    ixmlNode_free(removed);
}

TEST_F(Lookup, FollowsReloadedDocuments) {
    load(kDuplicates);
    ASSERT_NE(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    load(R"(<Doc><F n="6F20" a="EF" ml="8" wf="0"><Z n="P00" a="PARAM" uri="k.z"/></F></Doc>)");
    EXPECT_EQ(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    EXPECT_EQ(element("F", "Z"), sal::first_param_with_uri(ct_simcfg_root, "k.z"));

    // Dropped and loaded again, perhaps at the same addresses.
    for (int i = 0; i < 3; ++i) {
        sal::reset_state();
        load(kDuplicates);
        EXPECT_EQ(element("First", "A"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
        EXPECT_EQ(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.z"));
    }
}

TEST_F(Lookup, AgreesWithTheWalkThroughRandomChanges) {
    load(kDuplicates);
    const std::vector<std::string> keys = {"k.one",  "k.two", "k.three", "k.four",
                                           "k.five", "*DEL*", "",        "k.none"};
    std::mt19937 rng(7);
    auto pick = [&](size_t n) { return static_cast<size_t>(rng() % n); };
    for (int step = 0; step < 400; ++step) {
        std::vector<IXML_Node *> files;
        std::vector<IXML_Node *> params;
        for (IXML_Node *f : xml::child_elements(ct_simcfg_root)) {
            files.push_back(f);
            for (IXML_Node *p : xml::child_elements(f)) params.push_back(p);
        }
        switch (pick(5)) {
            case 0:  // a path rewritten
                if (!params.empty()) {
                    xml::set_attr(params[pick(params.size())], "uri", keys[pick(keys.size())]);
                }
                break;
            case 1: {  // a file's kind changed
                static const char *kinds[] = {"EF", "TL", "ef", "X"};
                xml::set_attr(files[pick(files.size())], "a", kinds[pick(4)]);
                break;
            }
            case 2:  // a copy inserted before or after a file
                if (files.size() < 12) {
                    IXML_Node *ref = files[pick(files.size())];
                    instance::insert_next_to(ref, instance::deep_copy(files[pick(files.size())]),
                                             pick(2) == 0);
                }
                break;
            case 3:  // a file or a parameter removed, as the model removes them
                if (files.size() > 2) {
                    IXML_Node *victim = files[pick(files.size())];
                    IXML_Node *removed = nullptr;
                    ixmlNode_removeChild(ct_simcfg_root, victim, &removed);
                    xml::note_shape_changed();
                    ixmlNode_free(removed);
                } else if (!params.empty()) {
                    IXML_Node *victim = params[pick(params.size())];
                    IXML_Node *removed = nullptr;
                    ixmlNode_removeChild(ixmlNode_getParentNode(victim), victim, &removed);
                    xml::note_shape_changed();
                    ixmlNode_free(removed);
                }
                break;
            default:  // values change; the index stays
                if (!params.empty()) xml::set_attr(params[pick(params.size())], "dbv", "v");
                break;
        }
        expect_agreement(keys);
        if (::testing::Test::HasFatalFailure()) {
            FAIL() << "after step " << step;
        }
    }
}

TEST_F(Lookup, ValueChangesKeepTheIndex) {
    load(kDuplicates);
    ASSERT_NE(nullptr, sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    const auto before = sal::param_index_stats();
    for (const char *name : {"simv", "dbv", "wf", "rw", "ml"}) {
        xml::set_attr(element("First", "A"), name, "1");
        xml::set_attr(child(ct_simcfg_root, "First"), name, "1");
        EXPECT_EQ(element("First", "A"), sal::first_param_with_uri(ct_simcfg_root, "k.one"));
    }
    EXPECT_EQ(before.builds, sal::param_index_stats().builds);
}

// ---- getParamVal and setParamVal, attribute by attribute -----------------------

constexpr std::string_view kChecks = R"(<?xml version="1.0"?>
<Doc>
  <Good n="6F10" a="EF" ml="64" wf="0">
    <A n="P00" a="PARAM" ml="8" rw="RW" uri="p.a" simv2dbv=""/>
    <NotParam n="P01" a="PARAMX" ml="8" rw="RW" uri="p.notparam"/>
    <NoKind n="P02" ml="8" rw="RW" uri="p.nokind"/>
    <NoName a="PARAM" ml="8" rw="RW" uri="p.noname"/>
    <NoRw n="P04" a="PARAM" ml="8" uri="p.norw"/>
    <Long n="P0501" a="PARAM" ml="8" rw="RW" uri="p.long" simv2dbv="0=off;1=on"/>
  </Good>
  <Lengthless n="6F17" a="EF" ml="64" wf="0"><NoLength n="P03" a="PARAM" rw="RW" uri="p.nolength"/></Lengthless>
  <NoId a="EF" ml="64" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="q.noid"/></NoId>
  <NoSize n="6F11" a="EF" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="q.nosize"/></NoSize>
  <NoWf n="6F12" a="EF" ml="64"><X n="P00" a="PARAM" ml="8" rw="RW" uri="q.nowf"/></NoWf>
  <Negative n="6F13" a="EF" ml="-1" wf="0"><X n="P00" a="PARAM" ml="8" rw="RW" uri="q.negative"/></Negative>
  <Broken n="6F14" a="EF" ml="64" wf="0">
    <X n="P00" a="PARAM" ml="8" rw="RW" uri="q.broken" simv2dbv=""/>
    <Y n="P01" a="PARAM" rw="RW" uri="q.brokensibling"/>
  </Broken>
  <Loaded n="6F15" a="EF" ml="64" wf="2"><X n="P00" a="PARAM" ml="8" rw="RW" uri="q.loaded" dbv="mem"/></Loaded>
  <Full n="6F16" a="EF" ml="16" wf="0"><X n="P00" a="PARAM" ml="32" rw="RW" uri="q.full" simv2dbv=""/></Full>
</Doc>
)";

class ParamChecks : public Lookup {
protected:
    void SetUp() override {
        load(kChecks);
        open_device();
        card.add_file(0x6F10, 64, R"(<P00="abc" P01="x">)");
        card.add_file(0x6F14, 64, R"(<P00="1" P01="2">)");
        card.add_file(0x6F16, 16, R"(<P00="0123456789)");  // 16 bytes: no room for an end
        card.clear_trace();
    }

    static IXML_Node *at(const char *uri) {
        return sal::first_param_with_uri_walk(ct_simcfg_root, uri);
    }

    // A refused call: -1, with this console output and these log lines.
    struct Refusal {
        const char *uri;
        const char *output;
        const char *logged;
    };
    template <typename Call>
    void expect_refusals(Call call, std::initializer_list<Refusal> refusals) {
        for (const Refusal &r : refusals) {
            SCOPED_TRACE(r.uri);
            clear_log();
            capture();
            EXPECT_EQ(-1, call(at(r.uri)));
            EXPECT_EQ(r.output, captured());
            EXPECT_EQ(r.logged, log());
        }
    }
};

TEST_F(ParamChecks, GetLoadsTheParentFileOnce) {
    capture();
    EXPECT_EQ(0, getParamVal(at("p.a")));
    EXPECT_EQ("abc", attr_text(at("p.a"), "dbv"));
    EXPECT_EQ("1", attr_text(child(ct_simcfg_root, "Good"), "wf"));
    EXPECT_EQ(0, getParamVal(at("p.a")));
    EXPECT_EQ(1u, card.count(ins::kReadBinary));
    EXPECT_EQ(0, getParamVal(at("q.loaded")));  // changed in memory: not read
    EXPECT_EQ("mem", attr_text(at("q.loaded"), "dbv"));
    EXPECT_EQ(1u, card.count(ins::kReadBinary));
    EXPECT_EQ("", captured());
}

TEST_F(ParamChecks, GetNamesWhatIsMissing) {
    expect_refusals(getParamVal,
                    {
                        {"p.norw", "Get Attribute rw failed or is not readable. rw=NULL\n", ""},
                        {"p.nokind", "", "[getParamVal-N]  get NoKind attribute failed!\n"},
                        {"p.notparam", "", "[getParamVal-N]  NotParam is not PARAM!\n"},
                        {"q.noid", "", "[getParamVal-N]  NoId get file_id failed!\n"},
                        {"q.nosize", "", "[getParamVal-N]  NoSize get file_len failed!\n"},
                        {"p.noname", "", "[getParamVal-N]  NoName get paramid failed!\n"},
                        {"p.nolength", "", "[getParamVal-N]  NoLength get param length failed!\n"},
                        {"q.nowf", "wf is NULL\n", ""},
                        {"q.negative", "can't malloc mem ,len :-1\n", ""},
                    });
    EXPECT_TRUE(card.trace().empty());
}

TEST_F(ParamChecks, AFileThatCannotBeCopiedStaysUnloaded) {
    capture();
    EXPECT_EQ(-1, getParamVal(at("q.broken")));
    EXPECT_THAT(captured(), HasSubstr("syn file data from sim to mem error\n"));
    EXPECT_THAT(log(), HasSubstr("[synFileDataFromSimToMem-N]  Y get param length failed!\n"));
    EXPECT_EQ("0", attr_text(child(ct_simcfg_root, "Broken"), "wf"));
}

TEST_F(ParamChecks, AFileWithoutRoomForItsEndIsReadWhole) {
    EXPECT_EQ(0, getParamVal(at("q.full")));
    EXPECT_EQ("0123456789", attr_text(at("q.full"), "dbv"));  // 16 bytes, and nothing after
}

TEST_F(ParamChecks, SetNamesWhatIsMissing) {
    expect_refusals(
        [](IXML_Node *p) { return setParamVal(p, "v"); },
        {
            {"p.norw", "Node [NoRw] Get attribute rw failed or is not writable. RW=NULL\n", ""},
            {"q.noid", "", "[setParamVal-N]  NoId get file_id failed!\n"},
            {"q.nosize", "", "[setParamVal-N]  NoSize get file_len failed!\n"},
            {"p.noname", "", "[setParamVal-N]  NoName get paramid failed!\n"},
        });
    for (const char *uri : {"p.norw", "q.noid", "q.nosize", "p.noname"}) {
        EXPECT_EQ("(absent)", attr_text(at(uri), "dbv")) << uri;
    }
}

TEST_F(ParamChecks, SetDoesNotLookAtKindOrLength) {
    EXPECT_EQ(0, setParamVal(at("p.notparam"), "v"));
    EXPECT_EQ(0, setParamVal(at("p.nolength"), "v"));
    EXPECT_EQ(0, setParamVal(at("q.nowf"), "v"));  // the file gets its mark
    EXPECT_EQ("2", attr_text(child(ct_simcfg_root, "NoWf"), "wf"));
    EXPECT_TRUE(card.trace().empty());
}

TEST_F(ParamChecks, SetLogsTheRecordNameInThreeCharacters) {
    EXPECT_EQ(0, setParamVal(at("p.long"), "on"));
    EXPECT_EQ(
        "[setParamVal-N]  [fileid = 6f10 pramid = P05 paramv = on,simv2dbv=0=off;1=on,simv=1]\n",
        log());
    EXPECT_EQ("1", attr_text(at("p.long"), "simv"));
}

}  // namespace
}  // namespace simcard
