// What zel check says of the settings of the server.
#include "zel/config/ServePlan.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(ServePlan, DefaultsStayOnThisMachine) {
    const std::vector<std::string> plan = zel::planOf({});
    EXPECT_THAT(plan, Contains("listens on 127.0.0.1:9100: only programs of this machine reach it"));
    EXPECT_THAT(plan, Contains(AllOf(HasSubstr("nothing leaves this machine"), HasSubstr("are given to nobody"))));
    EXPECT_THAT(zel::problemsOf({}), IsEmpty());
}

TEST(ServePlan, OneOpenAddressAmongOthersIsSaid) {
    zel::ServeSettings settings;
    settings.listen = {"127.0.0.1:9100", "192.0.2.1:9100"};
    EXPECT_THAT(zel::planOf(settings), Contains(HasSubstr("other machines reach it")));
    EXPECT_THAT(zel::planOf(settings), Contains(HasSubstr("what is asked for leaves this machine")));
    EXPECT_THAT(zel::problemsOf(settings), ElementsAre(HasSubstr("192.0.2.1:9100")));
}

TEST(ServePlan, ATokenWithoutTlsIsLearntOnTheWay) {
    zel::ServeSettings settings;
    settings.listen = {":9100"};
    settings.tokenFile = "/t";
    EXPECT_THAT(zel::planOf(settings), Contains(HasSubstr("learns the token")));
    settings.certificateFile = "/c";
    settings.keyFile = "/k";
    EXPECT_THAT(zel::planOf(settings), Contains(HasSubstr("encrypts with TLS")));
    EXPECT_THAT(zel::planOf(settings), Not(Contains(HasSubstr("learns the token"))));
}

TEST(ServePlan, FilesAndDirectoriesThatAreMissingAreProblems) {
    zel::ServeSettings settings;
    settings.tokenFile = "/none/token";
    EXPECT_THAT(zel::problemsOf(settings), ElementsAre(HasSubstr("/none/token")));
    settings = {};
    settings.textfileDirectory = "/none";
    settings.root = "/dev/null";
    EXPECT_THAT(zel::problemsOf(settings), ElementsAre(HasSubstr("root /dev/null: Not a directory"),
                                                       HasSubstr("textfile-directory /none: No such file")));
}

TEST(ServePlan, CredentialsOfTheServiceAreNotLookedAt) {
    zel::ServeSettings settings;
    settings.listen = {":9100"};
    settings.tokenFile = "/run/credentials/zel.service/token";
    settings.certificateFile = "/none/certificate";
    settings.keyFile = "/run/credentials/zel.service/key";
    EXPECT_THAT(zel::problemsOf(settings), IsEmpty());
    EXPECT_THAT(zel::credentialsOf(settings), ElementsAre(settings.tokenFile, settings.keyFile));
    settings.certificateFile.clear();
    EXPECT_THAT(zel::problemsOf(settings), ElementsAre(HasSubstr("TLS needs both")));
}

} // namespace
