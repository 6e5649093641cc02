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
    void SetUp() override {
        open_device();
        ASSERT_EQ(0, hal_selectCurrentDir(0x7F80));
    }
};

TEST_F(Auth, CardAndGatewayAuthenticateEachOther) {
    capture();
    EXPECT_EQ(0, sim_card_auth(kKey));
    EXPECT_EQ("", captured());
    ASSERT_EQ(1u, card.count(ins::kAuthChallenge));
    ASSERT_EQ(1u, card.count(ins::kAuthAnswer));
    EXPECT_EQ(16u, card.commands(ins::kAuthChallenge)[0]->data.size());
    EXPECT_EQ(0x90, card.commands(ins::kAuthAnswer)[0]->sw1);
}

TEST_F(Auth, ChallengeDependsOnlyOnTheWholeSecond) {
    platform.set_time(1700000000, 1000);
    ASSERT_EQ(0, sim_card_auth(kKey));
    platform.set_time(1700000000, 999000);
    ASSERT_EQ(0, sim_card_auth(kKey));
    platform.set_time(1700000001, 0);
    ASSERT_EQ(0, sim_card_auth(kKey));
    const auto challenges = card.commands(ins::kAuthChallenge);
    ASSERT_EQ(3u, challenges.size());
    EXPECT_EQ(challenges[0]->data, challenges[1]->data);
    EXPECT_NE(challenges[0]->data, challenges[2]->data);
    // random() yields 31 bits: every group of four starts with a clear top bit.
    for (size_t i = 0; i < 16; i += 4) {
        EXPECT_EQ(0, challenges[0]->data[i] & 0x80);
    }
}

TEST_F(Auth, ACardWithoutTheKeyIsRefusedBeforeTheGatewayAnswers) {
    card.set_key("0000000000000000");
    capture();
    EXPECT_EQ(-1, sim_card_auth(kKey));
    card.set_key(kKey);
    card.set_wrong_proof(true);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    EXPECT_EQ(
        "libsimcard [sim_card_auth] host auth card fail!\n"
        "libsimcard [sim_card_auth] host auth card fail!\n",
        captured());
    EXPECT_EQ(0u, card.count(ins::kAuthAnswer));
}

TEST_F(Auth, EachStepsFailureHasItsMessage) {
    capture();
    card.set_reject_host(true);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    card.set_reject_host(false);
    card.fail_status(ins::kAuthChallenge, 0x90, 0x00);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    card.fail_ioctl(ins::kAuthChallenge);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    card.fail_ioctl(ins::kGetResponse);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    card.fail_ioctl(ins::kAuthAnswer);
    EXPECT_EQ(-1, sim_card_auth(kKey));
    EXPECT_EQ(
        "libsimcard [sim_card_auth] card auth host fail\n"
        "libsimcard [sim_card_auth] response error\n"
        "libsimcard [sim_card_auth] ioctl write error\n"
        "libsimcard [__sim_card_get_response] ioctl read error\n"
        "libsimcard [sim_card_auth] get output error\n"
        "libsimcard [sim_card_auth] ioctl write error\n",
        captured());
}

TEST_F(Auth, AHostileAnswerLengthStaysInsideTheAnswerBuffer) {
    card.set_pending_length(0xFF);
    EXPECT_EQ(0, sim_card_auth(kKey));
}

TEST_F(Auth, TheCardJudgesTheAccount) {
    card.set_account("admin", "s3cret");
    capture();
    EXPECT_EQ(0, sim_card_auth_telecom_account("admin", "s3cret"));
    EXPECT_EQ(-1, sim_card_auth_telecom_account("admin", "guess"));
    card.fail_ioctl(ins::kAccountCheck);
    EXPECT_EQ(-1, sim_card_auth_telecom_account("admin", "s3cret"));
    EXPECT_EQ(
        "libsimcard [sim_card_auth_telecom_account] account not right\n"
        "libsimcard [sim_card_auth_telecom_account] ioctl write error\n",
        captured());
    const auto *first = card.commands(ins::kAccountCheck)[0];
    EXPECT_EQ("admin;s3cret", std::string(first->data.begin(), first->data.end()));
    EXPECT_EQ(12, first->header[4]);
}

TEST_F(Auth, LongAccountTextsSendTheLowByteOfTheirLength) {
    const std::string account(250, 'a');
    const std::string password(9, 'p');  // 260 characters with the separator
    card.set_account(account, password);
    EXPECT_EQ(0, sim_card_auth_telecom_account(account.c_str(), password.c_str()));
    const auto *cmd = card.commands(ins::kAccountCheck)[0];
    EXPECT_EQ(260 % 256, cmd->header[4]);
    EXPECT_EQ(260u, cmd->data.size());

    // More than the card's text buffer holds is refused without a command.
    const std::string huge(400, 'h');
    capture();
    EXPECT_EQ(-1, sim_card_auth_telecom_account(huge.c_str(), "x"));
    EXPECT_EQ("libsimcard [sim_card_auth_telecom_account] account not right\n", captured());
    EXPECT_EQ(1u, card.count(ins::kAccountCheck));
}

}  // namespace
}  // namespace simcard
