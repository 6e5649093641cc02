#include <string>

#include "simcard.h"
#include "tests/support/harness.h"

namespace simcard {
namespace {

using testing::CardTest;
namespace ins = vcard::ins;

constexpr const char *kKey = "7305918264730591";

class Auth : public CardTest {
protected:
    void SetUp() override { open_device(); }
};

TEST_F(Auth, CardAndGatewayAuthenticateEachOtherWithAChallengeFixedPerSecond) {
    platform.set_time(1700000000, 1000);
    ASSERT_EQ(0, sim_card_auth(kKey));
    platform.set_time(1700000000, 999000);
    ASSERT_EQ(0, sim_card_auth(kKey));
    platform.set_time(1700000001, 0);
    card.set_pending_length(0xFF);  // a hostile answer length stays inside the answer buffer
    ASSERT_EQ(0, sim_card_auth(kKey));
    EXPECT_EQ(0x90, card.commands(ins::kAuthAnswer).back()->sw1);
    const auto challenges = card.commands(ins::kAuthChallenge);
    ASSERT_EQ(3u, challenges.size());
    EXPECT_EQ(challenges[0]->data, challenges[1]->data);
    EXPECT_NE(challenges[0]->data, challenges[2]->data);
    // random() yields 31 bits, stored high byte first: every group of four starts with a clear bit.
    for (size_t i = 0; i < 16; i += 4) {
        EXPECT_EQ(0, challenges[0]->data[i] & 0x80);
    }
}

TEST_F(Auth, AWrongProofStopsBeforeTheAnswerAndTheCardMayRejectTheAnswer) {
    card.set_wrong_proof(true);
    capture();
    EXPECT_EQ(-1, sim_card_auth(kKey));
    EXPECT_EQ(0u, card.count(ins::kAuthAnswer));
    card.set_wrong_proof(false);
    card.set_reject_host(true);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    EXPECT_EQ(
        "libsimcard [sim_card_auth] host auth card fail!\n"
        "libsimcard [sim_card_auth] card auth host fail\n",
        captured());
    EXPECT_EQ(1u, card.count(ins::kAuthAnswer));
}

TEST_F(Auth, TheCardJudgesTheAccount) {
    card.set_account("admin", "s3cret");
    capture();
    EXPECT_EQ(0, sim_card_auth_telecom_account("admin", "s3cret"));
    EXPECT_EQ(-1, sim_card_auth_telecom_account("admin", "guess"));
    EXPECT_EQ("libsimcard [sim_card_auth_telecom_account] account not right\n", captured());

    const std::string account(250, 'a');
    const std::string password(9, 'p');  // 260 characters with the separator
    card.set_account(account, password);
    EXPECT_EQ(0, sim_card_auth_telecom_account(account.c_str(), password.c_str()));
    const auto *longer = card.commands(ins::kAccountCheck).back();
    EXPECT_EQ(260 % 256, longer->header[4]);
    EXPECT_EQ(260u, longer->data.size());

    // Any length goes to the card, which decides.
    EXPECT_EQ(-1, sim_card_auth_telecom_account(std::string(400, 'h').c_str(), "x"));
    ASSERT_EQ(4u, card.count(ins::kAccountCheck));
    EXPECT_EQ(402 % 256, card.commands(ins::kAccountCheck).back()->header[4]);
    EXPECT_EQ(402u, card.commands(ins::kAccountCheck).back()->data.size());
}

}  // namespace
}  // namespace simcard
